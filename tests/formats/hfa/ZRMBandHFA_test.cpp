// Compatible reads of HFA files. Pixels are worked out by the builder's formula; those of overviews come from GDAL's
// own reading of the overview.

#include "ZRMBandHFA.h"
#include "ByteFlips.h"
#include "GdalOverview.h"
#include "HfaBuilder.h"
#include "LoadedRaster.h"
#include "OpenRaster.h"
#include "XFormatId.h"
#include "XMessageBox.h"

#include <gmock/gmock.h>

#include <cmath>
#include <thread>

namespace {

using OpenHfa = OpenRaster<ZRMBandHFA>;

/// A sample of bytes.
int At(const Pixels& pixels, int x, int y) {
  return pixels.bytes.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) +
                         static_cast<std::size_t>(x));
}

}  // namespace

TEST(ZRMBandHFA, ReadsWindowsOfEachLayerAcrossBlocks) {
  OpenHfa file(HfaBuilder().Size(150, 140).Layers(3).Build(), "a.img", kFormatHFA);
  ASSERT_TRUE(file.IsOpen()) << file.Error();
  ASSERT_EQ(3, file.File().GetNumOfBands());
  for (int layer = 0; layer < 3; ++layer) {
    const Pixels pixels = file.Read(0, {60, 131, 62, 139}, layer);
    ASSERT_EQ(72, pixels.width);
    ASSERT_EQ(78, pixels.height);
    for (int y = 0; y < 78; ++y) {
      for (int x = 0; x < 72; ++x)
        ASSERT_EQ(HfaBuilder::Value(60 + x, 62 + y, layer), At(pixels, x, y)) << x << ", " << y;
    }
  }
}

TEST(ZRMBandHFA, HasATypeForEachKindOfSample) {
  const std::vector<std::pair<GDALDataType, int>> types = {{GDT_Byte, 1},    {GDT_UInt16, 3},    {GDT_Int16, 4},
                                                           {GDT_UInt32, 5},  {GDT_Int32, 6},     {GDT_Float32, 7},
                                                           {GDT_Float64, 8}, {GDT_CFloat32, 15}, {GDT_CFloat64, 16}};
  for (const auto& [gdal, ours] : types) {
    OpenHfa file(HfaBuilder().Type(gdal).Build(), "a.img", kFormatHFA);
    ASSERT_TRUE(file.IsOpen()) << file.Error();
    EXPECT_EQ(ours, file.BandAt().GetDataType());
    EXPECT_EQ(XfnGetDataSize(ours), file.Read(0, {0, 3, 0, 3}).sampleBytes);
  }
}

TEST(ZRMBandHFA, GivesFewBitsAByteEach) {
  for (const char* bits : {"NBITS=1", "NBITS=2", "NBITS=4"}) {
    OpenHfa file(HfaBuilder().Option(bits).Build(), "a.img", kFormatHFA);
    ASSERT_TRUE(file.IsOpen());
    const int mask = (1 << (bits[6] - '0')) - 1;
    const Pixels pixels = file.Read(0, file.Whole());
    for (int y = 0; y < 15; ++y) {
      for (int x = 0; x < 20; ++x) ASSERT_EQ(HfaBuilder::Value(x, y, 0) & mask, At(pixels, x, y)) << bits;
    }
  }
}

TEST(ZRMBandHFA, LiesWithTheCentreOfItsFirstPixelAtTheCorner) {
  OpenHfa file(HfaBuilder().Place(10.0, 0.5, 50.0, 0.25).Epsg(4326).Build(), "a.img", kFormatHFA);
  ZRMBandHFA& band = file.BandAt();
  EXPECT_EQ(10.25, band.GetULX());
  EXPECT_EQ(49.875, band.GetULY());
  EXPECT_EQ(0.5, band.GetXPixelSize());
  EXPECT_EQ(0.25, band.GetYPixelSize());
  EXPECT_EQ(kCoordinateWorld, band.GetCoordinateKind());
  EXPECT_EQ(kReferenceKnown, band.GetSR()->GetCoordinateKind());
  double transform[6];
  band.GetGeoTransform(transform);
  EXPECT_THAT(transform, testing::ElementsAre(10.0, 0.5, 0.0, 50.0, 0.0, -0.25));
}

TEST(ZRMBandHFA, HasPixelsOnlyWithoutAPlace) {
  OpenHfa file(HfaBuilder().Size(20, 15).Build(), "a.img", kFormatHFA);
  EXPECT_EQ(0.0, file.BandAt().GetULX());
  EXPECT_EQ(15.0, file.BandAt().GetULY());
  EXPECT_EQ(1.0, file.BandAt().GetXPixelSize());
  EXPECT_EQ(kCoordinatePixel, file.BandAt().GetCoordinateKind());
  EXPECT_EQ(kReferenceNone, file.BandAt().GetSR()->GetCoordinateKind());
}

