#include "AnyJson.h"
#include "GeoTiffFile.h"
#include "Program.h"
#include "Wgs84.h"

#include <gmock/gmock.h>

#include <gdal.h>
#include <gdal_frmts.h>

namespace {

using testing::HasSubstr;
using testing::Not;

/// A file of one byte a pixel as GDAL writes it, with the corners of its image as control points in a system.
void WriteWithControlPoints(const std::string& path, int epsg, std::array<std::pair<double, double>, 4> corners) {
  GDALRegister_GTiff();
  OGRSpatialReference sr;
  sr.importFromEPSG(epsg);
  char* wkt = nullptr;
  sr.exportToWkt(&wkt);
  std::array<GDAL_GCP, 4> points{};
  GDALInitGCPs(4, points.data());
  for (std::size_t i = 0; i < 4; ++i) {
    points[i].dfGCPPixel = i == 1 || i == 2 ? 20 : 0;
    points[i].dfGCPLine = i >= 2 ? 10 : 0;
    std::tie(points[i].dfGCPX, points[i].dfGCPY) = corners[i];
  }
  const GDALDatasetH dataset = GDALCreate(GDALGetDriverByName("GTiff"), path.c_str(), 20, 10, 1, GDT_Byte, nullptr);
  EXPECT_EQ(CE_None, GDALSetGCPs(dataset, 4, points.data(), wkt));
  GDALClose(dataset);
  GDALDeinitGCPs(4, points.data());
  CPLFree(wkt);
}

class ZrkioBounds : public Zrkio {
 protected:
  static AnyJson Bounds(const std::string& path) { return AnyJson::parse(Run({"bounds", "--json", path}).out)[0]; }
  /// Places in UTM zone 32 north, the first of them on its central meridian at the equator.
  static GeoTiffFile OfTiePoints(int count) {
    std::vector<double> points = {0,      0,     0, 500000, 0, 0, 9,      0,       0, 600000, 7000, 0, 9,      9,  0,
                                  610000, -2000, 0, 0,      9, 0, 400000, 5900000, 0, 5,      5,    0, 450000, 10, 0};
    points.resize(static_cast<std::size_t>(6 * count));
    return GeoTiffFile().Size(9, 9).TiePoints(points).Key(1024, 1).Key(1025, 1);
  }
  static GeoTiffFile OfScale() {
    return GeoTiffFile()
        .Size(20, 10)
        .Scale({100, 100, 0})
        .TiePoints({0, 10, 0, 500000, 0, 0})
        .Key(1024, 1)
        .Key(1025, 1)
        .Key(3072, 32632);
  }
};

TEST_F(ZrkioBounds, AnswersTiePointsInLongitudeAndLatitude) {
  const AnyJson json = Bounds(Write("a.tif", OfTiePoints(5).Key(3072, 32632).Build()));
  EXPECT_EQ("tiePoints", json["source"]);
  EXPECT_TRUE(json["corners"].is_null());
  ASSERT_EQ(4u, json["lonLat"].size());
  EXPECT_NEAR(9.0, json["lonLat"][0][0], 1e-9);
  EXPECT_NEAR(0.0, json["lonLat"][0][1], 1e-9);
  const std::pair<double, double> inUtm[] = {{500000, 0}, {600000, 7000}, {610000, -2000}, {400000, 5900000}};
  for (std::size_t i = 0; i < 4; ++i) {
    const auto [longitude, latitude] = LonLatByOgr(32632, inUtm[i].first, inUtm[i].second);
    EXPECT_NEAR(longitude, json["lonLat"][i][0], 1e-9);
    EXPECT_NEAR(latitude, json["lonLat"][i][1], 1e-9);
  }
}

TEST_F(ZrkioBounds, AnswersControlPointsThatGdalWrote) {
  const std::string path = folder_.Path("a.tif");
  WriteWithControlPoints(path, 3857,
                         {{{0, 111325.1}, {20037508.342789244, 111325.1}, {10018754.171394622, 0}, {0, 0}}});
  const AnyJson json = Bounds(path);
  EXPECT_EQ("tiePoints", json["source"]);
  const std::vector<double> longitudes = {0, 180, 90, 0};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(longitudes[i], json["lonLat"][i][0], 1e-9);
  EXPECT_NEAR(1.0, json["lonLat"][0][1], 1e-3);
  EXPECT_NEAR(0.0, json["lonLat"][2][1], 1e-9);
}

TEST_F(ZrkioBounds, ShowsAsManyTiePointsAsThereAre) {
  const std::string path = Write("a.tif", OfTiePoints(2).Key(3072, 32632).Build());
  EXPECT_EQ(2u, Bounds(path)["lonLat"].size());
  const std::string text = Run({"bounds", path}).out;
  EXPECT_EQ(0u, text.find(path + "\n  source      tie points that the file lists\n"
                                 "  point 1     9.0000000 E, 0.0000000 N\n  point 2     9.8"));
  EXPECT_THAT(text, Not(HasSubstr("point 3")));
}

TEST_F(ZrkioBounds, TiePointsInNoKnownSystemAreTheFilesOwn) {
  const std::string path = Write("a.tif", OfTiePoints(2).Build());
  const AnyJson json = Bounds(path);
  EXPECT_EQ("tiePoints", json["source"]);
  EXPECT_EQ(AnyJson::parse("[[500000, 0], [600000, 7000]]"), json["corners"]);
  EXPECT_TRUE(json["lonLat"].is_null());
  EXPECT_THAT(Run({"bounds", path}).out, HasSubstr("  system      unknown\n  point 1     500000, 0\n"));
}

TEST_F(ZrkioBounds, SmallNumbersInNoKnownSystemAreNotTakenForDegrees) {
  const std::string path =
      Write("a.tif", GeoTiffFile().Size(9, 9).TiePoints({0, 0, 0, 10, 20, 0, 9, 0, 0, 14, 20, 0}).Key(1024, 1).Build());
  const AnyJson json = Bounds(path);
  EXPECT_EQ(AnyJson::parse("[[10, 20], [14, 20]]"), json["corners"]);
  EXPECT_TRUE(json["lonLat"].is_null());
}

TEST_F(ZrkioBounds, AnswersTheCornersOfTheDatasetWhereTheFileListsNone) {
  const std::string path = Write("a.tif", OfScale().Build());
  const AnyJson json = Bounds(path);
  EXPECT_EQ("dataset", json["source"]);
  EXPECT_EQ(AnyJson::parse("[[500000, 1000], [502000, 1000], [502000, 0], [500000, 0]]"), json["corners"]);
  EXPECT_NEAR(9.0, json["lonLat"][3][0], 1e-9);
  EXPECT_NEAR(0.0, json["lonLat"][3][1], 1e-9);
  EXPECT_EQ(32632, json["system"]["epsg"]);
  const std::string text = Run({"bounds", path}).out;
  EXPECT_THAT(text, HasSubstr("  source      dataset; the file lists no corners\n  upper left  500000, 1000 (9.0"));
  EXPECT_THAT(text, HasSubstr("  system      WGS 84 / UTM zone 32N (EPSG:32632)\n"));
}

TEST_F(ZrkioBounds, AnswersForNativeRastersToo) {
  const std::string path = Write("a.tif", OfScale().Build()), native = folder_.Path("b.zrm");
  ASSERT_EQ(0, Run({"convert", path, native}).exitStatus);
  AnyJson expected = Bounds(path);
  expected["file"] = native;
  EXPECT_EQ(expected, Bounds(native));
}

TEST_F(ZrkioBounds, AWorldFileGivesCornersInAnUnknownSystem) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(10, 20).Build());
  folder_.Write("a.bmw", "0.5\n0\n0\n-0.25\n100\n200\n");
  const AnyJson json = Bounds(path);
  EXPECT_EQ(AnyJson::parse("[[99.75, 200.125], [104.75, 200.125], [104.75, 195.125], [99.75, 195.125]]"),
            json["corners"]);
  EXPECT_TRUE(json["lonLat"].is_null());
  EXPECT_TRUE(json["system"].is_null());
  EXPECT_THAT(Run({"bounds", path}).out, HasSubstr("  lower left  99.75, 195.125\n  system      unknown\n"));
}

