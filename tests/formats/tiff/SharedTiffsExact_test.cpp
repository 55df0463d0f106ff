// Exact reads of TIFF files that other programs wrote: pixels, types, null values and transforms as GDAL has them, but
// for those that are listed with the reason.

#include "Oracle.h"
#include "Samples.h"
#include "TempFolder.h"
#include "TiffMemory.h"
#include "XDataType.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <utility>

#include <gdal.h>

namespace {

enum class ExactHow {
  kAsGdal,
  kInColours,  ///< of the palette: red, green and blue, or one band of greys, where GDAL has the entries' numbers
  kWithAlpha,  ///< a band more, which is 255
  kFails,      ///< the read, with a sentence; GDAL's fails too
  kRefused     ///< with a sentence; by GDAL too
};

struct Exception {
  const char* name;
  ExactHow how;
};

const Exception kExceptions[] = {
    {"GeogToWGS84GeoKey5.tif", ExactHow::kInColours},
    {"byte_truncated.tif", ExactHow::kFails},
    {"corrupted_gtiff_tags.tif", ExactHow::kRefused},
    {"flower-palette-04.tif", ExactHow::kInColours},
    {"flower-palette-16.tif", ExactHow::kInColours},
    {"gen_palette16.tif", ExactHow::kInColours},
    {"gen_palette4.tif", ExactHow::kInColours},
    {"gen_palette8.tif", ExactHow::kInColours},
    {"mandrilmini_12bitjpeg.tif", ExactHow::kRefused},
    {"palette-1c-1b.tiff", ExactHow::kInColours},
    {"seq-1c-4b-palette-85108c5a.tiff", ExactHow::kInColours},
    {"seq-1c-8b-palette-89b39bc3.tiff", ExactHow::kInColours},
    {"slim_g4.tif", ExactHow::kInColours},
    {"test_color_table.tif", ExactHow::kInColours},
    {"tiled_bad_offset.tif", ExactHow::kFails},
    {"ycbcr-cat.tif", ExactHow::kWithAlpha},
    {"ycbcr_11_lzw.tif", ExactHow::kWithAlpha},
    {"ycbcr_22_lzw.tif", ExactHow::kWithAlpha},
    {"ycbcr_41_lzw.tif", ExactHow::kWithAlpha},
    {"zackthecat.tif", ExactHow::kWithAlpha},
};

ExactHow HowOf(const std::string& name) {
  const auto* const found =
      std::ranges::find_if(kExceptions, [&name](const Exception& each) { return name == each.name; });
  return found == std::end(kExceptions) ? ExactHow::kAsGdal : found->how;
}

/// GDAL's number of a type is the index.
int TypeOf(const StoredImage::Plane& plane) {
  constexpr int kTypeOfGdal[] = {0, 1, 3, 4, 5, 6, 7, 8, 12, 14, 15, 16};
  return plane.hasSignedBytes ? kSint08 : kTypeOfGdal[plane.dataType];
}

/// Samples looked up in the colour map, whose components go from 0 to 65,535. Equal planes are one.
std::vector<StoredImage::Plane> PlanesInColours(const StoredImage& image, const std::string& path) {
  std::vector<unsigned char> file = ReadBytes(path);
  const TiffPointer tiff = OpenTiffInMemory(file, "r");
  std::array<std::uint16_t*, 3> map{};
  std::vector<StoredImage::Plane> planes;
  if (!TIFFGetField(tiff.get(), TIFFTAG_COLORMAP, &map[0], &map[1], &map[2])) return planes;
  for (const std::uint16_t* component : map) {
    StoredImage::Plane plane = image.planes.at(0);
    const auto size = static_cast<std::size_t>(plane.sampleBytes);
    for (std::size_t i = 0; i + size <= plane.bytes.size(); i += size) {
      std::uint16_t value = 0;
      std::memcpy(&value, &plane.bytes[i], size);
      value = static_cast<std::uint16_t>(component[value] * 255.0 / 65535.0 + 0.5);
      std::memcpy(&plane.bytes[i], &value, size);
    }
    planes.push_back(plane);
  }
  if (planes[0].bytes == planes[1].bytes && planes[0].bytes == planes[2].bytes) planes.resize(1);
  return planes;
}

std::vector<StoredImage::Plane> PlanesOf(ExactHow how, const StoredImage& image, const std::string& path) {
  if (how == ExactHow::kInColours) return PlanesInColours(image, path);
  std::vector<StoredImage::Plane> planes = image.planes;
  if (how == ExactHow::kWithAlpha) {
    planes.push_back(planes.at(0));
    std::ranges::fill(planes.back().bytes, static_cast<unsigned char>(255));
  }
  return planes;
}

void ExpectBand(ZRMBand& band, const StoredImage::Plane& plane) {
  EXPECT_EQ(TypeOf(plane), band.GetDataType());
  const double nullValue = plane.nullValue.value_or(kNotSet);
  EXPECT_TRUE(nullValue == band.GetNullValue() || (std::isnan(nullValue) && std::isnan(band.GetNullValue())));
  EXPECT_TRUE(plane.bytes == ReadPixels(band, 0, WholeWindowOf(band)).bytes);
}

void ExpectPlace(const ZRMBand& band, const StoredImage& image) {
  ASSERT_EQ(image.isPlaced ? kCoordinateWorld : kCoordinatePixel, band.GetCoordinateKind());
  if (!image.isPlaced) return;
  std::array<double, 6> transform{};
  band.GetGeoTransform(transform.data());
  for (std::size_t i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(image.transform[i], transform[i]) << i;
}

void ExpectFailure(ZRMBand& band, const StoredImage& image) {
  EXPECT_FALSE(image.isOpen) << "GDAL reads it";
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, nullptr));
  XString reason;
  EXPECT_EQ(1, XfnGetLastReadError(reason));
}

