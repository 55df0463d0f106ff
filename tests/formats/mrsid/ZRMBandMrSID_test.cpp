// MrSID files as compatible programs know them, read through the stand-in for the makers' library.

#include "ZRMBandMrSID.h"
#include "StandInImageTest.h"
#include "ThreadRuns.h"
#include "XFormatId.h"
#include "XFormatTable.h"
#include "XSpatialReference.h"

#include <atomic>
#include <cstring>

namespace {

constexpr const char* kMrSidLibrary = "libltidsdk.so";

class MrSid : public StandInImageOf<ZRMBandMrSID> {
 public:
  explicit MrSid(const std::string& words, XReadPolicy policy = kReadCompatible)
      : StandInImageOf(kFormatSID, words, policy) {}
};

/// A window of samples of any type, as the stand-in has them.
Pixels TypedPixels(int type, int band, const Window& window) {
  Pixels pixels{window.Width(), window.Height(), {}, XfnGetDataSize(type)};
  const auto count = static_cast<std::size_t>(window.Width()) * static_cast<std::size_t>(window.Height());
  pixels.bytes.resize(count * static_cast<std::size_t>(pixels.sampleBytes));
  std::size_t index = 0;
  for (int y = window.y0; y <= window.y1; ++y) {
    for (int x = window.x0; x <= window.x1; ++x) {
      StoreStandInValue(type, pixels.bytes.data(), index++, StandInValue(type, band, x, y));
    }
  }
  return pixels;
}

TEST(ZRMBandMrSID, HasSizePlaceAndChannelsOfItsFile) {
  MrSid image("width=41 height=31 bands=3 x=500 y=900 dx=0.5 dy=-0.25");
  ASSERT_TRUE(image->IsOpen());
  ASSERT_EQ(3, image->File().GetNumOfBands());
  for (int i = 0; i < 3; ++i) {
    ZRMBandMrSID& band = image->BandAt(i);
    EXPECT_EQ("a.img : Channel " + std::to_string(i + 1), band.GetBandName().AsStdString());
    EXPECT_EQ(i, band.GetChannel());
    EXPECT_EQ(3, band.GetNumChannels());
    EXPECT_EQ(41, band.GetXSize());
    EXPECT_EQ(31, band.GetYSize());
    EXPECT_EQ(500.0, band.GetULX());
    EXPECT_EQ(900.0, band.GetULY());
    EXPECT_EQ(0.5, band.GetXPixelSize());
    EXPECT_EQ(0.25, band.GetYPixelSize());
    EXPECT_EQ(kCoordinateWorld, band.GetCoordinateKind());
  }
}

TEST(ZRMBandMrSID, HasItsTransformFromTheOuterCornerOn) {
  MrSid image("x=500 y=900 dx=4 dy=-2 turn=1");
  std::array<double, 6> t{};
  image->BandAt(1).GetGeoTransform(t.data());
  EXPECT_EQ((std::array<double, 6>{497.5, 4.0, 1.0, 900.0, 2.0, -2.0}), t);
}

TEST(ZRMBandMrSID, ReadsSamplesOfEachType) {
  for (int type = kPint08; type <= kReal64; ++type) {
    MrSid image("width=41 height=31 bands=2 type=" + std::to_string(type));
    ASSERT_TRUE(image->IsOpen()) << type;
    for (int channel = 0; channel < 2; ++channel) {
      EXPECT_EQ(type, image->BandAt(channel).GetDataType());
      const Window window{3, 9, 5, 6};
      EXPECT_EQ(TypedPixels(type, channel, window), image->Read(0, window, channel)) << type;
      EXPECT_EQ(TypedPixels(type, channel, image->Whole()), image->Read(0, image->Whole(), channel)) << type;
    }
  }
}

TEST(ZRMBandMrSID, OfATypeBeyondTheEighthIsNotOpened) {
  for (const char* words : {"type=9", "type=0", "type=-1"}) EXPECT_FALSE(MrSid(words)->IsOpen()) << words;
}

TEST(ZRMBandMrSID, ALevelHasAllReducedPixelsThatTheWindowTouches) {
  MrSid image("width=41 height=31 bands=1");
  // Columns 1 to 4 touch the reduced columns 0, 1 and 2.
  EXPECT_EQ(StandInPixels(0, {0, 2, 4}, {0, 2}), image->Read(1, {1, 4, 0, 3}));
  EXPECT_EQ(StandInPixels(0, {40}, {28}), image->Read(2, {40, 40, 30, 30}));
  EXPECT_EQ(StandInPixels(0, {0}, {0}), image->Read(30, image->Whole()));
  EXPECT_EQ("The level leaves no pixel of the window", image->Failure(31, image->Whole()));
  EXPECT_EQ("The level leaves no pixel of the window", image->Failure(-1, image->Whole()));
}

TEST(ZRMBandMrSID, AFollowerTakesWhatItsMasterHasDecoded) {
  MrSid image("width=41 height=31 bands=3");
  const Window window{3, 30, 2, 20};
  image->Read(1, window);
  const int before = CountOfStandIn(kMrSidLibrary, "decodes");
  EXPECT_EQ(StandInPixels(2, Places(2, 15, 2), Places(2, 10, 2)), image->Read(1, window, 2));
  EXPECT_EQ(before, CountOfStandIn(kMrSidLibrary, "decodes"));
  image->Read(1, window);
  EXPECT_EQ(before + 1, CountOfStandIn(kMrSidLibrary, "decodes"));  // a master decodes each time
  image->BandAt().CleanupMemory(1, 1);
  EXPECT_EQ(nullptr, image->BandAt().GetResult(2));
  EXPECT_EQ(StandInPixels(2, Places(2, 15, 2), Places(2, 10, 2)), image->Read(1, window, 2));
  EXPECT_EQ(before + 2, CountOfStandIn(kMrSidLibrary, "decodes"));
}

TEST(ZRMBandMrSID, RefusesWindowsOutsideTheBandAndReadsWithoutAFile) {
  MrSid image("width=41 height=31");
  EXPECT_EQ("The window is not inside the band", image->Failure(0, {0, 41, 0, 30}));
  image->BandAt().SetSize(100, 100);
  EXPECT_EQ("The window is not inside the band", image->Failure(0, {0, 41, 0, 30}));
  ZRMBandMrSID closed(nullptr);
  EXPECT_EQ(0, closed.GetNumChannels());
  closed.SetSize(5, 5);
  EXPECT_EQ(Pixels(), ReadPixels(closed, 0, {0, 0, 0, 0}));
}

TEST(ZRMBandMrSID, TellsWhatTheLibraryFailedToDo) {
  MrSid refused("fail=ltic_decode"), thrown("fail=throw");
  EXPECT_EQ("The MrSID library can't decode the window (its status 52001)", refused->Failure(0, refused->Whole()));
  EXPECT_EQ("The decoder has failed", thrown->Failure(0, thrown->Whole()));
}

TEST(ZRMBandMrSID, TellsNothingOfAFileThatIsRefused) {
  for (const char* words : {"fail=ltic_openMrSIDImageFile", "width=0", "bands=0", "type=9"}) {
    MrSid image(words);
    EXPECT_FALSE(image->IsOpen()) << words;
    EXPECT_EQ("", image->Error()) << words;
    EXPECT_EQ(0, image->File().GetNumOfBands());
  }
}

TEST(ZRMBandMrSID, StopsBeforeItDecodes) {
  MrSid image("width=41");
  int stop = 1;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, image->BandAt().ReadSubset(out, 0, 0, 40, 0, 30, &stop));
  XString reason;
  XfnGetLastReadError(reason);
  EXPECT_EQ(XString("The read was stopped"), reason);
}

