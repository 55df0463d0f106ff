// Compatible reads of NITF files. Pixels are worked out by the builder's formula, and places by hand.

#include "ZRMBandNITF.h"
#include "ByteFlips.h"
#include "Jp2Builder.h"
#include "NitfBuilder.h"
#include "OpenRaster.h"
#include "XFormatId.h"
#include "XFormatTable.h"

#include <gmock/gmock.h>

#include <cstring>
#include <thread>

namespace {

using NitfBytes = NitfBuilder::Bytes;

class OpenNitf : public OpenRaster<ZRMBandNITF> {
 public:
  explicit OpenNitf(const NitfBytes& bytes) : OpenRaster(bytes, "a.ntf", kFormatNITFIMG) {}
};

/// A sample as a number.
template <class Sample>
double SampleAt(const Pixels& pixels, int x, int y) {
  Sample sample;
  const auto number =
      static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) + static_cast<std::size_t>(x);
  std::memcpy(&sample, &pixels.bytes.at(number * static_cast<std::size_t>(pixels.sampleBytes)), sizeof sample);
  return static_cast<double>(sample);
}

/// Corners from (10, 12) in the upper left to (12, 9) in the lower right, as longitude and latitude.
constexpr const char* kCorners = "120000N0100000E120000N0120000E090000N0120000E090000N0100000E";

/// A read that is told to stop before it begins.
int ReadStopped(ZRMBand& band, int level) {
  int stop = 1;
  tagXArr2* out = nullptr;
  return band.ReadSubset(out, level, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, &stop);
}

}  // namespace

TEST(ZRMBandNITF, ReadsWindowsOfEachBandHoweverTheyAreInterleaved) {
  for (const char mode : {'B', 'P', 'R', 'S'}) {
    OpenNitf file(NitfBuilder().Size(90, 70).Bands(3).Blocks(32, 32).Mode(mode).Build());
    ASSERT_TRUE(file.IsOpen()) << mode << file.Error();
    ASSERT_EQ(3, file.File().GetNumOfBands());
    for (int band = 0; band < 3; ++band) {
      const Pixels pixels = file.Read(0, {30, 81, 22, 69}, band);
      ASSERT_EQ(52, pixels.width) << mode;
      for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 52; ++x)
          ASSERT_EQ(NitfBuilder::Value(30 + x, 22 + y, band), SampleAt<std::uint8_t>(pixels, x, y)) << mode << x;
      }
    }
  }
}

TEST(ZRMBandNITF, ReadsImagesOfOneBlock) {
  OpenNitf file(NitfBuilder().Size(90, 70).Bands(2).Build());
  const Pixels pixels = file.Read(0, {3, 80, 5, 60}, 1);
  ASSERT_EQ(78, pixels.width);
  EXPECT_EQ(NitfBuilder::Value(3, 5, 1), SampleAt<std::uint8_t>(pixels, 0, 0));
  EXPECT_EQ(NitfBuilder::Value(80, 60, 1), SampleAt<std::uint8_t>(pixels, 77, 55));
}

TEST(ZRMBandNITF, HasATypeForEachKindOfSample) {
  struct Kind {
    const char* name;
    int bits, type;
    double (*at)(const Pixels& pixels, int x, int y);
  };
  const Kind kinds[] = {{"INT", 8, kPint08, &SampleAt<std::uint8_t>},   {"SI", 8, kSint08, &SampleAt<std::int8_t>},
                        {"INT", 16, kPint16, &SampleAt<std::uint16_t>}, {"SI", 16, kSint16, &SampleAt<std::int16_t>},
                        {"INT", 32, kPint32, &SampleAt<std::uint32_t>}, {"SI", 32, kSint32, &SampleAt<std::int32_t>},
                        {"R", 32, kReal32, &SampleAt<float>},           {"R", 64, kReal64, &SampleAt<double>},
                        {"C", 64, kCreal32, &SampleAt<float>}};
  for (const Kind& kind : kinds) {
    OpenNitf file(NitfBuilder().Size(40, 30).Blocks(16, 16).Type(kind.name, kind.bits).Build());
    ASSERT_TRUE(file.IsOpen()) << file.Error();
    ASSERT_EQ(kind.type, file.BandAt().GetDataType()) << kind.name << kind.bits;
    const Pixels pixels = file.Read(0, {7, 36, 4, 25});
    for (int y = 0; y < 22; ++y) {
      for (int x = 0; x < 30; ++x) ASSERT_EQ(NitfBuilder::Value(7 + x, 4 + y, 0), kind.at(pixels, x, y)) << kind.name;
    }
  }
}