void ExpectFile(const std::string& path, ExactHow how) {
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  XString err;
  const int isOpen = XRSFileIO::LoadFileRaster(&file, kFormatTIF, path, err, 0, kLevelNone, nullptr);
  ASSERT_EQ(how != ExactHow::kRefused, isOpen == 1) << err;
  const StoredImage image = ReadStoredWithGdal(path);
  if (how == ExactHow::kRefused) {
    EXPECT_FALSE(image.isOpen);
    EXPECT_FALSE(err.IsEmpty());
    return;
  }
  if (how == ExactHow::kFails) return ExpectFailure(*file.GetBandAt(0), image);
  const std::vector<StoredImage::Plane> planes = PlanesOf(how, image, path);
  ASSERT_EQ(std::ssize(planes), file.GetNumOfBands());
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    SCOPED_TRACE(i);
    ExpectBand(*file.GetBandAt(i), planes[static_cast<std::size_t>(i)]);
    ExpectPlace(*file.GetBandAt(i), image);
  }
}

TEST(SharedTiffsExactly, AreAsGdalReadsThemOrAsListed) {
  if (!std::filesystem::is_directory(SharedDataDir())) GTEST_SKIP() << "no shared data";
  int numFiles = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(SharedDataDir())) {
    const std::string extension = entry.path().extension().string(), name = entry.path().filename().string();
    if (extension != ".tif" && extension != ".tiff" && extension != ".TIF") continue;
    SCOPED_TRACE(name);
    ExpectFile(entry.path().string(), HowOf(name));
    ++numFiles;
  }
  EXPECT_LT(0, numFiles);
}

struct Overview {
  int width = 0;
  int sampleBytes = 0;
  std::vector<unsigned char> bytes;
};

/// A reduced image as GDAL reads it; empty where it has none of that number.
Overview ReadOverview(const std::string& path, int band, int number) {
  Overview read;
  GDALAllRegister();
  const GDALDatasetH dataset = GDALOpen(path.c_str(), GA_ReadOnly);
  const GDALRasterBandH overview = GDALGetOverview(GDALGetRasterBand(dataset, band + 1), number);
  if (overview) {
    read.width = GDALGetRasterBandXSize(overview);
    read.sampleBytes = GDALGetDataTypeSizeBytes(GDALGetRasterDataType(overview));
    const int height = GDALGetRasterBandYSize(overview);
    read.bytes.resize(static_cast<std::size_t>(read.width * height * read.sampleBytes));
    EXPECT_EQ(CE_None, GDALRasterIO(overview, GF_Read, 0, 0, read.width, height, read.bytes.data(), read.width, height,
                                    GDALGetRasterDataType(overview), 0, 0));
  }
  GDALClose(dataset);
  return read;
}

/// The pixels of a level are those of GDAL's overview, which may have one column and one row more.
void ExpectLevel(ZRMBand& band, int level, const Overview& overview) {
  const Pixels pixels = ReadPixels(band, level, WholeWindowOf(band));
  const auto rowBytes = static_cast<std::size_t>((band.GetXSize() >> level) * overview.sampleBytes);
  const auto stride = static_cast<std::size_t>(overview.width * overview.sampleBytes);
  ASSERT_EQ(rowBytes * static_cast<std::size_t>(band.GetYSize() >> level), pixels.bytes.size());
  for (std::size_t y = 0; (y + 1) * rowBytes <= pixels.bytes.size(); ++y) {
    ASSERT_EQ(0, std::memcmp(&pixels.bytes[y * rowBytes], &overview.bytes.at(y * stride), rowBytes)) << "row " << y;
  }
}

TEST(SharedTiffsExactly, HaveTheLevelsOfTheirReducedImages) {
  const std::pair<const char*, int> files[] = {{"L7_ETMs.tif", 4},
                                               {"byte_with_ovr.tif", 2},
                                               {"gen_cog.tif", 2},
                                               {"gen_overviews_internal.tif", 3},
                                               {"red.tif", 2}};
  for (const auto& [name, numLevels] : files) {
    const std::string path = SharedDataDir() + "/tiff/" + name;
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no shared data";
    SCOPED_TRACE(name);
    XRSFile file;
    file.SetReadPolicy(kReadExact);
    XString err;
    ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatTIF, path, err, 0, kLevelNone, nullptr)) << err;
    for (int level = 1; level <= numLevels; ++level) {
      for (int i = 0; i < file.GetNumOfBands(); ++i)
        ExpectLevel(*file.GetBandAt(i), level, ReadOverview(path, i, level - 1));
    }
  }
}

}  // namespace
