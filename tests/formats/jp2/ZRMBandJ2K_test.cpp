#include "ZRMBandJ2K.h"

#include "codec/J2kDecoder.h"
#include "GeoBox.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "OpenRaster.h"
#include "XFormatId.h"
#include "XSystem.h"
#include "ZRMBandResize.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

// The band under the compatible policy, and what both policies share.

namespace {

class CompatibleJ2k : public LoadedRaster {
 public:
  explicit CompatibleJ2k(const std::vector<unsigned char>& bytes) : LoadedRaster(bytes, kFormatJP2, kReadCompatible) {}
  ZRMBandJ2K& J2k(int c = 0) { return static_cast<ZRMBandJ2K&>(Band(c)); }
};

/// Every sample of a channel is its number times ten and one.
Jp2Builder FlatChannels(int count) {
  return Jp2Builder().Components(count).Samples([](int c, int, int) { return 10 * (c + 1); });
}

const tagXArr2* ReadWindow(ZRMBand& band, int level, const Window& window) {
  tagXArr2* out = nullptr;
  return band.ReadSubset(out, level, window.x0, window.x1, window.y0, window.y1, nullptr) ? out : nullptr;
}

TEST(ZRMBandJ2K, BeginsWithoutAFile) {
  ZRMBandJ2K band(nullptr, 3);
  EXPECT_EQ(3, band.GetNumChannels());
  EXPECT_EQ(-1, band.GetNumThread());
  EXPECT_EQ(1, band.GetThreadEnv());
  EXPECT_EQ(0, band.GetLevel());
  EXPECT_EQ(nullptr, band.GetResult(0));
  int level = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  band.GetPrevReadSubsetParam(level, x0, x1, y0, y1);
  EXPECT_EQ((std::array{-1, -1, -1, -1, -1}), (std::array{level, x0, x1, y0, y1}));
}

TEST(ZRMBandJ2K, AFollowerShowsTheChannelOfItsConstructor) {
  CompatibleJ2k image(FlatChannels(3).Build());
  ZRMBandJ2K follower(&image.J2k(), 2);
  EXPECT_EQ(2, follower.GetChannel());
  EXPECT_EQ(64, follower.GetXSize());
  EXPECT_EQ(30, ReadPixels(follower, 0, {0, 3, 0, 3}).bytes[0]);
}

TEST(ZRMBandJ2K, AMissingFileCannotBeOpened) {
  ZRMBandJ2K band(nullptr);
  XString err;
  EXPECT_EQ(0, band.ReadFile("/nowhere/a.jp2", err, nullptr));
  EXPECT_EQ(XString("Unable to open input file"), err);
}

TEST(ZRMBandJ2K, ASignatureAloneIsAFileWithoutBoxes) {
  CompatibleJ2k image(Jp2Builder::MakeBox("jP  ", {0x0D, 0x0A, 0x87, 0x0A}));
  EXPECT_FALSE(image.IsOpen());
  EXPECT_EQ("This file does not have any boxes.", image.Reason());
}

TEST(ZRMBandJ2K, ReadsACodestreamWithoutBoxes) {
  CompatibleJ2k image(FlatChannels(1).BuildCodestream());
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  EXPECT_EQ(10, image.Read(0, 0, {5, 5, 5, 5}).bytes[0]);
}

/// A length of 0 reaches to the end of the file, and one of 1 stands in the eight bytes behind the type.
TEST(ZRMBandJ2K, ReadsACodestreamInABoxOfAnyKindOfLength) {
  const std::vector<unsigned char> codestream = FlatChannels(1).BuildCodestream();
  const std::vector<unsigned char> start = Jp2Builder::MakeBox("jP  ", {0x0D, 0x0A, 0x87, 0x0A});
  const std::vector<unsigned char> toTheEnd = Join({BigEndian(0, 4), Jp2Builder::Text("jp2c"), codestream});
  for (const auto& box : {Jp2Builder::MakeLongBox("jp2c", codestream), toTheEnd}) {
    CompatibleJ2k image(Join({start, box}));
    ASSERT_TRUE(image.IsOpen()) << image.Reason();
    EXPECT_EQ(10, image.Read(0, 0, {5, 5, 5, 5}).bytes[0]);
  }
}

TEST(ZRMBandJ2K, TypesFollowTheBytesAndTheSignOfTheFirstComponent) {
  struct Case {
    int depth;
    bool isSigned;
    int dataType;
  };
  for (const Case& each : {Case{1, false, kPint08}, Case{8, false, kPint08}, Case{8, true, kSint08},
                           Case{9, false, kPint16}, Case{16, false, kPint16}, Case{12, true, kSint16}}) {
    CompatibleJ2k image(Jp2Builder().Components(1, each.depth, each.isSigned).Build());
    ASSERT_TRUE(image.IsOpen()) << image.Reason();
    EXPECT_EQ(each.dataType, image.Band().GetDataType()) << each.depth;
    EXPECT_EQ(each.depth, image.J2k().GetDataPrecision());
  }
}

TEST(ZRMBandJ2K, ThreeBytesASampleAreNotSupported) {
  for (const int depth : {17, 24}) {
    CompatibleJ2k image(Jp2Builder().Components(1, depth).Build());
    EXPECT_FALSE(image.IsOpen());
    EXPECT_EQ("[Number of bytes : 3] is not supported!", image.Reason()) << depth;
  }
}

TEST(ZRMBandJ2KCompatible, TheFirstReadOfTheMasterGivesTheLastChannel) {
  CompatibleJ2k image(FlatChannels(3).Build());
  const Window window{2, 9, 3, 8};
  EXPECT_EQ(30, ReadWindow(image.Band(), 0, window)->data[0]);
  EXPECT_EQ(10, ReadWindow(image.Band(), 0, window)->data[0]);
  EXPECT_EQ(20, ReadWindow(image.Band(1), 0, window)->data[0]);
}

TEST(ZRMBandJ2KCompatible, AWindowThatAFollowerReadIsARepeatForTheMaster) {
  CompatibleJ2k image(FlatChannels(3).Build());
  EXPECT_EQ(20, ReadWindow(image.Band(1), 0, {2, 9, 3, 8})->data[0]);
  EXPECT_EQ(10, ReadWindow(image.Band(), 0, {2, 9, 3, 8})->data[0]);
}

TEST(ZRMBandJ2KCompatible, AFreedResultIsReadAnew) {
  CompatibleJ2k image(FlatChannels(2).Build());
  ReadWindow(image.Band(), 0, {0, 3, 0, 3});
  image.Band().CleanupMemory(1, 1);
  EXPECT_EQ(nullptr, image.J2k().GetResult(0));
  EXPECT_EQ(20, ReadWindow(image.Band(), 0, {0, 3, 0, 3})->data[0]);
}

TEST(ZRMBandJ2KCompatible, StatisticsAreThoseOfTheirOwnChannel) {
  CompatibleJ2k image(FlatChannels(3).Build());
  for (int c = 0; c < 3; ++c) {
    ASSERT_TRUE(image.Band(c).CalcStatistics(0));
    EXPECT_EQ(10.0 * (c + 1), image.Band(c).GetBandMin());
    EXPECT_EQ(10.0 * (c + 1), image.Band(c).GetBandMax());
  }
}

TEST(ZRMBandJ2KCompatible, ABandOverTheMasterGetsTheMastersChannel) {
  CompatibleJ2k image(FlatChannels(3).Build());
  ZRMBandResize half;
  half.SetSourceBand(&image.Band());
  ASSERT_TRUE(half.SetResizeInfo(0, 63, 0, 47, 32, 24));
  tagXArr2* out = nullptr;
  ASSERT_TRUE(half.ReadSubset(out, 0, 0, 3, 0, 3, nullptr));
  EXPECT_EQ(10, out->data[0]);
}

TEST(ZRMBandJ2K, RepeatsAndFollowersReadNothing) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  CompatibleJ2k image(FlatChannels(3).Build());
  const Window window{2, 9, 3, 8};
  ReadWindow(image.Band(), 0, window);
  const int numReads = disk.GetReadCount();
  for (int c = 0; c < 3; ++c) EXPECT_EQ(10 * (c + 1), ReadWindow(image.Band(c), 0, window)->data[0]);
  EXPECT_EQ(numReads, disk.GetReadCount());
}

