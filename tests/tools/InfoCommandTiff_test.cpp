#include "AnyJson.h"
#include "GeoTiffFile.h"
#include "Program.h"
#include "TiffBuilder.h"
#include "Wgs84.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

class ZrkioInfoTiff : public Zrkio {
 protected:
  std::string WriteTiff(const std::vector<unsigned char>& bytes) { return Write("a.tif", bytes); }
  AnyJson Describe(const std::vector<unsigned char>& bytes) {
    return AnyJson::parse(Run({"info", "--json", WriteTiff(bytes)}).out)[0];
  }
  AnyJson DescribeVerbosely(const std::vector<unsigned char>& bytes) {
    return AnyJson::parse(Run({"info", "--json", "--verbose", WriteTiff(bytes)}).out)[0];
  }
  std::string Print(const std::vector<unsigned char>& bytes) { return Run({"info", WriteTiff(bytes)}).out; }
  /// UTM zone 32 north, from the equator on its central meridian to the north and to the east.
  static GeoTiffFile OnTheEquator(double pixelSize = 100.0) {
    return GeoTiffFile()
        .Size(20, 10)
        .Scale({pixelSize, pixelSize, 0})
        .TiePoints({0, 10, 0, 500000, 0, 0})
        .Key(1024, 1)
        .Key(1025, 1)
        .Key(3072, 32632);
  }
};

TEST_F(ZrkioInfoTiff, TellsFourCornersInTheWorldAndOnWgs84) {
  const AnyJson place = Describe(OnTheEquator().Build())["georeference"];
  EXPECT_EQ(AnyJson::parse("[[500000, 1000], [502000, 1000], [502000, 0], [500000, 0]]"), place["corners"]);
  EXPECT_EQ(32632, place["system"]["epsg"]);
  ASSERT_EQ(4u, place["lonLat"].size());
  for (std::size_t i = 0; i < 4; ++i) {
    const auto [longitude, latitude] = LonLatByOgr(32632, place["corners"][i][0], place["corners"][i][1]);
    EXPECT_NEAR(longitude, place["lonLat"][i][0], 1e-9);
    EXPECT_NEAR(latitude, place["lonLat"][i][1], 1e-9);
  }
  EXPECT_NEAR(9.0, place["lonLat"][3][0], 1e-9);
  EXPECT_NEAR(0.0, place["lonLat"][3][1], 1e-9);
}

TEST_F(ZrkioInfoTiff, PrintsCornersWithLongitudeAndLatitude) {
  const std::string text = Print(OnTheEquator().Build());
  EXPECT_THAT(text, HasSubstr("  upper left  500000, 1000 (9.0000000 E, 0.0090"));
  EXPECT_THAT(text, HasSubstr("  lower left  500000, 0 (9.0000000 E, 0.0000000 N)\n"));
  EXPECT_THAT(text, HasSubstr("  system      WGS 84 / UTM zone 32N (EPSG:32632)\n"));
}

TEST_F(ZrkioInfoTiff, DegreesOnWgs84AreTheirOwnLongitudeAndLatitude) {
  const auto bytes = GeoTiffFile()
                         .Size(4, 2)
                         .Scale({0.5, 0.5, 0})
                         .TiePoints({0, 0, 0, -10.25, -50, 0})
                         .Key(1024, 2)
                         .Key(1025, 1)
                         .Key(2048, 4326)
                         .Build();
  const AnyJson place = Describe(bytes)["georeference"];
  EXPECT_EQ(AnyJson::parse("[[-10.25, -50.0], [-8.25, -50.0], [-8.25, -51.0], [-10.25, -51.0]]"), place["corners"]);
  EXPECT_EQ(place["corners"], place["lonLat"]);
  EXPECT_THAT(Print(bytes), HasSubstr("  upper left  -10.25, -50 (10.2500000 W, 50.0000000 S)\n"));
}

TEST_F(ZrkioInfoTiff, ASystemWithoutANameIsKnownAllTheSame) {
  // A cylindrical equal area projection, in metres, that has no code.
  const auto bytes = GeoTiffFile()
                         .Size(4, 2)
                         .Scale({0.5, 0.5, 0})
                         .TiePoints({0, 0, 0, -10, 50, 0})
                         .Key(1024, 1)
                         .Key(1025, 1)
                         .Key(2048, 4326)
                         .Key(3072, 32767)
                         .Key(3074, 32767)
                         .Key(3075, 28)
                         .Key(3076, 9001)
                         .Build();
  EXPECT_FALSE(Describe(bytes)["georeference"]["system"].is_null());
  EXPECT_THAT(Print(bytes), HasSubstr("  system      known, without a name\n"));
}