TEST(ZRMBandMrSID, ClosesWhatItHasOpenedAndNamesItsDecoder) {
  MrSid warm("bands=1");  // so that the library is there to be asked
  const int before = CountOfStandIn(kMrSidLibrary, "open");
  {
    MrSid image("bands=3");
    EXPECT_EQ(before + 1, CountOfStandIn(kMrSidLibrary, "open"));
    const tagXFormatNotes notes = XfnDescribeFormat(&image->BandAt(2), false);
    ASSERT_EQ(1u, notes.values.size());
    EXPECT_EQ(StandInFolder("whole") + "/" + kMrSidLibrary, notes.values[0].text.AsStdString());
  }
  EXPECT_EQ(before, CountOfStandIn(kMrSidLibrary, "open"));
}

TEST(ZRMBandMrSIDThreads, EachHaveTheFileOpenForThemselves) {
  MrSid image("width=200 height=120 bands=2");
  std::atomic<int> numWrong = 0;
  const auto read = [&](int thread) {
    for (int k = 0; k < 30; ++k) {
      const int channel = (thread + k) % 2, x = (thread * 31 + k * 7) % 150, y = k % 100;
      const Pixels expected = StandInPixels(channel, Places(x, 50), Places(y, 20));
      if (!(image->Read(0, {x, x + 49, y, y + 19}, channel) == expected)) ++numWrong;
    }
  };
  RunOnThreads(8, read);
  EXPECT_EQ(0, numWrong);
  EXPECT_EQ(0, CountOfStandIn(kMrSidLibrary, "shared"));
}