TEST(ZRMBandJ2K, AFailedReadIsNeverARepeat) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  CompatibleJ2k image(FlatChannels(3).Build());
  disk.FailRead(disk.GetReadCount() + 3);
  EXPECT_EQ(nullptr, ReadWindow(image.Band(), 0, {2, 9, 3, 8}));
  EXPECT_EQ(nullptr, image.J2k().GetResult(0));
  int level = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  image.J2k().GetPrevReadSubsetParam(level, x0, x1, y0, y1);
  EXPECT_EQ((std::array{0, 2, 9, 3, 8}), (std::array{level, x0, x1, y0, y1}));
  EXPECT_EQ(20, ReadWindow(image.Band(1), 0, {2, 9, 3, 8})->data[0]);
}

TEST(ZRMBandJ2K, ALevelBeyondTheCodestreamsFails) {
  CompatibleJ2k image(Jp2Builder().Levels(2).Build());
  EXPECT_EQ(2, image.Band().GetLevel());
  EXPECT_EQ("", image.Failure(2, {0, 63, 0, 47}));
  EXPECT_EQ("The codestream has no such level", image.Failure(3, {0, 63, 0, 47}));
  EXPECT_EQ("The level leaves no pixel of the window", image.Failure(2, {0, 2, 0, 47}));
  EXPECT_EQ("The level leaves no pixel of the window", image.Failure(-1, {0, 63, 0, 47}));
}

