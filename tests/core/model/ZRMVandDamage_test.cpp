// Vector files that are damaged, or made to do harm.

#include "ZRMVand.h"

#include "ByteFlips.h"
#include "PointShapefile.h"
#include "TempFolder.h"
#include "XLimits.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <cmath>
#include <filesystem>
#include <random>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr const char* kPartsBesideShapes[] = {".shx", ".dbf"};
constexpr int kNumFlips = 500;
constexpr int kNumLengths = 60;

/// Either a set with layers that make sense, or a sentence and nothing else.
void ExpectSoundOrRefused(const std::string& path, int kind) {
  ZRMVand vand;
  XString err;
  const int isLoaded = vand.LoadFile(path, kind, err, nullptr);
  ASSERT_EQ(isLoaded, err.IsEmpty() ? 1 : 0) << err.GetText();
  if (!isLoaded) {
    EXPECT_EQ(0, vand.GetNumOfLayers());
  }
  for (int i = 0; i < vand.GetNumOfLayers(); ++i) {
    const tagXVectorLayer& layer = *vand.GetLayerAt(i);
    EXPECT_GE(layer.numFeatures, 0);
    EXPECT_LE(layer.minX, layer.maxX);
    EXPECT_LE(layer.minY, layer.maxY);
    EXPECT_TRUE(std::isfinite(layer.minX + layer.maxX + layer.minY + layer.maxY));
  }
}

std::string FailureOf(const std::string& path, int kind) {
  ZRMVand vand;
  XString err;
  EXPECT_EQ(0, vand.LoadFile(path, kind, err, nullptr));
  return err.AsStdString();
}

/// A file of its own takes the place of the old one: many a file system flushes one that is written over.
void Replace(const TempFolder& folder, const std::string& name, const Bytes& bytes) {
  std::filesystem::remove(folder.Path(name));
  folder.Write(name, bytes);
}

/// Damages one file beside others that stay sound.
void Damage(const TempFolder& folder, const std::string& part, const std::string& main, int kind) {
  const Bytes sound = ReadBytes(folder.Path(part));
  if (sound.empty()) return;
  std::mt19937 generator(5);
  for (int i = 0; i < TrialCount(kNumFlips); ++i) {
    Bytes bytes = sound;
    bytes[generator() % bytes.size()] ^= static_cast<unsigned char>(1 + generator() % 255);
    Replace(folder, part, bytes);
    ExpectSoundOrRefused(folder.Path(main), kind);
  }
  for (int i = 0; i < kNumLengths; i += static_cast<int>(TrialStep())) {
    Replace(folder, part, Bytes(sound.begin(), sound.begin() + static_cast<long>(sound.size() * i / kNumLengths)));
    ExpectSoundOrRefused(folder.Path(main), kind);
  }
  Replace(folder, part, sound);
}

