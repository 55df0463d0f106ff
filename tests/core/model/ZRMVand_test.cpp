#include "ZRMVand.h"

#include "TempFolder.h"
#include "XLimits.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <random>

namespace {

/// A shapefile of points, put together by hand after the format's published description.
class PointShapefile {
 public:
  explicit PointShapefile(const std::vector<std::pair<double, double>>& points) {
    const auto words = static_cast<int>(50 + 14 * points.size());
    Header(shp_, words, points);
    Header(shx_, static_cast<int>(50 + 4 * points.size()), points);
    for (std::size_t i = 0; i < points.size(); ++i) {
      Big(shx_, static_cast<int>(50 + 14 * i));
      Big(shx_, 10);
      Big(shp_, static_cast<int>(i + 1));
      Big(shp_, 10);
      Little(shp_, 1);
      Real(shp_, points[i].first);
      Real(shp_, points[i].second);
    }
  }
  void Write(const TempFolder& folder) const {
    folder.Write("a.shp", shp_);
    folder.Write("a.shx", shx_);
  }

 private:
  using Bytes = std::vector<unsigned char>;
  static void Big(Bytes& bytes, int value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<unsigned char>(value >> shift));
  }
  static void Little(Bytes& bytes, int value) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(value >> shift));
  }
  static void Real(Bytes& bytes, double value) {
    unsigned char raw[8];
    std::memcpy(raw, &value, 8);
    bytes.insert(bytes.end(), raw, raw + 8);
  }
  static void Header(Bytes& bytes, int words, const std::vector<std::pair<double, double>>& points) {
    Big(bytes, 9994);
    for (int i = 0; i < 5; ++i) Big(bytes, 0);
    Big(bytes, words);
    Little(bytes, 1000);
    Little(bytes, 1);
    auto low = points[0], high = points[0];
    for (const auto& [x, y] : points) {
      low = {std::min(low.first, x), std::min(low.second, y)};
      high = {std::max(high.first, x), std::max(high.second, y)};
    }
    for (const double value : {low.first, low.second, high.first, high.second, 0.0, 0.0, 0.0, 0.0}) Real(bytes, value);
  }
  Bytes shp_, shx_;
};

std::string FailureOf(const std::string& path, int kind) {
  ZRMVand vand;
  XString err;
  EXPECT_EQ(0, vand.LoadFile(path, kind, err, nullptr));
  EXPECT_EQ(0, vand.GetNumOfLayers());
  return err.AsStdString();
}

TEST(ZRMVand, CountsTheFeaturesOfAShapefileAndTheirExtent) {
  TempFolder folder;
  PointShapefile({{1.5, 10.0}, {-2.0, 30.0}, {4.0, 20.0}}).Write(folder);
  ZRMVand vand;
  XString err;
  ASSERT_EQ(1, vand.LoadFile(folder.Path("a.shp"), ZRMVand::kKindSHP, err, nullptr)) << err.GetText();
  ASSERT_EQ(1, vand.GetNumOfLayers());
  EXPECT_EQ("a", vand.GetLayerAt(0)->name.AsStdString());
  EXPECT_EQ(3, vand.GetLayerAt(0)->numFeatures);
  double minX, maxX, minY, maxY;
  ASSERT_EQ(1, vand.GetBoundRect(minX, maxX, minY, maxY));
  EXPECT_EQ(-2.0, minX);
  EXPECT_EQ(4.0, maxX);
  EXPECT_EQ(10.0, minY);
  EXPECT_EQ(30.0, maxY);
  EXPECT_TRUE(vand.GetSR()->IsEmpty());
  EXPECT_EQ(nullptr, vand.GetLayerAt(1));
  EXPECT_EQ(nullptr, vand.GetLayerAt(-1));
}

TEST(ZRMVand, TakesTheSystemOfItsFirstLayer) {
  const std::string path = SharedDataDir() + "/vector/nc.shp";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no sample data";
  ZRMVand vand;
  XString err;
  ASSERT_EQ(1, vand.LoadFile(path, ZRMVand::kKindSHP, err, nullptr));
  EXPECT_EQ(100, vand.GetLayerAt(0)->numFeatures);
  EXPECT_EQ(4267, vand.GetSR()->GetEPSG());
}

TEST(ZRMVand, ReadsTheOtherKindsThroughTheirDrivers) {
  const std::string folder = SharedDataDir() + "/vector/";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no sample data";
  const struct {
    const char* name;
    int kind;
    int numLayers;
    int numFeatures;  // of the first layer, as ogrinfo tells
  } files[] = {{"assorted.dxf", ZRMVand::kKindDXF, 1, 22},
               {"smalltest.dgn", ZRMVand::kKindDGN, 1, 4},
               {"gen_kml_poly.kml", ZRMVand::kKindKML, 1, 25}};
  for (const auto& file : files) {
    ZRMVand vand;
    XString err;
    ASSERT_EQ(1, vand.LoadFile(folder + file.name, file.kind, err, nullptr)) << err.GetText();
    EXPECT_EQ(file.numLayers, vand.GetNumOfLayers()) << file.name;
    EXPECT_EQ(file.numFeatures, vand.GetLayerAt(0)->numFeatures) << file.name;
  }
}