TEST(ZRMBandJ2KCompatible, ComponentsOfOtherSizesLeaveOneChannel) {
  const std::vector<unsigned char> bytes =
      Jp2Builder().Components(3).Component(1, 8, false, 2, 2).Component(2, 8, false, 2, 2).Build();
  TempFolder folder;
  folder.Write("a.jp2", bytes);
  ZRMBandJ2K band(nullptr);
  XString err;
  ASSERT_TRUE(band.ReadFile(folder.Path("a.jp2"), err, nullptr));
  EXPECT_EQ(XString("Some components do not have same dimensions, ignoring all but first"), err);
  EXPECT_EQ(1, band.GetNumChannels());
  EXPECT_EQ(1, CompatibleJ2k(bytes).CountBands());
}

TEST(ZRMBandJ2KCompatible, ComponentsAreShiftedToTheDepthOfTheFirst) {
  const auto flat = [](int c, int, int) { return c == 0 ? 77 : c == 1 ? 800 : 9; };
  CompatibleJ2k image(Jp2Builder().Components(3).Component(1, 10, false).Component(2, 4, false).Samples(flat).Build());
  EXPECT_EQ(200, image.Read(1, 0, {0, 1, 0, 1}).bytes[0]);  // two bits less
  EXPECT_EQ(144, image.Read(2, 0, {0, 1, 0, 1}).bytes[0]);  // four bits more
  EXPECT_EQ(kPint08, image.Band(1).GetDataType());
}

TEST(ZRMBandJ2KCompatible, APrecisionThatIsSetShiftsSamples) {
  CompatibleJ2k image(Jp2Builder().Components(1, 8).Samples([](int, int, int) { return 100; }).Build());
  image.J2k().SetDataPrecision(6);
  EXPECT_EQ(25, image.Read(0, 0, {0, 1, 0, 1}).bytes[0]);
}

TEST(ZRMBandJ2K, SignedBytesAreTrueSignedBytes) {
  CompatibleJ2k image(Jp2Builder().Components(1, 8, true).Samples([](int, int x, int) { return x - 32; }).Build());
  const Pixels pixels = image.Read(0, 0, {0, 63, 0, 0});
  EXPECT_EQ(-32, static_cast<signed char>(pixels.bytes[0]));
  EXPECT_EQ(31, static_cast<signed char>(pixels.bytes[63]));
}

/// Gives the same number for every sample, and leaves the shift of unsigned ones in.
class CentredDecoder final : public zrk::J2kDecoder {
 public:
  static std::unique_ptr<J2kDecoder> Make() { return std::make_unique<CentredDecoder>(); }
  bool LeavesLevelShift() const override { return true; }
  int Open(std::unique_ptr<zrk::J2kStream>, const zrk::J2kSettings&, XString&) override { return 1; }
  int Decode(const zrk::J2kRect& area, std::vector<zrk::J2kPlane>& planes, XString&) override {
    samples_.assign(static_cast<std::size_t>(area.Width() * area.Height()), -5);
    planes = {{.component = 0, .rect = area, .samples = samples_.data()}};
    return 1;
  }
  void FreePlanes() override {}
  bool CanDecodeAgain() const override { return false; }

 private:
  std::vector<std::int32_t> samples_;
};

TEST(ZRMBandJ2K, ADecoderThatLeavesTheShiftInHasHalfOfTheRangeAdded) {
  const zrk::ScopedJ2kDecoders scope(&CentredDecoder::Make);
  CompatibleJ2k image(Jp2Builder().Components(1, 12).Build());
  EXPECT_EQ(2048 - 5, image.ReadSamples<std::uint16_t>(0, {0, 3, 0, 3})[0]);
  CompatibleJ2k withSign(Jp2Builder().Components(1, 12, true).Build());
  EXPECT_EQ(-5, withSign.ReadSamples<std::int16_t>(0, {0, 3, 0, 3})[0]);
}

