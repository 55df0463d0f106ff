// ECW files as compatible programs know them, read through the stand-in for the makers' library.

#include "ZRMBandECW.h"
#include "StandInImageTest.h"
#include "ThreadRuns.h"
#include "XFormatId.h"
#include "XFormatTable.h"
#include "XLimits.h"

#include <atomic>

namespace {

constexpr const char* kEcwLibrary = "libNCSEcw.so";

class Ecw : public StandInImageOf<ZRMBandECW> {
 public:
  explicit Ecw(const std::string& words, const std::string& kind = "whole")
      : StandInImageOf(kFormatECW, words, kReadCompatible, kind) {}
};

TEST(ZRMBandECW, HasSizePlaceAndChannelsOfItsFile) {
  Ecw ecw("width=41 height=31 bands=3 x=500 y=900 dx=0.5 dy=-0.25");
  ASSERT_TRUE(ecw->IsOpen());
  ASSERT_EQ(3, ecw->File().GetNumOfBands());
  for (int i = 0; i < 3; ++i) {
    ZRMBandECW& band = ecw->BandAt(i);
    EXPECT_EQ("Channel " + std::to_string(i + 1), band.GetBandName().AsStdString());
    EXPECT_EQ(i, band.GetBandID());
    EXPECT_EQ(3, band.GetNumOfBand());
    EXPECT_EQ(41, band.GetXSize());
    EXPECT_EQ(31, band.GetYSize());
    EXPECT_EQ(kPint08, band.GetDataType());
    EXPECT_EQ(500.0, band.GetULX());
    EXPECT_EQ(900.0, band.GetULY());
    EXPECT_EQ(0.5, band.GetXPixelSize());
    EXPECT_EQ(0.25, band.GetYPixelSize());
    EXPECT_EQ(kCoordinateWorld, band.GetCoordinateKind());
  }
}

TEST(ZRMBandECW, TakesTheSizesOfPixelsWithoutTheirSigns) {
  Ecw ecw("dx=-2 dy=3");
  EXPECT_EQ(2.0, ecw->BandAt().GetXPixelSize());
  EXPECT_EQ(3.0, ecw->BandAt().GetYPixelSize());
}

TEST(ZRMBandECW, HasItsTransformFromTheOuterCornerOnAndTurnsClockwise) {
  Ecw plain("x=500 y=900 dx=0.5 dy=-0.25"), turned("x=500 y=900 dx=2 dy=-3 turn=90");
  std::array<double, 6> t{};
  plain->BandAt().GetGeoTransform(t.data());
  EXPECT_EQ((std::array<double, 6>{500.0, 0.5, 0.0, 900.0, 0.0, -0.25}), t);
  turned->BandAt().GetGeoTransform(t.data());
  const std::array<double, 6> expected = {500.0, 0.0, -3.0, 900.0, -2.0, 0.0};
  for (std::size_t i = 0; i < t.size(); ++i) EXPECT_NEAR(expected[i], t[i], 1e-12) << i;
}

TEST(ZRMBandECW, KnowsLessOfFilesThroughAnOldLibrary) {
  Ecw ecw("width=41 height=31 x=500 y=900 dx=2 dy=-3 turn=90", "old");
  ASSERT_TRUE(ecw->IsOpen());
  std::array<double, 6> t{};
  ecw->BandAt().GetGeoTransform(t.data());
  EXPECT_EQ((std::array<double, 6>{500.0, 2.0, 0.0, 900.0, 0.0, -3.0}), t);
  EXPECT_EQ(StandInPixels(1, Places(3, 5), Places(7, 2)), ecw->Read(0, {3, 7, 7, 8}, 1));
}

TEST(ZRMBandECW, ReadsWindowsOfEachChannel) {
  Ecw ecw("width=41 height=31 bands=3");
  for (int channel = 0; channel < 3; ++channel) {
    EXPECT_EQ(StandInPixels(channel, Places(0, 41), Places(0, 31)), ecw->Read(0, ecw->Whole(), channel));
    EXPECT_EQ(StandInPixels(channel, Places(40, 1), Places(9, 4)), ecw->Read(0, {40, 40, 9, 12}, channel));
  }
}

TEST(ZRMBandECW, HasTheWholeWindowScaledAtALevel) {
  Ecw ecw("width=41 height=31 bands=1");
  // Eleven columns are scaled to two: the second one begins at 11 / 2. Eight rows are two of four each.
  EXPECT_EQ(StandInPixels(0, {3, 8}, {6, 10}), ecw->Read(2, {3, 13, 6, 13}));
  EXPECT_EQ("The level leaves no pixel of the window", ecw->Failure(3, {0, 6, 0, 30}));
  EXPECT_EQ("The level leaves no pixel of the window", ecw->Failure(31, ecw->Whole()));
  EXPECT_EQ("The level leaves no pixel of the window", ecw->Failure(-1, ecw->Whole()));
}

TEST(ZRMBandECW, ReadsAnyWindowOfTheFileWhateverSizeIsSet) {
  Ecw ecw("width=41 height=31 bands=1");
  ecw->BandAt().SetSize(5, 100);
  EXPECT_EQ(StandInPixels(0, Places(20, 4), Places(30, 1)), ecw->Read(0, {20, 23, 30, 30}));
  EXPECT_EQ("The window is not inside the band", ecw->Failure(0, {0, 4, 30, 31}));
}

TEST(ZRMBandECW, FailsReadsWithoutAFileAndOfAChannelThatTheFileLacks) {
  ZRMBandECW closed;
  EXPECT_EQ(0, closed.GetNumOfBand());
  EXPECT_EQ(Pixels(), ReadPixels(closed, 0, {0, 0, 0, 0}));
  Ecw ecw("bands=2");
  for (const int band : {-1, 2, 1 << 20}) {
    ecw->BandAt().SetBandID(band);
    EXPECT_EQ("The image has no such channel", ecw->Failure(0, {0, 3, 0, 3})) << band;
  }
}

struct EcwFailure {
  const char* words;
  const char* sentence;
};

TEST(ZRMBandECW, TellsWhatTheLibraryFailedToDo) {
  for (const EcwFailure& each :
       {EcwFailure{"fail=NCSSetFileView", "The ECW library refuses the window (its error 1)"},
        EcwFailure{"fail=NCSReadViewLineBIL", "The ECW library can't decode a line (its status 1)"},
        EcwFailure{"fail=NCSReadViewLineBIL failLine=30", "The ECW library can't decode a line (its status 1)"},
        EcwFailure{"fail=throw failLine=2", "The decoder has failed"}}) {
    Ecw ecw(each.words);
    ASSERT_TRUE(ecw->IsOpen()) << each.words;
    EXPECT_EQ(each.sentence, ecw->Failure(0, ecw->Whole())) << each.words;
  }
}

TEST(ZRMBandECW, LeavesTheSentenceOfTheCallerWhereAFileIsRefused) {
  const ScopedCodecFolder scope(StandInFolder("whole"));
  TempFolder folder;
  for (const char* words : {"fail=NCSOpenFileViewA", "fail=NCSGetViewFileInfo", "fail=nothing", "width=0", "bands=0"}) {
    folder.Write("a.ecw", EcwStandInBytes(words));
    ZRMBandECW band;
    XString err = "before";
    EXPECT_EQ(0, band.ReadFile(folder.Path("a.ecw"), err, nullptr)) << words;
    EXPECT_EQ(XString("before"), err) << words;
  }
}

TEST(ZRMBandECW, LeavesOutAChannelThatFailsAndKeepsTheNumbersBehindIt) {
  Ecw ecw("bands=3 failOpen=2");
  ASSERT_TRUE(ecw->IsOpen());
  ASSERT_EQ(2, ecw->File().GetNumOfBands());
  EXPECT_EQ("Channel 3", ecw->BandAt(1).GetBandName().AsStdString());
  EXPECT_EQ(StandInPixels(2, Places(0, 41), {5}), ecw->Read(0, {0, 40, 5, 5}, 1));
}

TEST(ZRMBandECW, StopsBetweenLines) {
  Ecw ecw("width=41");
  int stop = 1;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, ecw->BandAt().ReadSubset(out, 0, 0, 40, 0, 30, &stop));
  EXPECT_EQ("The read was stopped", [] {
    XString reason;
    XfnGetLastReadError(reason);
    return reason.AsStdString();
  }());
}

