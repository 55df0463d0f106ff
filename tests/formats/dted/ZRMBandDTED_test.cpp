#include "ZRMBandDTED.h"

#include "DtedBuilder.h"
#include "FaultyDisk.h"
#include "TempFolder.h"
#include "XLimits.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XThread.h"
#include "ZRMBandXLD.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

int At(const tagXArr2& result, int x, int y) {
  std::int16_t height;
  std::memcpy(&height, result.Row(y) + result.colOffsets[x], sizeof height);
  return height;
}

tagXArr2* Read(ZRMBand& band, int level, int x0, int x1, int y0, int y1) {
  tagXArr2* out = nullptr;
  return band.ReadSubset(out, level, x0, x1, y0, y1, nullptr) ? out : nullptr;
}

class ZRMBandDTEDFiles : public testing::Test {
 protected:
  std::string Write(const std::vector<unsigned char>& bytes) {
    folder_.Write("a.dt1", bytes);
    return folder_.Path("a.dt1");
  }
  std::string Write(const DtedBuilder& builder) { return Write(builder.Build()); }
  int Open(const std::string& path, XThread* thread = nullptr) {
    err_ = "left over";
    return band_.ReadFile(path, err_, thread);
  }
  int Open(const DtedBuilder& builder) { return Open(Write(builder)); }
  int Post(int x, int y) {
    const tagXArr2* const result = Read(band_, 0, x, x, y, y);
    return result ? At(*result, 0, 0) : -99999;
  }

  TempFolder folder_;
  ZRMBandDTED band_;
  XString err_;
};

TEST_F(ZRMBandDTEDFiles, PutsNorthUpAndWestLeft) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(13, 9)));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_EQ(13, band_.GetXSize());
  EXPECT_EQ(9, band_.GetYSize());
  EXPECT_EQ(kSint16, band_.GetDataType());
  const tagXArr2* const whole = Read(band_, 0, 0, 12, 0, 8);
  ASSERT_NE(nullptr, whole);
  for (int y = 0; y < 9; ++y) {
    for (int x = 0; x < 13; ++x) ASSERT_EQ(HeightOfWord(DtedBuilder::AnyWord(x, 8 - y)), At(*whole, x, y));
  }
}

TEST_F(ZRMBandDTEDFiles, ReadsMoreColumnsThanItTakesAtOnce) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(203, 77)));
  const tagXArr2* const result = Read(band_, 0, 5, 202, 3, 76);
  ASSERT_NE(nullptr, result);
  for (int y = 3; y < 77; ++y) {
    for (int x = 5; x < 203; ++x) ASSERT_EQ(HeightOfWord(DtedBuilder::AnyWord(x, 76 - y)), At(*result, x - 5, y - 3));
  }
}

TEST_F(ZRMBandDTEDFiles, MakesUnknownAndFarNegativeHeightsZero) {
  const std::uint16_t words[] = {0xFFFF, 0x8001, 0xBE80, 0xBE7F, 0x7FFF, 0x8000};
  ASSERT_EQ(1, Open(DtedBuilder().Size(6, 1).Words([&](int line, int) { return words[line]; })));
  const int expected[] = {0, -1, 0, -15999, 32767, 0};
  for (int x = 0; x < 6; ++x) EXPECT_EQ(expected[x], Post(x, 0)) << x;
}

TEST_F(ZRMBandDTEDFiles, FindsColumnsBehindALabel) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(4, 3).Labels(1)));
  EXPECT_EQ(3508, band_.GetDataStart());
  EXPECT_EQ(4, band_.GetXSize());
  EXPECT_EQ(138.0, band_.GetULX());
  EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(3, 2)), Post(3, 0));
}

/// The mark of such a cell lies at 299, where nobody looks for it.
TEST_F(ZRMBandDTEDFiles, BehindTwoLabelsIsKnownOnlyByAMarkInTheUsualPlaces) {
  const DtedBuilder twoLabels = DtedBuilder().Size(4, 3).Labels(2);
  EXPECT_EQ(0, Open(twoLabels));
  ASSERT_EQ(1, Open(DtedBuilder(twoLabels).Put(129, "DTED")));
  EXPECT_EQ(3588, band_.GetDataStart());
  EXPECT_EQ("DTED1", band_.GetProductDesignator());
  EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(3, 2)), Post(3, 0));
}