TEST(ZRMBandNITF, LevelsHavePixelsByTheirPlacesWhateverTheBlocks) {
  OpenNitf file(NitfBuilder().Size(150, 140).Blocks(32, 48).Type("INT", 16).Build());
  const Pixels pixels = file.Read(2, {2, 149, 1, 139});
  ASSERT_EQ(37, pixels.width);
  ASSERT_EQ(34, pixels.height);
  for (int y = 0; y < 34; ++y) {
    for (int x = 0; x < 37; ++x)
      ASSERT_EQ(NitfBuilder::Value(2 + 4 * x, 1 + 4 * y, 0), SampleAt<std::uint16_t>(pixels, x, y)) << x << ", " << y;
  }
}

TEST(ZRMBandNITF, ComplexSamplesAboveLevelZeroAreZero) {
  OpenNitf file(NitfBuilder().Size(40, 30).Type("C", 64).Build());
  EXPECT_EQ(NitfBytes(std::size_t{20 * 15 * 8}, 0), file.Read(1, file.Whole()).bytes);
}

TEST(ZRMBandNITF, AStopFlagThatIsSetBeforeTheReadEndsIt) {
  OpenNitf file(NitfBuilder().Size(40, 30).Blocks(16, 16).Build());
  EXPECT_EQ(0, ReadStopped(file.BandAt(), 0));
  EXPECT_EQ(0, ReadStopped(file.BandAt(), 1));
  OpenNitf complex(NitfBuilder().Size(40, 30).Type("C", 64).Build());
  EXPECT_EQ(0, ReadStopped(complex.BandAt(), 1));
}

TEST(ZRMBandNITF, AFileThatCannotBeOpenedIsAnImageWithoutPixels) {
  ZRMBandNITF band;
  XString err = "left from before";
  EXPECT_EQ(1, band.ReadFile("/nowhere/a.ntf", err, nullptr));
  EXPECT_EQ("Can't open file : /nowhere/a.ntf : The file can't be opened", err);
  EXPECT_EQ(0, band.GetXSize());
  EXPECT_EQ(0, band.GetYSize());
  EXPECT_EQ(0, band.GetNumOfBand());
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 0, 0, 0, nullptr));
}

TEST(ZRMBandNITF, LoadsAFileThatCannotBeOpenedAsOneBandWithoutPixels) {
  for (const int levelMode : {static_cast<int>(kLevelNone), static_cast<int>(kLevelBuild)}) {
    TempFolder folder;
    folder.Write("a.ntf", NitfBytes{'N', 'I', 'T', 'F'});
    XRSFile file;
    XString err;
    EXPECT_EQ(1, XRSFileIO::LoadFileNITFIMG(&file, folder.Path("a.ntf"), err, 1, levelMode, nullptr));
    ASSERT_EQ(1, file.GetNumOfBands());
    EXPECT_EQ(0, file.GetBandAt(0)->GetXSize());
    EXPECT_EQ("Channel 1", file.GetBandAt(0)->GetBandName());
    EXPECT_EQ(folder.Path("a.ntf"), file.GetFilePath().AsStdString());
  }
}

TEST(ZRMBandNITF, ForgetsTheFileBeforeWhereTheNextOneCannotBeOpened) {
  TempFolder folder;
  folder.Write("a.ntf", NitfBuilder().Corners('G', kCorners).Build());
  ZRMBandNITF band;
  XString err;
  ASSERT_EQ(1, band.ReadFile(folder.Path("a.ntf"), err, nullptr));
  ASSERT_EQ(20, band.GetXSize());
  ASSERT_TRUE(band.HasOriginBoundRect());
  EXPECT_EQ(1, band.ReadFile(folder.Path("b.ntf"), err, nullptr));
  EXPECT_EQ(0, band.GetXSize());
  EXPECT_FALSE(band.HasOriginBoundRect());
  EXPECT_TRUE(band.GetSR()->IsEmpty());
}