TEST(MrSidExact, ALevelHasAsManyPixelsAsTheShiftedWindow) {
  MrSid image("width=41 height=31 bands=1", kReadExact);
  EXPECT_EQ(StandInPixels(0, {0, 2}, {0, 2}), image->Read(1, {1, 4, 0, 3}));
  EXPECT_EQ("The level leaves no pixel of the window", image->Failure(2, {40, 40, 30, 30}));
}

TEST(MrSidExact, SaysWhyAFileIsRefused) {
  EXPECT_EQ("The MrSID library refuses the file (its status 52001)",
            MrSid("fail=ltic_openMrSIDImageFile", kReadExact)->Error());
  EXPECT_EQ("The samples are of a type that is not known here", MrSid("type=9", kReadExact)->Error());
  EXPECT_EQ("The decoder tells a size that no image can have here", MrSid("width=0", kReadExact)->Error());
}

class MrSidThroughGdal : public testing::Test {
 protected:
  OpenRaster<ZRMBandMrSID>& Open(const std::string& words, XReadPolicy policy = kReadExact) {
    image_ = std::make_unique<StandInImageOf<ZRMBandMrSID>>(kFormatSID, words, policy, "none");
    return **image_;
  }

  ScopedStandInDriver driver_{"MrSID"};
  std::unique_ptr<StandInImageOf<ZRMBandMrSID>> image_;
};

TEST_F(MrSidThroughGdal, HasPixelsOfEachType) {
  for (const int type : {1, 3, 4, 5, 6, 7, 8}) {
    OpenRaster<ZRMBandMrSID>& image = Open("width=41 height=31 bands=2 type=" + std::to_string(type));
    ASSERT_TRUE(image.IsOpen()) << image.Error();
    EXPECT_EQ(TypedPixels(type, 1, {3, 9, 5, 6}), image.Read(0, {3, 9, 5, 6}, 1)) << type;
  }
  EXPECT_EQ("The samples are of a type that is not known here", Open("type=9").Error());
}

TEST_F(MrSidThroughGdal, TakesLevelsFromReducedImagesAndScalesBeyondThem) {
  OpenRaster<ZRMBandMrSID>& image = Open("width=41 height=31 bands=1", kReadCompatible);
  EXPECT_EQ(StandInPixels(0, {0, 2, 4}, {0, 2}), image.Read(1, {1, 4, 0, 3}));
  EXPECT_EQ(StandInPixels(0, Places(0, 11, 4), Places(0, 8, 4)), image.Read(2, image.Whole()));
  const Pixels scaled = image.Read(3, image.Whole());
  EXPECT_EQ(6, scaled.width);
  EXPECT_EQ(4, scaled.height);
}

TEST_F(MrSidThroughGdal, LiesAtTheCentreOfItsFirstPixel) {
  OpenRaster<ZRMBandMrSID>& image = Open("x=500 y=900 dx=4 dy=-2 epsg=32633");
  EXPECT_EQ(502.0, image.BandAt().GetULX());
  EXPECT_EQ(899.0, image.BandAt().GetULY());
  std::array<double, 6> t{};
  image.BandAt().GetGeoTransform(t.data());
  EXPECT_EQ((std::array<double, 6>{500.0, 4.0, 0.0, 900.0, 0.0, -2.0}), t);
  EXPECT_EQ(32633, image.BandAt(1).GetSR()->GetEPSG());
  EXPECT_EQ("GDAL's driver MrSID", image.BandAt(1).GetDecoder().AsStdString());
}

TEST_F(MrSidThroughGdal, HasNoSystemInTheCompatiblePolicy) {
  EXPECT_TRUE(Open("epsg=32633", kReadCompatible).BandAt().GetSR()->IsEmpty());
}

TEST_F(MrSidThroughGdal, TellsWhatTheDriverSays) {
  OpenRaster<ZRMBandMrSID>& image = Open("fail=block failLine=5");
  EXPECT_EQ(0u, image.Failure(0, image.Whole()).find("GDAL's driver can't decode the window: "));
}

}  // namespace