TEST_F(ZRMBandDTEDFiles, WithAnUnknownTagIsReadFromTheFirstByteOn) {
  std::vector<unsigned char> bytes = DtedBuilder().Size(4, 3).Put(0, "XYZ").Put(8, "\x12\x34").Build();
  ASSERT_EQ(1, Open(Write(bytes)));
  EXPECT_EQ(0, band_.GetDataStart());
  EXPECT_EQ(4, band_.GetXSize());
  EXPECT_EQ(138.0, band_.GetULX());
  EXPECT_EQ(0x1234, Post(0, 2));
}

TEST_F(ZRMBandDTEDFiles, LieAtTheirCornerPosts) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(5, 3)));
  EXPECT_EQ(138.0, band_.GetULX());
  EXPECT_EQ(36.0, band_.GetULY());
  EXPECT_EQ(0.25, band_.GetXPixelSize());
  EXPECT_EQ(0.5, band_.GetYPixelSize());
  EXPECT_EQ(kCoordinateWorld, band_.GetCoordinateKind());
}

TEST_F(ZRMBandDTEDFiles, KeepTheirPlaceInSinglePrecision) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(1201, 4).Corners("350000N", "1381515E", "360000N", "1391515E")));
  EXPECT_EQ(static_cast<double>(static_cast<float>(138.0 + 15.0 / 60 + 15.0 / 3600)), band_.GetULX());
  EXPECT_EQ(static_cast<double>(1.0f / 3.0f), band_.GetYPixelSize());
  EXPECT_NE(1.0 / 3.0, band_.GetYPixelSize());
}

TEST_F(ZRMBandDTEDFiles, HaveTheSystemOfTheirDatum) {
  ASSERT_EQ(1, Open(DtedBuilder().Datum("wgs84")));
  EXPECT_EQ(4326, band_.GetSR()->GetEPSG());
  EXPECT_EQ(kReferenceKnown, band_.GetSR()->GetCoordinateKind());
}

TEST_F(ZRMBandDTEDFiles, OfAnotherDatumHaveAPlaceAndNoSystem) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(5, 3)));
  ASSERT_EQ(1, Open(DtedBuilder().Size(5, 3).Datum("WGS72")));
  EXPECT_TRUE(band_.GetSR()->IsEmpty());
  EXPECT_EQ(138.0, band_.GetULX());
  EXPECT_EQ(0.25, band_.GetXPixelSize());
}

TEST_F(ZRMBandDTEDFiles, ThatCannotBeOpenedSaySo) {
  const std::string missing = folder_.Path("none.dt1");
  EXPECT_EQ(0, Open(missing));
  EXPECT_EQ("Can't open file : " + missing, err_.AsStdString());
  const std::string path = folder_.Path("a.dt1");
  for (const DtedBuilder& builder : {DtedBuilder().Put(139, "XXXX"), DtedBuilder().Put(0, "ACC"),
                                     DtedBuilder().Put(0, "dsi"), DtedBuilder().Labels(2)}) {
    EXPECT_EQ(0, Open(builder));
    EXPECT_EQ("Can't open file : " + path, err_.AsStdString());
  }
  EXPECT_EQ(0, Open(Write(std::vector<unsigned char>())));
  EXPECT_EQ("Can't open file : " + path, err_.AsStdString());
}

TEST_F(ZRMBandDTEDFiles, OfSizesThatCannotBeFailWithoutASentence) {
  for (const char* claim : {"0000", "-001", "-999", "none"}) {
    EXPECT_EQ(0, Open(DtedBuilder().Claim(claim, "0005"))) << claim;
    EXPECT_TRUE(err_.IsEmpty());
    EXPECT_EQ(0, Open(DtedBuilder().Claim("0007", claim))) << claim;
    EXPECT_TRUE(err_.IsEmpty());
  }
}

TEST_F(ZRMBandDTEDFiles, BeyondTheLimitOfPixelsFailWithoutASentence) {
  const tagXLimits before = XfnGetLimits();
  tagXLimits limits = before;
  limits.imagePixels = 34;
  XfnSetLimits(limits);
  EXPECT_EQ(0, Open(DtedBuilder().Size(7, 5)));
  EXPECT_TRUE(err_.IsEmpty());
  limits.imagePixels = 35;
  XfnSetLimits(limits);
  EXPECT_EQ(1, Open(DtedBuilder().Size(7, 5)));
  XfnSetLimits(before);
}