TEST(ZRMBandNITF, NamesItsBandsByNumber) {
  OpenNitf file(NitfBuilder().Bands(2).Build());
  EXPECT_EQ("Channel 1", file.BandAt(0).GetBandName());
  EXPECT_EQ("Channel 2", file.BandAt(1).GetBandName());
  EXPECT_EQ(1, file.BandAt(1).GetBandID());
  EXPECT_EQ(2, file.BandAt(1).GetNumOfBand());
}

TEST(ZRMBandNITF, ShowsTheBandOfItsNumber) {
  OpenNitf file(NitfBuilder().Bands(3).Build());
  file.BandAt().SetBandID(2);
  EXPECT_EQ(NitfBuilder::Value(4, 3, 2), SampleAt<std::uint8_t>(file.Read(0, {4, 4, 3, 3}), 0, 0));
  file.BandAt().SetBandID(3);
  EXPECT_TRUE(file.Read(0, {4, 4, 3, 3}).bytes.empty());
}

TEST(ZRMBandNITF, KeepsItsFileWhereTheBandThatOpenedItGoes) {
  TempFolder folder;
  folder.Write("a.ntf", NitfBuilder().Bands(2).Build());
  auto first = std::make_unique<ZRMBandNITF>();
  XString err;
  ASSERT_EQ(1, first->ReadFile(folder.Path("a.ntf"), err, nullptr));
  ZRMBandNITF second(*first, 1);
  first.reset();
  const Pixels pixels = ReadPixels(second, 0, {4, 4, 3, 3});
  ASSERT_EQ(1u, pixels.bytes.size());
  EXPECT_EQ(NitfBuilder::Value(4, 3, 1), pixels.bytes[0]);
}

TEST(ZRMBandNITF, LiesWithTheCornerOfItsFirstPixelAtTheUpperLeft) {
  // Corners are the centres of pixels: 40 columns over 2 degrees, and 30 rows over 3.
  OpenNitf file(NitfBuilder().Size(41, 31).Corners('G', kCorners).Build());
  ZRMBandNITF& band = file.BandAt();
  EXPECT_NEAR(10.0 - 0.025, band.GetULX(), 1e-9);
  EXPECT_NEAR(12.0 + 0.05, band.GetULY(), 1e-9);
  EXPECT_NEAR(0.05, band.GetXPixelSize(), 1e-9);
  EXPECT_NEAR(0.1, band.GetYPixelSize(), 1e-9);
  EXPECT_EQ(kCoordinateWorld, band.GetCoordinateKind());
  EXPECT_EQ(kReferenceKnown, band.GetSR()->GetCoordinateKind());
  EXPECT_TRUE(band.GetSR()->IsGeographic());
  double transform[6];
  band.GetGeoTransform(transform);
  EXPECT_THAT(transform, testing::Pointwise(testing::DoubleNear(1e-9), {9.975, 0.05, 0.0, 12.05, 0.0, -0.1}));
}