TEST(ZRMBandHFA, HasAPlaceWithoutASystem) {
  OpenHfa file(HfaBuilder().Place(1000.0, 10.0, 2000.0, 10.0).Build(), "a.img", kFormatHFA);
  EXPECT_EQ(kCoordinateWorld, file.BandAt().GetCoordinateKind());
  EXPECT_EQ(kReferenceNone, file.BandAt().GetSR()->GetCoordinateKind());
}

TEST(ZRMBandHFA, ASystemFromWhichNoWayLeadsToLongitudeAndLatitudeCountsAsUnknown) {
  OpenHfa file(
      HfaBuilder()
          .Place(1000.0, 10.0, 2000.0, 10.0)
          .Option("FORCETOPESTRING=YES")
          .Wkt("PROJCS[\"odd\",GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137,298.257]],"
               "PRIMEM[\"Greenwich\",0],UNIT[\"Degree\",0.017453292519943295]],PROJECTION[\"No_Such_Projection\"],"
               "UNIT[\"Meter\",1]]")
          .Build(),
      "a.img", kFormatHFA);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_FALSE(file.BandAt().GetSR()->IsEmpty());
  EXPECT_EQ(kReferenceUnknown, file.BandAt().GetSR()->GetCoordinateKind());
  EXPECT_EQ(kCoordinateWorld, file.BandAt().GetCoordinateKind());
}

TEST(ZRMBandHFA, AThematicLayerHasItsClasses) {
  OpenHfa file(HfaBuilder().Layers(2).Classes(12).Build(), "a.img", kFormatHFA);
  ZRMBandHFA& band = file.BandAt();
  EXPECT_EQ(kBandTypeThematic, band.GetBandType());
  ASSERT_EQ(12, band.GetNumOfGIS());
  for (int i = 0; i < 12; ++i) {
    const tagXRSGIS& gis = *band.GetGISAt(i);
    EXPECT_EQ(i, gis.index);
    EXPECT_EQ(i, gis.red);
    EXPECT_EQ(2 * i, gis.green);
    EXPECT_EQ(255 - i, gis.blue);
    EXPECT_EQ(XString(std::string("GIS ") + std::to_string(i)), gis.name);
  }
  EXPECT_EQ(0, file.BandAt(1).GetNumOfGIS());
  EXPECT_EQ(0, file.BandAt(1).GetBandType());
}

TEST(ZRMBandHFA, AThematicLayerOf300ClassesKeeps256) {
  OpenHfa file(HfaBuilder().Type(GDT_UInt16).Classes(300).Build(), "a.img", kFormatHFA);
  EXPECT_EQ(256, file.BandAt().GetNumOfGIS());
}

TEST(ZRMBandHFA, ALevelWithoutOverviewsBeginsAnewInEachBlock) {
  OpenHfa file(HfaBuilder().Size(150, 140).Build(), "a.img", kFormatHFA);
  const Pixels pixels = file.Read(2, {2, 149, 1, 139});
  ASSERT_EQ(37, pixels.width);
  ASSERT_EQ(34, pixels.height);
  // Column 2 + 4 i of the image lies in a block of 64; within a later block samples are counted from its first pixel.
  const auto place = [](int from, int i) {
    const int position = from + 4 * i, block = position / 64, first = (64 * block - from + 3) / 4;
    return block == 0 ? position : 64 * block + 4 * (i - first);
  };
  for (int y = 0; y < 34; ++y) {
    for (int x = 0; x < 37; ++x) {
      ASSERT_EQ(HfaBuilder::Value(place(2, x), place(1, y), 0), At(pixels, x, y)) << x << ", " << y;
    }
  }
}

TEST(ZRMBandHFA, ALevelWithOverviewsComesFromTheNearestOneAtItsOwnSize) {
  OpenHfa file(HfaBuilder().Size(200, 160).Place(0.0, 2.0, 0.0, 2.0).Overviews({2, 4}).Build(), "a.img", kFormatHFA);
  ASSERT_EQ(2, file.BandAt().GetNumOverviews());
  const GdalOverview half(file.FilePath(), 0), quarter(file.FilePath(), 1);
  ASSERT_EQ(50, quarter.width);
  const Pixels second = file.Read(2, file.Whole());
  EXPECT_EQ(50, second.width);
  EXPECT_EQ(40, second.height);
  EXPECT_EQ(quarter.bytes, second.bytes);
  EXPECT_EQ(half.bytes, file.Read(1, file.Whole()).bytes);
  // Level 4 would leave 12 x 10 pixels; the nearest overview has 50 x 40.
  EXPECT_EQ(quarter.bytes, file.Read(4, file.Whole()).bytes);
}