TEST_F(ZRMBandDTEDFiles, CutShortKeepWhatIsThere) {
  const DtedBuilder builder = DtedBuilder().Size(100, 20).Words(
      [](int line, int point) { return static_cast<std::uint16_t>(100 * line + point + 1); });
  std::vector<unsigned char> bytes = builder.Build();
  bytes.resize(builder.HeaderBytes() + 70 * builder.ColumnBytes() + 8 + 2 * 6);
  ASSERT_EQ(1, Open(Write(bytes)));
  EXPECT_EQ(100, band_.GetXSize());
  const tagXArr2* const whole = Read(band_, 0, 0, 99, 0, 19);
  ASSERT_NE(nullptr, whole);
  for (int y = 0; y < 20; ++y) {
    for (int x = 0; x < 100; ++x) {
      const int point = 19 - y;
      const bool isThere = x < 70 || (x == 70 && point < 6);
      ASSERT_EQ(isThere ? 100 * x + point + 1 : 0, At(*whole, x, y)) << x << ' ' << y;
    }
  }
}

TEST_F(ZRMBandDTEDFiles, CutShortAreZeroBehindTheEndAtEveryLevel) {
  const DtedBuilder builder = DtedBuilder().Size(40, 16).Words([](int, int) { return std::uint16_t{5}; });
  std::vector<unsigned char> bytes = builder.Build();
  bytes.resize(builder.HeaderBytes() + 9 * builder.ColumnBytes());
  ASSERT_EQ(1, Open(Write(bytes)));
  const tagXArr2* const half = Read(band_, 1, 0, 39, 0, 15);
  ASSERT_NE(nullptr, half);
  for (int x = 0; x < 20; ++x) EXPECT_EQ(2 * x < 9 ? 5 : 0, At(*half, x, 3)) << x;
  const tagXArr2* const behind = Read(band_, 0, 20, 39, 0, 15);
  ASSERT_NE(nullptr, behind);
  EXPECT_EQ(0, At(*behind, 0, 0));
}

TEST_F(ZRMBandDTEDFiles, OfNothingButAHeaderAreZero) {
  const DtedBuilder builder = DtedBuilder().Claim("9999", "9999");
  std::vector<unsigned char> bytes = builder.Build();
  bytes.resize(builder.HeaderBytes());
  ASSERT_EQ(1, Open(Write(bytes)));
  EXPECT_EQ(9999, band_.GetXSize());
  EXPECT_EQ(0, Post(0, 0));
  EXPECT_EQ(0, Post(9998, 9998));
}

TEST_F(ZRMBandDTEDFiles, ThatCannotBeReadAreZeroFromThereOn) {
  const std::string path = Write(DtedBuilder().Size(100, 20));
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  disk.FailRead(3);  // of the leader, of the first columns, of the others
  ASSERT_EQ(1, Open(path));
  EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(63, 19)), Post(63, 0));
  EXPECT_EQ(0, Post(64, 0));
}

/// Stops at the N-th report, and keeps what was reported.
class StopAt : public XMessageTarget {
 public:
  explicit StopAt(int nth) : nth_(nth) {}
  void PostMessage(unsigned, XThread* sender, long value) override {
    percents.push_back(value);
    if (static_cast<int>(percents.size()) == nth_) sender->SetState(XThread::kStateStop);
  }
  std::vector<long> percents;

 private:
  int nth_;
};

TEST_F(ZRMBandDTEDFiles, ReportEveryColumn) {
  StopAt never(0);
  XThread thread(&never);
  ASSERT_EQ(1, Open(Write(DtedBuilder().Size(150, 3)), &thread));
  ASSERT_EQ(150u, never.percents.size());
  for (int i = 0; i < 150; ++i) EXPECT_EQ(i * 100 / 150, never.percents[static_cast<std::size_t>(i)]) << i;
}

TEST_F(ZRMBandDTEDFiles, StopAtAnyColumn) {
  const std::string path = Write(DtedBuilder().Size(150, 3));
  for (int column = 0; column < 150; ++column) {
    StopAt target(column + 1);
    XThread thread(&target);
    ASSERT_EQ(0, Open(path, &thread)) << column;
    EXPECT_TRUE(err_.IsEmpty());
    EXPECT_EQ(static_cast<std::size_t>(column) + 1, target.percents.size());
    // What was decoded until then stays.
    const int last = column - 1;
    if (column > 0) {
      EXPECT_EQ(HeightOfWord(DtedBuilder::AnyWord(last, 2)), Post(last, 0)) << column;
    }
    EXPECT_EQ(0, Post(column, 0)) << column;
  }
}

TEST_F(ZRMBandDTEDFiles, StopAtColumnsThatTheFileDoesNotHold) {
  const DtedBuilder builder = DtedBuilder().Size(150, 3);
  std::vector<unsigned char> bytes = builder.Build();
  bytes.resize(builder.HeaderBytes());
  StopAt target(140);
  XThread thread(&target);
  EXPECT_EQ(0, Open(Write(bytes), &thread));
  EXPECT_EQ(140u, target.percents.size());
}