TEST_F(ZrkioInfoTiff, ACornerThatIsNowhereOnEarthHasNoLongitudeAndLatitude) {
  const auto bytes = OnTheEquator(1e9).Build();
  const AnyJson lonLat = Describe(bytes)["georeference"]["lonLat"];
  EXPECT_TRUE(lonLat[1].is_null());
  EXPECT_NEAR(9.0, lonLat[3][0], 1e-9);
  EXPECT_THAT(Print(bytes), HasSubstr("  upper right 2.00005e+10, 1e+10\n"));
}

TEST_F(ZrkioInfoTiff, WithoutASystemThereIsNoLongitudeAndLatitude) {
  folder_.Write("a.tfw", "0.5\n0\n0\n-0.25\n100\n200\n");
  const auto bytes = GeoTiffFile().Size(10, 20).Build();
  const AnyJson place = Describe(bytes)["georeference"];
  EXPECT_EQ(AnyJson::parse("[[99.75, 200.125], [104.75, 200.125], [104.75, 195.125], [99.75, 195.125]]"),
            place["corners"]);
  EXPECT_TRUE(place["lonLat"].is_null());
  EXPECT_THAT(Print(bytes), HasSubstr("  lower right 104.75, 195.125\n"));
}

/// The tie point holds the end of row 9, from which the rows before it go south.
TEST_F(ZrkioInfoTiff, RowsThatGoNorthHaveTheirLowerCornersThere) {
  const AnyJson place = Describe(OnTheEquator().Scale({100, -100, 0}).Build())["georeference"];
  EXPECT_EQ(AnyJson::parse("[[500000, -1000], [502000, -1000], [502000, 0], [500000, 0]]"), place["corners"]);
  EXPECT_EQ(AnyJson::parse("[100, -100]"), place["pixelSize"]);
  EXPECT_EQ(-1000, place["south"]);
  EXPECT_EQ(0, place["north"]);
}

TEST_F(ZrkioInfoTiff, RowsOfAMatrixGoWhereItSays) {
  const auto cornersOf = [this](const std::vector<double>& matrix) {
    return Describe(OnTheEquator().Scale({}).TiePoints({}).Matrix(matrix).Build())["georeference"]["corners"];
  };
  EXPECT_EQ(AnyJson::parse("[[500000, 1000], [502000, 1000], [502000, 0], [500000, 0]]"),
            cornersOf({100, 0, 0, 500000, 0, -100, 0, 1000, 0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(AnyJson::parse("[[500000, 1000], [502000, 1000], [502000, 2000], [500000, 2000]]"),
            cornersOf({100, 0, 0, 500000, 0, 100, 0, 1000, 0, 0, 0, 0, 0, 0, 0, 1}));
}

TEST_F(ZrkioInfoTiff, ATurnedImageIsToldWithItsTransform) {
  const auto bytes = OnTheEquator()
                         .Scale({})
                         .TiePoints({})
                         .Matrix({0, 100, 0, 500000, 100, 0, 0, 1000, 0, 0, 0, 0, 0, 0, 0, 1})
                         .Build();
  const AnyJson place = Describe(bytes)["georeference"];
  // 20 columns go north and 10 rows go east.
  EXPECT_EQ(AnyJson::parse("[[500000, 1000], [500000, 3000], [501000, 3000], [501000, 1000]]"), place["corners"]);
  EXPECT_EQ(AnyJson::parse("[500000, 0, 100, 1000, 100, 0]"), place["transform"]);
  EXPECT_EQ(501000, place["east"]);
  EXPECT_EQ(3000, place["north"]);
  EXPECT_THAT(Print(bytes), HasSubstr("  turned      x = 500000 +0 column +100 row\n"));
}

TEST_F(ZrkioInfoTiff, AFileWithoutPlaceSaysSo) {
  const auto bytes = GeoTiffFile().Build();
  EXPECT_TRUE(Describe(bytes)["georeference"].is_null());
  EXPECT_THAT(Print(bytes), HasSubstr("  place       none, pixel coordinates only\n"));
}

TEST_F(ZrkioInfoTiff, TellsTilesAndTheirCompression) {
  const auto bytes = TiffBuilder().Size(70, 50).Tiles(32, 16).Samples(3).Photometric(2).Compression(5).Encode();
  EXPECT_EQ(AnyJson::parse(R"({"kind": "tile", "width": 32, "height": 16, "planar": "pixel",
                            "compression": {"number": 5, "name": "LZW"}, "bitsPerSample": 8, "samplesPerPixel": 3,
                            "photometric": 2})"),
            Describe(bytes)["blocks"]);
  EXPECT_THAT(Print(bytes), HasSubstr("  blocks      tiles of 32 x 16, pixel by pixel, LZW\n"));
}

TEST_F(ZrkioInfoTiff, TellsStripsPlanesAndOddBits) {
  const auto bytes = TiffBuilder().Size(70, 50).Strips(16).Samples(2).Planar().Bits(12).Build();
  EXPECT_EQ(AnyJson::parse(R"({"kind": "strip", "width": 70, "height": 16, "planar": "plane",
                            "compression": {"number": 1, "name": "none"}, "bitsPerSample": 12, "samplesPerPixel": 2,
                            "photometric": 1})"),
            Describe(bytes)["blocks"]);
  EXPECT_EQ(16, Describe(bytes)["channels"][0]["bits"]);
  EXPECT_THAT(Print(bytes),
              HasSubstr("  blocks      strips of 16 rows, plane by plane, not compressed, 12 bits a sample\n"));
}

TEST_F(ZrkioInfoTiff, OneSampleAPixelHasNoOrderOfPlanes) {
  EXPECT_THAT(Print(TiffBuilder().Strips(1).Build()), HasSubstr("  blocks      strips of 1 row, not compressed\n"));
}

TEST_F(ZrkioInfoTiff, OtherFormatsHaveNoBlocks) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  const AnyJson json = AnyJson::parse(Run({"info", "--json", "--verbose", path}).out)[0];
  for (const char* field : {"blocks", "directories", "message"}) EXPECT_FALSE(json.contains(field)) << field;
}