TEST(ZRMBandNITF, TellsTheCornersAsLongitudeAndLatitude) {
  OpenNitf file(NitfBuilder().Size(41, 31).Corners('G', kCorners).Build());
  double corners[8] = {};
  file.BandAt().GetOriginBoundRect(corners);
  EXPECT_THAT(corners, testing::ElementsAre(10.0, 12.0, 12.0, 12.0, 12.0, 9.0, 10.0, 9.0));
  const double others[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  file.BandAt().SetOriginBoundRect(others);
  file.BandAt().GetOriginBoundRect(corners);
  EXPECT_THAT(corners, testing::ElementsAreArray(others));
}

TEST(ZRMBandNITF, TellsCornersInMetresAsLongitudeAndLatitude) {
  // The middle of zone 31 is 3 degrees east, where the easting is 500,000. The equator has the northing 0.
  OpenNitf file(
      NitfBuilder().Size(41, 31).Corners('N', "315000000003000315040000003000315040000000000315000000000000").Build());
  ASSERT_TRUE(file.BandAt().HasOriginBoundRect());
  double corners[8];
  file.BandAt().GetOriginBoundRect(corners);
  EXPECT_NEAR(3.0, corners[0], 1e-9);
  EXPECT_NEAR(3.0, corners[6], 1e-9);
  EXPECT_NEAR(0.0, corners[7], 1e-9);
  EXPECT_NEAR(100.0, file.BandAt().GetXPixelSize(), 1e-6);
  EXPECT_NEAR(499950.0, file.BandAt().GetULX(), 1e-6);
}

TEST(ZRMBandNITF, HasPixelsOnlyWithoutAPlace) {
  OpenNitf file(NitfBuilder().Size(20, 15).Build());
  EXPECT_EQ(0.0, file.BandAt().GetULX());
  EXPECT_EQ(15.0, file.BandAt().GetULY());
  EXPECT_EQ(1.0, file.BandAt().GetXPixelSize());
  EXPECT_EQ(kCoordinatePixel, file.BandAt().GetCoordinateKind());
  EXPECT_FALSE(file.BandAt().HasOriginBoundRect());
}

TEST(ZRMBandNITF, GivesTheNumbersOfColoursInPalettes) {
  OpenNitf file(NitfBuilder().Representation("RGB/LUT").Palette(120).Build());
  ASSERT_EQ(1, file.File().GetNumOfBands());
  const Pixels pixels = file.Read(0, file.Whole());
  for (int y = 0; y < 15; ++y) {
    for (int x = 0; x < 20; ++x) ASSERT_EQ(NitfBuilder::Value(x, y, 0), SampleAt<std::uint8_t>(pixels, x, y));
  }
}

TEST(ZRMBandNITF, TellsWhatBandsShow) {
  OpenNitf colours(NitfBuilder().Bands(3).Representation("RGB").Build());
  EXPECT_EQ(kRoleRed, colours.BandAt(0).GetColourRole());
  EXPECT_EQ(kRoleBlue, colours.BandAt(2).GetColourRole());
  OpenNitf grey{NitfBuilder().Build()};
  EXPECT_EQ(kRoleGrey, grey.BandAt().GetColourRole());
}

TEST(ZRMBandNITF, ReadsTheFirstOfSeveralImages) {
  OpenNitf file(NitfBuilder().Size(20, 15).FurtherSegments(2, 3).Build());
  EXPECT_EQ(20, file.BandAt().GetXSize());
  EXPECT_EQ(3, file.BandAt().GetInfo().numImages);
  EXPECT_EQ(3, file.BandAt().GetInfo().numTexts);
}

TEST(ZRMBandNITF, ReadsBlocksOfJpeg2000) {
  const auto sample = [](int, int x, int y) { return NitfBuilder::Value(x, y, 0); };
  for (const bool hasBoxes : {false, true}) {
    const Jp2Builder image = Jp2Builder().Size(90, 70).Tiles(32, 32).Samples(sample);
    OpenNitf file(NitfBuilder().Size(90, 70).Coded("C8", hasBoxes ? image.Build() : image.BuildCodestream()).Build());
    ASSERT_TRUE(file.IsOpen() && file.BandAt().GetXSize() == 90) << file.Error();
    const Pixels pixels = file.Read(1, {3, 82, 5, 64});
    ASSERT_EQ(40, pixels.width);
    for (int y = 0; y < 30; ++y) {
      for (int x = 0; x < 40; ++x)
        ASSERT_EQ(NitfBuilder::Value(3 + 2 * x, 5 + 2 * y, 0), SampleAt<std::uint8_t>(pixels, x, y));
    }
  }
}

TEST(ZRMBandNITF, HasTheUsualTileSizeWhateverItsBlocks) {
  OpenNitf file(NitfBuilder().Size(600, 100).Blocks(64, 64).Build());
  EXPECT_EQ(256, file.BandAt().GetXTileSize());
  // 600 >> 2 = 150 is the first that fits into 256.
  EXPECT_EQ(2, file.BandAt().GetLevel());
  EXPECT_EQ(1, file.BandAt().GetHighestLevelForTarget(0, 599, 0, 99, 300, 50));
}

TEST(ZRMBandNITF, ServesManyThreadsAtOnce) {
  OpenNitf file(NitfBuilder().Size(90, 70).Bands(2).Blocks(32, 32).Mode('P').Build());
  const Pixels expected[2] = {file.Read(0, {5, 80, 7, 60}, 0), file.Read(1, {5, 80, 7, 60}, 1)};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, band = i % 2] {
      for (int repeat = 0; repeat < 10; ++repeat) {
        EXPECT_EQ(expected[band], ReadPixels(file.BandAt(band), band, {5, 80, 7, 60}));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}