TEST(ZRMBandHFA, AWindowOfAnOverviewGoesByThePlacesOfItsCorners) {
  OpenHfa file(HfaBuilder().Size(200, 160).Place(0.0, 2.0, 0.0, 2.0).Overviews({4}).Build(), "a.img", kFormatHFA);
  const GdalOverview quarter(file.FilePath(), 0);
  // Columns 7 and 90 lie in the columns 1 and 22 of the overview, rows 9 and 66 in its rows 2 and 16.
  const Pixels pixels = file.Read(1, {7, 90, 9, 66});
  ASSERT_EQ(22, pixels.width);
  ASSERT_EQ(15, pixels.height);
  for (int y = 0; y < 15; ++y) {
    for (int x = 0; x < 22; ++x) ASSERT_EQ(quarter.At(1 + x, 2 + y), At(pixels, x, y)) << x << ", " << y;
  }
}

TEST(ZRMBandHFA, NamesLayersByTheFile) {
  OpenHfa file(HfaBuilder().Layers(2).Build(), "a.img", kFormatHFA);
  EXPECT_EQ("Layer_1", file.BandAt(0).GetBandName());
  EXPECT_EQ("Layer_2", file.BandAt(1).GetBandName());
}

TEST(ZRMBandHFA, TellsNothingOfAFileThatItCannotOpenInCompatibleReads) {
  OpenHfa file({'E', 'H', 'F', 'A', '_', 'H', 'E', 'A', 'D', 'E', 'R', '_', 'T', 'A', 'G'}, "a.img", kFormatHFA);
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ("", file.Error());
  ZRMBandHFA band(nullptr, 0);
  XString err = "left from before";
  EXPECT_EQ(0, band.ReadFile("/nowhere/a.img", err, nullptr));
  EXPECT_EQ("", err);
  EXPECT_EQ(0, band.GetNumChannels());
}

TEST(ZRMBandHFA, LevelsAreThoseOfItsBlocks) {
  OpenHfa file(HfaBuilder().Size(300, 100).Build(), "a.img", kFormatHFA);
  EXPECT_EQ(64, file.BandAt().GetBlockWidth());
  EXPECT_EQ(64, file.BandAt().GetXTileSize());
  // 300 >> 3 = 37 is the first that fits into 64.
  EXPECT_EQ(3, file.BandAt().GetLevel());
  EXPECT_EQ(1, file.BandAt().GetHighestLevelForTarget(0, 299, 0, 99, 150, 50));
}

TEST(ZRMBandHFA, KeepsItsFileWhileAnotherBandLetsGoOfIt) {
  OpenHfa file(HfaBuilder().Layers(2).Build(), "a.img", kFormatHFA);
  file.BandAt(0).CloseFileHFA();
  EXPECT_TRUE(file.Read(0, {0, 3, 0, 3}, 0).bytes.empty());
  EXPECT_EQ(16u, file.Read(0, {0, 3, 0, 3}, 1).bytes.size());
}

TEST(ZRMBandHFA, CompatibleLoadsGiveTheFirstBandNoStatistics) {
  TempFolder folder;
  folder.Write("a.img", HfaBuilder().Size(300, 200).Layers(2).Build());
  XRSFile file;
  XString err;
  XfnSetMessageBoxHandler([](const XString&, const XString&, unsigned) { return 7; });
  ASSERT_TRUE(XRSFileIO::LoadFileHFA(&file, folder.Path("a.img"), err, 1, kLevelBuild, nullptr)) << err.AsStdString();
  XfnSetMessageBoxHandler(nullptr);
  EXPECT_EQ(kNotSet, file.GetBandAt(0)->GetBandMean());
  EXPECT_NE(kNotSet, file.GetBandAt(1)->GetBandMean());
}

TEST(ZRMBandHFA, CompatibleLoadsOfLevelModeZeroDoWithoutStatistics) {
  TempFolder folder;
  folder.Write("a.img", HfaBuilder().Layers(2).Build());
  XRSFile file;
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileHFA(&file, folder.Path("a.img"), err, 1, kLevelNone, nullptr));
  EXPECT_EQ(kNotSet, file.GetBandAt(1)->GetBandMean());
}

TEST(ZRMBandHFA, ServesManyThreadsAtOnce) {
  OpenHfa file(HfaBuilder().Size(200, 160).Layers(2).Option("COMPRESSED=YES").Build(), "a.img", kFormatHFA);
  const Pixels expected[2] = {file.Read(0, {5, 190, 7, 150}, 0), file.Read(0, {5, 190, 7, 150}, 1)};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, layer = i % 2] {
      for (int repeat = 0; repeat < 10; ++repeat) {
        EXPECT_EQ(expected[layer], ReadPixels(file.BandAt(layer), 0, {5, 190, 7, 150}));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(ZRMBandHFA, SurvivesAnyDamage) {
  FlipBytes(HfaBuilder().Size(30, 20).Classes(5).Place(0, 1, 0, 1).Build(), TrialCount(4000, 400), {0, 400},
            [](const std::vector<unsigned char>& bytes) {
              OpenHfa file(bytes, "a.img", kFormatHFA);
              if (file.IsOpen()) file.Read(0, {0, 9, 0, 9});
            });
}