TEST_F(ZrkioInfoTiff, ListsFurtherDirectoriesIfAsked) {
  const auto reduced = TiffBuilder().Size(35, 25).Tiles(16, 32).Samples(3).Photometric(2).Tag(254, 4, {1});
  const auto mask = TiffBuilder().Size(70, 50).Bits(1).Compression(60000).Tag(254, 4, {6});
  const auto bytes = TiffBuilder().Size(70, 50).Next(reduced).Next(mask).Build();
  EXPECT_FALSE(Describe(bytes).contains("directories"));
  EXPECT_EQ(
      AnyJson::parse(R"([{"width": 35, "height": 25, "kinds": ["reduced"], "samplesPerPixel": 3, "bitsPerSample": 8,
                             "blocks": {"kind": "tile", "width": 16, "height": 32,
                                        "compression": {"number": 1, "name": "none"}}},
                            {"width": 70, "height": 50, "kinds": ["page", "mask"], "samplesPerPixel": 1,
                             "bitsPerSample": 1,
                             "blocks": {"kind": "strip", "width": 70, "height": 50,
                                        "compression": {"number": 60000, "name": null}}}])"),
      DescribeVerbosely(bytes)["directories"]);
  EXPECT_THAT(Run({"info", "--verbose", WriteTiff(bytes)}).out,
              HasSubstr("  directory 2\n    35 x 25 pixels, 3 samples of 8 bits, reduced image\n"
                        "    tiles of 16 x 32, not compressed\n"
                        "  directory 3\n    70 x 50 pixels, 1 sample of 1 bit, page, mask\n"
                        "    strips of 50 rows, compression 60000\n"));
}

TEST_F(ZrkioInfoTiff, AFileOfOneImageHasNoFurtherDirectories) {
  EXPECT_EQ(AnyJson::array(), DescribeVerbosely(TiffBuilder().Build())["directories"]);
}

TEST_F(ZrkioInfoTiff, TellsWhatLibtiffHasToSayIfAsked) {
  const auto bytes = TiffBuilder().Tag(65000, 3, {7}).Build();
  EXPECT_FALSE(Describe(bytes).contains("message"));
  EXPECT_THAT(DescribeVerbosely(bytes)["message"].get<std::string>(), HasSubstr("65000"));
  const std::string path = WriteTiff(bytes);
  EXPECT_THAT(Run({"info", path}).out, Not(HasSubstr("65000")));
  const ProgramResult result = Run({"info", "--verbose", path});
  EXPECT_THAT(result.out, testing::ContainsRegex("\n  message     [^\n]*65000"));
  EXPECT_EQ("", result.err);
  EXPECT_TRUE(DescribeVerbosely(TiffBuilder().Build())["message"].is_null());
}

}  // namespace
