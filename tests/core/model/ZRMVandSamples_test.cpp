// Layers of real files. The expected values are what GDAL's command line and a walk over all its features tell.

#include "ZRMVand.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

struct Sample {
  const char* file;
  int kind;
  int layer;
  const char* name;
  int numFeatures;
  std::vector<double> extent;  // west, east, south, north; none where the layer has no geometry
  int epsg;                    // 0 where it has no system
};

const Sample kSamples[] = {
    {"3d.dxf", ZRMVand::kKindDXF, 0, "entities", 2, {0.0, 2.7999999999999994, -9.311985366381167e-17, 1.8}, 0},
    {"ASCII_R12.dxf",
     ZRMVand::kKindDXF,
     0,
     "entities",
     3,
     {9.969666479615283, 17.42860800332437, 11.74480762293246, 19.6164955962701},
     0},
    {"GoogleTutorialExample01.kml",
     ZRMVand::kKindKML,
     0,
     "GoogleTutorialExample01",
     1,
     {-122.0822035425683, -122.0822035425683, 37.42228990140251, 37.42228990140251},
     4326},
    {"GroundOverlay.kml", ZRMVand::kKindKML, 0, "GroundOverlay", 3, {-122.373724, 15.35832653742206, 36.0, 38.0}, 4326},
    {"LineStringPlacemark.kml", ZRMVand::kKindKML, 0, "LineStringPlacemark", 18, {-120.0, -103.0, 28.0, 35.0}, 4326},
    {"MultiGeometryPlacemark.kml",
     ZRMVand::kKindKML,
     0,
     "MultiGeometryPlacemark",
     1,
     {-120.0, -103.0, 28.0, 35.0},
     4326},
    {"NetworkLink01.kml", ZRMVand::kKindKML, 0, "NetworkLink01", 1, {-120.0, -100.0, 40.0, 50.0}, 4326},
    {"PolygonPlacemark.kml", ZRMVand::kKindKML, 0, "PolygonPlacemark", 4, {-115.0, -100.0, 28.0, 35.0}, 4326},
    {"StyleReferences.kml",
     ZRMVand::kKindKML,
     0,
     "StyleReferences",
     1,
     {-122.0860162273783, -122.0850990714904, 37.42208171967246, 37.42281815323651},
     4326},
    {"assorted.dxf",
     ZRMVand::kKindDXF,
     0,
     "entities",
     22,
     {23.48428829929677, 116.81421207302856, 90.80890168656494, 160.0},
     0},
    {"gen_dgn_line.dgn",
     ZRMVand::kKindDGN,
     0,
     "elements",
     25,
     {-82.07775861111111, -75.79885083333329, 35.815525277777795, 36.58964944444446},
     0},
    {"gen_dxf_poly.dxf",
     ZRMVand::kKindDXF,
     0,
     "entities",
     27,
     {-82.0777587890625, -75.7731552124023, 35.8155250549316, 36.5896492004395},
     0},
    {"gen_kml_poly.kml",
     ZRMVand::kKindKML,
     0,
     "gen_kml_poly",
     25,
     {-82.077601885489, -75.7728040809809, 35.8156132844717, 36.589729047258},
     4326},
    {"gen_shp_point.shp",
     ZRMVand::kKindSHP,
     0,
     "gen_shp_point",
     25,
     {-81.92143572880686, -76.02750257845435, 36.07198187080047, 36.49101093353119},
     4267},
    {"hatch.dxf", ZRMVand::kKindDXF, 0, "entities", 3, {-1.0, 3.499695413509548, -1.0, 1.499695413509548}, 0},
    {"multipatch.shp", ZRMVand::kKindSHP, 0, "multipatch", 1, {0.0, 10.0, 0.0, 8.0}, 0},
    {"multipointz.shp",
     ZRMVand::kKindSHP,
     0,
     "multipointz",
     1,
     {150.71155941574085, 150.76924940610078, -23.477907626581914, -23.402899558157902},
     0},
    {"nc.shp",
     ZRMVand::kKindSHP,
     0,
     "nc",
     100,
     {-84.3238525390625, -75.45697784423828, 33.88199234008789, 36.58964920043945},
     4267},
    {"poly.shp", ZRMVand::kKindSHP, 0, "poly", 10, {478315.53125, 481645.3125, 4762880.5, 4765610.5}, 27700},
    {"samples.kml",
     ZRMVand::kKindKML,
     0,
     "Placemarks",
     3,
     {-122.0857667006183, -122.0822035425683, 37.42156927867553, 37.42228990140251},
     4326},
    {"samples.kml", ZRMVand::kKindKML, 1, "Styles and Markup", 1, {}, 4326},
    {"samples.kml",
     ZRMVand::kKindKML,
     2,
     "Highlighted Icon",
     1,
     {-122.0856545755255, -122.0856545755255, 37.42243077405461, 37.42243077405461},
     4326},
    {"samples.kml",
     ZRMVand::kKindKML,
     3,
     "Ground Overlays",
     1,
     {14.60128369746704, 15.35832653742206, 37.46543388598137, 37.91904192681665},
     4326},
    {"samples.kml", ZRMVand::kKindKML, 4, "Screen Overlays", 0, {}, 4326},
    {"samples.kml",
     ZRMVand::kKindKML,
     5,
     "Paths",
     6,
     {-112.2695268555611, -112.080622229595, 36.07954952145647, 36.10677870477137},
     4326},
    {"samples.kml", ZRMVand::kKindKML, 6, "Polygons", 0, {}, 4326},
    {"samples.kml",
     ZRMVand::kKindKML,
     7,
     "Google Campus",
     4,
     {-122.0860162273783, -122.0828502269665, 37.42129328840593, 37.42281815323651},
     4326},
    {"samples.kml",
     ZRMVand::kKindKML,
     8,
     "Extruded Polygon",
     1,
     {-77.05844056290393, -77.0531553685479, 38.868757801256, 38.87291016281703},
     4326},
    {"samples.kml",
     ZRMVand::kKindKML,
     9,
     "Absolute and Relative",
     4,
     {-112.3396586818843, -112.331131440106, 36.14531751871353, 36.1514008468736},
     4326},
    {"small_r13.dxf",
     ZRMVand::kKindDXF,
     0,
     "entities",
     16,
     {-0.1749972, 1.424999599999999, -0.0108330000000001, 2.589161799999999},
     0},
    {"smalltest.dgn",
     ZRMVand::kKindDGN,
     0,
     "elements",
     4,
     {0.32859341610857307, 9.68780658389143, -0.09610658389142834, 9.263106583891428},
     0},
    {"storms_xyzm.shp", ZRMVand::kKindSHP, 0, "storms_xyzm", 71, {-102.2, 0.0, 8.3, 59.5}, 0},
    {"text.dxf", ZRMVand::kKindDXF, 0, "entities", 1, {1.0, 1.0, 2.0, 2.0}, 0},
};

