// The shared NITF files: systems, corners and levels beside GDAL's. Pixels, types and places are compared by the
// conformance suite.

#include "codec/NitfHeader.h"
#include "Oracle.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XFormatTable.h"
#include "XSpatialReference.h"
#include "ZRMBandNITF.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

namespace {

/// Compares every fourth pixel of every fourth row with GDAL's whole plane.
void CompareLevel(ZRMBand& band, const StoredImage::Plane& plane, const std::string& path) {
  const Pixels ours = ReadPixels(band, 2, WholeWindowOf(band));
  const auto bytes = static_cast<std::size_t>(ours.sampleBytes), width = static_cast<std::size_t>(band.GetXSize());
  ASSERT_EQ(static_cast<std::size_t>(plane.sampleBytes), bytes) << path;
  for (std::size_t y = 0; y < static_cast<std::size_t>(ours.height); ++y) {
    for (std::size_t x = 0; x < static_cast<std::size_t>(ours.width); ++x) {
      const unsigned char* const mine = &ours.bytes[(y * static_cast<std::size_t>(ours.width) + x) * bytes];
      const unsigned char* const theirs = &plane.bytes.at((4 * y * width + 4 * x) * bytes);
      ASSERT_EQ(0, std::memcmp(mine, theirs, bytes)) << path << ", " << x << ", " << y;
    }
  }
}

std::string WktOfBand(ZRMBand& band) {
  XString wkt;
  return !band.GetSR()->IsEmpty() && band.GetSR()->exportToWkt(wkt) ? wkt.AsStdString() : "";
}

/// Whether the corners are those of GDAL's transform, at the centres of the corner pixels, where its system is
/// geographic. Corners that are told in whole seconds are as near as that.
void CompareCorners(const ZRMBandNITF& band, const StoredImage& image, const std::string& path) {
  if (!image.isPlaced || image.wkt.rfind("GEOGCS", 0) != 0) return;
  ASSERT_TRUE(band.HasOriginBoundRect()) << path;
  double corners[8];
  band.GetOriginBoundRect(corners);
  const std::array<double, 6>& t = image.transform;
  const double right = image.width - 0.5, bottom = image.height - 0.5;
  constexpr double kSecond = 1.0 / 3600;
  EXPECT_NEAR(t[0] + 0.5 * t[1] + 0.5 * t[2], corners[0], kSecond) << path;
  EXPECT_NEAR(t[3] + 0.5 * t[4] + 0.5 * t[5], corners[1], kSecond) << path;
  EXPECT_NEAR(t[0] + right * t[1] + bottom * t[2], corners[4], kSecond) << path;
  EXPECT_NEAR(t[3] + right * t[4] + bottom * t[5], corners[5], kSecond) << path;
}

bool OpenExactly(const std::string& path, XRSFile& file) {
  file.SetReadPolicy(kReadExact);
  XString err;
  return XfnOpenFile(&file, path, err) != 0;
}

}  // namespace

TEST(SharedNitf, HasTheSystemsCornersAndLevelsOfGdal) {
  const std::filesystem::path folder = std::filesystem::path(SharedDataDir()) / "nitf";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no files at " << folder;
  int numOpened = 0, numSystems = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string path = entry.path().string();
    XRSFile file;
    if (!OpenExactly(path, file)) continue;
    auto& band = static_cast<ZRMBandNITF&>(*file.GetBandAt(0));
    const StoredImage image = ReadStoredWithGdal(path);
    if (!image.isOpen) {
      EXPECT_TRUE(ReadPixels(band, 0, WholeWindowOf(band)).bytes.empty()) << path << " can't be read by GDAL";
      continue;
    }
    ++numOpened;
    const std::string wkt = WktOfBand(band);
    numSystems += wkt.empty() ? 0 : 1;
    EXPECT_TRUE(AreSameSystems(image.wkt, wkt)) << path << "\n" << image.wkt << "\n" << wkt;
    CompareCorners(band, image, path);
    CompareLevel(band, image.planes.at(0), path);
  }
  EXPECT_GE(numOpened, 35);
  EXPECT_GE(numSystems, 5);
}