TEST(ZRMVandDamage, OfAShapefileIsMetCleanly) {
  TempFolder folder;
  PointShapefile({{1.5, 10.0}, {-2.0, 30.0}, {4.0, 20.0}}).Write(folder);
  testing::internal::CaptureStderr();
  Damage(folder, "a.shp", "a.shp", ZRMVand::kKindSHP);
  Damage(folder, "a.shx", "a.shp", ZRMVand::kKindSHP);
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(ZRMVandDamage, OfASystemIsMetCleanly) {
  const std::string system =
      "GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137.0,298.257223563]],"
      "PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]";
  TempFolder folder;
  PointShapefile({{1.5, 10.0}}).Write(folder);
  testing::internal::CaptureStderr();
  for (std::size_t i = 0; i < system.size(); i += 3) {
    std::string damaged = system;
    damaged[i] = static_cast<char>(~damaged[i]);
    folder.Write("a.prj", i % 2 == 0 ? damaged : system.substr(0, i));
    ZRMVand vand;
    XString err;
    EXPECT_EQ(1, vand.LoadFile(folder.Path("a.shp"), ZRMVand::kKindSHP, err, nullptr)) << err.GetText();
  }
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

class ZRMVandSampleDamage : public testing::TestWithParam<std::pair<const char*, int>> {};

TEST_P(ZRMVandSampleDamage, IsMetCleanly) {
  const auto& [name, kind] = GetParam();
  const std::string stem = std::filesystem::path(name).stem().string();
  const std::string samples = SharedDataDir() + "/vector/";
  if (!std::filesystem::exists(samples + name)) GTEST_SKIP() << "no sample data";
  TempFolder folder;
  folder.Write(name, ReadBytes(samples + name));
  for (const char* part : kPartsBesideShapes) {
    if (kind == ZRMVand::kKindSHP) folder.Write(stem + part, ReadBytes(samples + stem + part));
  }
  testing::internal::CaptureStderr();
  Damage(folder, name, name, kind);
  for (const char* part : kPartsBesideShapes) Damage(folder, stem + part, name, kind);
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

std::string NameOf(const testing::TestParamInfo<std::pair<const char*, int>>& info) {
  return std::filesystem::path(info.param.first).stem().string();
}

INSTANTIATE_TEST_SUITE_P(
    Files, ZRMVandSampleDamage,
    testing::Values(std::pair("hatch.dxf", ZRMVand::kKindDXF), std::pair("small_r13.dxf", ZRMVand::kKindDXF),
                    std::pair("smalltest.dgn", ZRMVand::kKindDGN), std::pair("GroundOverlay.kml", ZRMVand::kKindKML),
                    std::pair("multipointz.shp", ZRMVand::kKindSHP), std::pair("multipatch.shp", ZRMVand::kKindSHP)),
    NameOf);

TEST(ZRMVandHarm, OfKmlEntitiesIsRefused) {
  std::string text = "<?xml version=\"1.0\"?><!DOCTYPE kml [<!ENTITY a0 \"lollipop\">";
  for (int i = 1; i < 20; ++i) {
    const std::string before = "&a" + std::to_string(i - 1) + ";";
    text += "<!ENTITY a" + std::to_string(i) + " \"" + before + before + before + "\">";
  }
  TempFolder folder;
  folder.Write("a.kml", text + "]><kml><Document><name>&a19;</name></Document></kml>");
  EXPECT_NE(std::string::npos, FailureOf(folder.Path("a.kml"), ZRMVand::kKindKML).find("document type declarations"));
}

TEST(ZRMVandHarm, OfKmlDepthIsRefused) {
  std::string text = "<kml>";
  for (int i = 0; i < 100000; ++i) text += "<Folder>";
  TempFolder folder;
  folder.Write("a.kml", text);
  EXPECT_NE(std::string::npos, FailureOf(folder.Path("a.kml"), ZRMVand::kKindKML).find("nested too deeply"));
}

TEST(ZRMVandHarm, OfLongKmlIsRefused) {
  TempFolder folder;
  folder.Write("a.kml", std::string(101, ' '));
  const tagXLimits before = XfnGetLimits();
  tagXLimits limits = before;
  limits.tableBytes = 100;
  XfnSetLimits(limits);
  EXPECT_NE(std::string::npos, FailureOf(folder.Path("a.kml"), ZRMVand::kKindKML).find("too large"));
  XfnSetLimits(before);
}

TEST(ZRMVandHarm, OfUnfoldingDrawingsIsRefused) {
  std::string text = "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n2\nB0\n0\nPOINT\n10\n1\n20\n2\n0\nENDBLK\n";
  for (const char* lines : {"0\nBLOCK\n2\nB1\n0\nINSERT\n2\nB0\n", "0\nBLOCK\n2\nB2\n0\nINSERT\n2\nB1\n"}) {
    text += lines + std::string("70\n100\n71\n100\n0\nENDBLK\n");
  }
  TempFolder folder;
  folder.Write("a.dxf", text + "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n0\nINSERT\n2\nB2\n0\nENDSEC\n0\nEOF\n");
  EXPECT_NE(std::string::npos, FailureOf(folder.Path("a.dxf"), ZRMVand::kKindDXF).find("unfold beyond all measure"));
}

TEST(ZRMVandHarm, OfAPipeBesideAShapefileIsAvoided) {
  TempFolder folder;
  PointShapefile({{1.0, 2.0}}).Write(folder);
  for (const char* name : {"a.dbf", "a.prj", "a.cpg", "a.qix"}) ASSERT_EQ(0, ::mkfifo(folder.Path(name).c_str(), 0600));
  ZRMVand vand;
  XString err;
  EXPECT_EQ(1, vand.LoadFile(folder.Path("a.shp"), ZRMVand::kKindSHP, err, nullptr)) << err.GetText();
}

TEST(ZRMVandHarm, OfTablesAndArchivesUnderTheNameIsRefused) {
  TempFolder folder;
  folder.Write("a.shp", std::string("PK\3\4") + std::string(200, '\0'));
  EXPECT_NE(std::string::npos, FailureOf(folder.Path("a.shp"), ZRMVand::kKindSHP).find("not a shapefile"));
}

}  // namespace