TEST(ZRMVand, SaysWhichKindsItCannotRead) {
  EXPECT_EQ("Native vector files can't be read by this build", FailureOf("a.xvc", ZRMVand::kKindXVC));
  EXPECT_EQ("DLG files can't be read by this build", FailureOf("a.dlg", ZRMVand::kKindDLG));
  EXPECT_EQ("NITF vector data can't be read by this build", FailureOf("a.ntf", ZRMVand::kKindNITF));
  EXPECT_EQ("Files of this kind can't be read by this build", FailureOf("a", 99));
}

TEST(ZRMVand, NamesFilesThatAreNotThereOrOfAnotherKind) {
  TempFolder folder;
  folder.Write("a.shp", "this is no shapefile");
  testing::internal::CaptureStderr();
  const std::string missing = FailureOf(folder.Path("none.shp"), ZRMVand::kKindSHP);
  const std::string wrong = FailureOf(folder.Path("a.shp"), ZRMVand::kKindSHP);
  const std::string directory = FailureOf(folder.Path(), ZRMVand::kKindSHP);
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("Can't read vector file : " + folder.Path("none.shp") + " (No such file or directory)", missing);
  EXPECT_EQ(0u, wrong.find("Can't read vector file : " + folder.Path("a.shp")));
  EXPECT_EQ(0u, directory.find("Can't read vector file : "));
}

TEST(ZRMVand, RefusesDocumentTypesOfKml) {
  TempFolder folder;
  folder.Write("a.kml", "<?xml version=\"1.0\"?><!doctype kml [<!ENTITY a \"aaaa\">]><kml><Document/></kml>");
  EXPECT_NE(std::string::npos,
            FailureOf(folder.Path("a.kml"), ZRMVand::kKindKML).find("document type declarations are not allowed"));
}

TEST(ZRMVand, RefusesKmlThatIsNotPlainTextOrTooLarge) {
  TempFolder folder;
  folder.Write("a.kml", std::string_view("<\0k\0m\0l\0>\0", 10));
  EXPECT_NE(std::string::npos, FailureOf(folder.Path("a.kml"), ZRMVand::kKindKML).find("not plain text"));
  const zrk::Limits before = zrk::GetLimits();
  zrk::Limits limits = before;
  limits.tableBytes = 100;
  zrk::SetLimits(limits);
  folder.Write("b.kml", std::string(101, ' '));
  EXPECT_NE(std::string::npos, FailureOf(folder.Path("b.kml"), ZRMVand::kKindKML).find("too large"));
  zrk::SetLimits(before);
}

TEST(ZRMVand, StopsBetweenLayers) {
  TempFolder folder;
  PointShapefile({{1.0, 2.0}}).Write(folder);
  XThread thread;
  thread.SetState(XThread::kStateStop);
  ZRMVand vand;
  XString err = "left over";
  EXPECT_EQ(0, vand.LoadFile(folder.Path("a.shp"), ZRMVand::kKindSHP, err, &thread));
  EXPECT_EQ(0, vand.GetNumOfLayers());
  EXPECT_EQ("", err.AsStdString());
}

TEST(ZRMVand, TheLongFormHasNoFurtherObjects) {
  TempFolder folder;
  PointShapefile({{1.0, 2.0}}).Write(folder);
  ZRMVand vand;
  XString err;
  XObList objects;
  int numObjects = 9;
  EXPECT_EQ(1, vand.LoadFileEx(folder.Path("a.shp"), ZRMVand::kKindSHP, objects, &numObjects, err, nullptr));
  EXPECT_EQ(0, numObjects);
  EXPECT_TRUE(objects.IsEmpty());
}

TEST(ZRMVand, ADamagedShapefileOpensOrFailsCleanly) {
  TempFolder folder;
  PointShapefile({{1.5, 10.0}, {-2.0, 30.0}, {4.0, 20.0}}).Write(folder);
  const std::vector<unsigned char> sound = ReadBytes(folder.Path("a.shp"));
  std::mt19937 generator(5);
  for (int i = 0; i < 500; ++i) {
    std::vector<unsigned char> bytes = sound;
    bytes[generator() % bytes.size()] ^= static_cast<unsigned char>(1 + generator() % 255);
    if (i % 3 == 0) bytes.resize(generator() % bytes.size());
    folder.Write("a.shp", bytes);
    ZRMVand vand;
    XString err;
    const int isLoaded = vand.LoadFile(folder.Path("a.shp"), ZRMVand::kKindSHP, err, nullptr);
    ASSERT_EQ(isLoaded, err.IsEmpty() ? 1 : 0);
  }
}

}  // namespace