std::string PathOf(const std::string& file) {
  return SharedDataDir() + "/vector/" + file;
}

std::vector<double> ExtentOf(const tagXVectorLayer& layer) {
  if (!layer.hasExtent) return {};
  return {layer.minX, layer.maxX, layer.minY, layer.maxY};
}

int EpsgOf(const XString& wkt) {
  XSpatialReference sr;
  EXPECT_EQ(wkt.IsEmpty() ? 0 : 1, sr.importFromWkt(wkt));
  return sr.GetEPSG();
}

class ZRMVandSamples : public testing::TestWithParam<Sample> {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(PathOf(GetParam().file))) GTEST_SKIP() << "no sample data";
  }
};

TEST_P(ZRMVandSamples, AreDescribedAsGdalDescribesThem) {
  const Sample& expected = GetParam();
  ZRMVand vand;
  XString err;
  ASSERT_EQ(1, vand.LoadFile(PathOf(expected.file), expected.kind, err, nullptr)) << err.GetText();
  const tagXVectorLayer* layer = vand.GetLayerAt(expected.layer);
  ASSERT_NE(nullptr, layer);
  EXPECT_STREQ(expected.name, layer->name.GetText());
  EXPECT_EQ(expected.numFeatures, layer->numFeatures);
  EXPECT_EQ(expected.extent, ExtentOf(*layer));
  EXPECT_EQ(expected.epsg, EpsgOf(layer->wkt));
  EXPECT_EQ(expected.epsg, vand.GetSR()->GetEPSG());
}

TEST_P(ZRMVandSamples, HaveNoFurtherLayers) {
  const Sample& expected = GetParam();
  int numLayers = 0;
  for (const Sample& sample : kSamples) numLayers += std::string(sample.file) == expected.file;
  ZRMVand vand;
  XString err;
  ASSERT_EQ(1, vand.LoadFile(PathOf(expected.file), expected.kind, err, nullptr)) << err.GetText();
  EXPECT_EQ(numLayers, vand.GetNumOfLayers());
}

std::string NameOfLayer(const testing::TestParamInfo<Sample>& info) {
  std::string name = info.param.file + ("_" + std::to_string(info.param.layer));
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(Files, ZRMVandSamples, testing::ValuesIn(kSamples), NameOfLayer);

TEST(ZRMVandFiles, OfBinaryDrawingsAndArchivesAreRefused) {
  const std::map<std::string, int> files = {{"bin_dxf_r12.dxf", ZRMVand::kKindDXF},
                                            {"PointPlacemarkLocalImage.kmz", ZRMVand::kKindKML}};
  if (!std::filesystem::exists(PathOf(files.begin()->first))) GTEST_SKIP() << "no sample data";
  for (const auto& [file, kind] : files) {
    ZRMVand vand;
    XString err;
    EXPECT_EQ(0, vand.LoadFile(PathOf(file), kind, err, nullptr)) << file;
    EXPECT_EQ(0, err.Find(("Can't read vector file : " + PathOf(file)).c_str())) << err.GetText();
    EXPECT_EQ(0, vand.GetNumOfLayers());
  }
}

}  // namespace