TEST_F(ZrkioBounds, AFileWithoutPlaceSaysSoAndIsNoFailure) {
  const std::string path = Write("a.tif", GeoTiffFile().Build());
  const ProgramResult result = Run({"bounds", path});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.out, HasSubstr("  place       none, pixel coordinates only\n"));
  EXPECT_EQ((AnyJson{{"file", path}, {"source", "dataset"}, {"corners", {}}, {"lonLat", {}}, {"system", {}}}),
            Bounds(path));
}

TEST_F(ZrkioBounds, TiePointsWithoutGeokeysAreNoPlace) {
  const std::string path = Write("a.tif", GeoTiffFile().TiePoints({0, 0, 0, 10, 20, 0, 9, 0, 0, 11, 20, 0}).Build());
  EXPECT_EQ("dataset", Bounds(path)["source"]);
  EXPECT_TRUE(Bounds(path)["corners"].is_null());
}

TEST_F(ZrkioBounds, GoesOnAfterFilesThatFail) {
  const std::string none = folder_.Path("none.tif"), bad = Write("bad.tif", {'I', 'I'});
  const std::string good = Write("good.tif", OfScale().Build());
  const ProgramResult result = Run({"bounds", "--json", none, bad, good});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ(0u, result.err.find("zrkio: " + none + ": no such file\nzrkio: " + bad + ": "));
  const AnyJson json = AnyJson::parse(result.out);
  EXPECT_EQ((AnyJson{{"file", none}, {"error", "no such file"}}), json[0]);
  EXPECT_TRUE(json[1].contains("error"));
  EXPECT_EQ("dataset", json[2]["source"]);
}

TEST_F(ZrkioBounds, VectorFilesHoldNoRaster) {
  const std::string path = SharedDataDir() + "/vector/nc.shp";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no sample data";
  EXPECT_EQ("zrkio: " + path + ": the file holds no raster\n", Run({"bounds", path}).err);
}

TEST_F(ZrkioBounds, WithoutAFileTheCommandMakesNoSense) {
  EXPECT_EQ(2, Run({"bounds"}).exitStatus);
}

}  // namespace