TEST_F(ZRMBandDTEDFiles, TakeEverySecondPostAtLevelOne) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(30, 21)));
  const tagXArr2* const result = Read(band_, 1, 3, 17, 2, 12);
  ASSERT_NE(nullptr, result);
  ASSERT_EQ(7, result->xSize);
  ASSERT_EQ(5, result->ySize);
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 7; ++x) {
      ASSERT_EQ(HeightOfWord(DtedBuilder::AnyWord(3 + 2 * x, 20 - 2 - 2 * y)), At(*result, x, y));
    }
  }
}

TEST_F(ZRMBandDTEDFiles, RefuseALevelThatLeavesNoPost) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(30, 21)));
  EXPECT_NE(nullptr, Read(band_, 4, 0, 29, 0, 20));
  EXPECT_EQ(nullptr, Read(band_, 5, 0, 29, 0, 20));
  EXPECT_EQ(nullptr, Read(band_, 4, 0, 14, 0, 20));
  EXPECT_EQ(nullptr, Read(band_, -1, 0, 29, 0, 20));
}

TEST_F(ZRMBandDTEDFiles, RefuseWindowsOutsideTheGrid) {
  EXPECT_EQ(nullptr, Read(band_, 0, 0, 0, 0, 0));  // nothing was opened yet
  ASSERT_EQ(1, Open(DtedBuilder().Size(30, 21)));
  EXPECT_EQ(nullptr, Read(band_, 0, 0, 30, 0, 20));
  EXPECT_EQ(nullptr, Read(band_, 0, 2, 1, 0, 20));
  band_.SetSize(50, 50);
  EXPECT_EQ(nullptr, Read(band_, 0, 0, 30, 0, 20));
}

TEST_F(ZRMBandDTEDFiles, KeepTheirHeightsWhenMemoryIsFreed) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(30, 21)));
  const int before = Post(29, 20);
  EXPECT_EQ(1, band_.CleanupMemory(1, 1));
  EXPECT_EQ(before, Post(29, 20));
}

TEST_F(ZRMBandDTEDFiles, KeepTheirHeightsWhereAnotherFileIsNone) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(30, 21)));
  const int before = Post(29, 20);
  EXPECT_EQ(0, Open(folder_.Path("none.dt1")));
  EXPECT_EQ(before, Post(29, 20));
}

TEST_F(ZRMBandDTEDFiles, MeasureTheirHeights) {
  ASSERT_EQ(1, Open(DtedBuilder().Size(2, 2).Words([](int line, int point) {
              return static_cast<std::uint16_t>(line == 0 ? 10 + 10 * point : 0x8000 + 10 + 10 * point);
            })));
  ASSERT_EQ(1, band_.CalcStatistics(1));
  EXPECT_EQ(-20.0, band_.GetBandMin());
  EXPECT_EQ(20.0, band_.GetBandMax());
  EXPECT_EQ(0.0, band_.GetBandMean());
}

TEST_F(ZRMBandDTEDFiles, LoadAsOneNamedBand) {
  const std::string path = Write(DtedBuilder().Size(30, 21));
  XRSFile file;
  ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatDTED, path, err_, 1, kLevelNone, nullptr));
  ASSERT_EQ(1, file.GetNumOfBands());
  EXPECT_EQ("a.dt1 : Channel 1", file.GetBandAt(0)->GetBandName());
  EXPECT_EQ(path, file.GetFilePath().AsStdString());
  EXPECT_NE(kNotSet, file.GetBandAt(0)->GetBandMean());
}

TEST_F(ZRMBandDTEDFiles, HaveReducedHeightsFromALevelFile) {
  const auto plane = [](int line, int point) { return static_cast<std::uint16_t>(4 * line + 8 * point); };
  const std::string path = Write(DtedBuilder().Size(600, 600).Words(plane));
  XRSFile file;
  ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatDTED, path, err_, 0, kLevelBuild, nullptr));
  auto& band = static_cast<ZRMBandDTED&>(*file.GetBandAt(0));
  ASSERT_NE(nullptr, band.GetBandXLD());
  const tagXArr2* const half = Read(band, 1, 0, 599, 0, 599);
  ASSERT_NE(nullptr, half);
  // The mean of the posts 200 and 201 from the west, 399 and 398 from the south, where the sample is 2 x (100, 100).
  EXPECT_EQ(4 * 200 + 2 + 8 * 398 + 4, At(*half, 100, 100));
}

}  // namespace