TEST(ZRMBandECW, HasStatisticsAndNamesItsDecoder) {
  Ecw ecw("width=4 height=3 bands=1");
  // Samples are 3 x + 5 y + x y / 7 in whole numbers, of which the last summand is 0 here.
  EXPECT_EQ(0.0, ecw->BandAt().GetBandMin());
  EXPECT_EQ(19.0, ecw->BandAt().GetBandMax());
  const tagXFormatNotes notes = XfnDescribeFormat(&ecw->BandAt(), false);
  ASSERT_EQ(1u, notes.lines.size());
  EXPECT_EQ("decoder     " + StandInFolder("whole") + "/" + kEcwLibrary, notes.lines[0].AsStdString());
}

TEST(ZRMBandECW, ClosesWhatItHasOpened) {
  {
    Ecw warm("bands=1");  // so that the library is there to be asked
  }
  const int before = CountOfStandIn(kEcwLibrary, "open");
  {
    Ecw sound("bands=3");
    EXPECT_EQ(before + 3, CountOfStandIn(kEcwLibrary, "open"));
    Ecw failing("bands=1 height=9 fail=NCSReadViewLineBIL failLine=4");
    EXPECT_EQ(Pixels(), failing->Read(0, failing->Whole()));
    EXPECT_EQ(before + 3, CountOfStandIn(kEcwLibrary, "open"));  // nobody knows what a read that failed has left
  }
  EXPECT_EQ(before, CountOfStandIn(kEcwLibrary, "open"));
  EXPECT_EQ(1, CountOfStandIn(kEcwLibrary, "inits"));
}

TEST(ZRMBandECWThreads, EachHaveTheFileOpenForThemselves) {
  Ecw ecw("width=200 height=120 bands=2");
  std::atomic<int> numWrong = 0;
  const auto read = [&](int thread) {
    for (int k = 0; k < 30; ++k) {
      const int channel = (thread + k) % 2, x = (thread * 31 + k * 7) % 150, y = k % 100;
      const Pixels expected = StandInPixels(channel, Places(x, 50), Places(y, 20));
      if (!(ecw->Read(0, {x, x + 49, y, y + 19}, channel) == expected)) ++numWrong;
    }
  };
  RunOnThreads(8, read);
  EXPECT_EQ(0, numWrong);
  EXPECT_EQ(0, CountOfStandIn(kEcwLibrary, "shared"));
}

}  // namespace