TEST(ZRMBandJ2K, NothingIsAddedWhereTheDecoderHasUndoneTheShift) {
  CompatibleJ2k image(Jp2Builder().Components(1, 12).Samples([](int, int, int) { return 17; }).Build());
  EXPECT_EQ(17, image.ReadSamples<std::uint16_t>(0, {0, 3, 0, 3})[0]);
}

TEST(ZRMBandJ2K, AClosedBandReadsNothing) {
  CompatibleJ2k image(FlatChannels(1).Build());
  image.J2k().Close();
  EXPECT_EQ("No file is open", image.Failure(0, {0, 3, 0, 3}));
  EXPECT_EQ(0, image.Band().GetLevel());
}

TEST(ZRMBandJ2K, ASizeSetBeyondTheImageReadsNothingOutside) {
  CompatibleJ2k image(FlatChannels(1).Build());
  image.Band().SetSize(100, 100);
  EXPECT_EQ("The window is not inside the band", image.Failure(0, {60, 64, 0, 3}));
  EXPECT_EQ("", image.Failure(0, {60, 63, 0, 3}));
}

TEST(ZRMBandJ2KCompatible, TilesThatAreMissingAreZero) {
  std::vector<unsigned char> bytes = FlatChannels(1).Size(64, 64).Tiles(32, 32).BuildCodestream();
  // The second tile-part begins behind the first, whose length stands behind its number.
  const std::vector<unsigned char> second = {0xFF, 0x90, 0, 10, 0, 1};
  bytes.erase(std::search(bytes.begin(), bytes.end(), second.begin(), second.end()), bytes.end());
  CompatibleJ2k image(bytes);
  const Pixels pixels = image.Read(0, 0, {0, 63, 0, 0});
  EXPECT_EQ(10, pixels.bytes[31]);
  EXPECT_EQ(0, pixels.bytes[32]);
}

TEST(ZRMBandJ2KCompatible, TilesThatAreCutShortAreDecodedAsFarAsTheyGo) {
  std::vector<unsigned char> bytes = Jp2Builder().Size(200, 200).BuildCodestream();
  bytes.resize(bytes.size() * 3 / 4);
  CompatibleJ2k image(bytes);
  EXPECT_EQ("", image.Failure(0, {0, 199, 0, 199}));
}

TEST(ZRMBandJ2K, RolesFollowColoursAndOpacity) {
  const std::vector<unsigned char> opacity =
      Join({BigEndian(4, 2), BigEndian(0, 2), BigEndian(0, 2), BigEndian(1, 2), BigEndian(1, 2), BigEndian(0, 2),
            BigEndian(2, 2), BigEndian(2, 2), BigEndian(0, 2), BigEndian(3, 2), BigEndian(3, 2), BigEndian(1, 2),
            BigEndian(0, 2)});
  CompatibleJ2k image(FlatChannels(4).HeaderBox("cdef", opacity).Build());
  const XColourRole expected[] = {kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha};
  for (int c = 0; c < 4; ++c) EXPECT_EQ(expected[c], image.Band(c).GetColourRole()) << c;
  EXPECT_EQ(kRoleGrey, CompatibleJ2k(FlatChannels(1).Build()).Band().GetColourRole());
}

TEST(ZRMBandJ2K, TheNumberOfThreadsChangesNoSample) {
  const std::vector<unsigned char> bytes = Jp2Builder().Size(700, 500).Components(3).Build();
  CompatibleJ2k image(bytes);
  const Pixels expected = image.Read(1, 0, {0, 699, 0, 499});
  XfnSetWorkerCount(4);
  for (const int numThreads : {-1, 0, 1, 3}) {
    CompatibleJ2k other(bytes);
    other.J2k().SetNumThread(numThreads);
    other.J2k().SetThreadEnv(numThreads == 3 ? 0 : 1);
    EXPECT_EQ(expected, other.Read(1, 0, {0, 699, 0, 499}));
  }
  XfnSetWorkerCount(1);
}

TEST(ZRMBandJ2K, ABigTileIsDecodedInStripesWhereTheFileIsSmallForIt) {
  const std::vector<unsigned char> bytes =
      Jp2Builder().Size(3100, 3000).Components(1).Samples([](int, int x, int) { return x < 1500 ? 3 : 9; }).Build();
  CompatibleJ2k image(bytes);
  const Pixels pixels = image.Read(0, 0, {0, 3099, 0, 2999});
  ASSERT_EQ(3100U * 3000U, pixels.bytes.size());
  for (std::size_t i = 0; i < pixels.bytes.size(); ++i) ASSERT_EQ(i % 3100 < 1500 ? 3 : 9, pixels.bytes[i]) << i;
}

}  // namespace
