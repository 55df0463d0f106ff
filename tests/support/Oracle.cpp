#include "Oracle.h"
#include "GdalDataset.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <type_traits>

#include <cpl_error.h>
#include <gdal.h>
#include <gdal_utils.h>
#include <ogr_srs_api.h>

namespace {

GdalDataset Open(const std::string& path) {
  GDALAllRegister();
  const char* const drivers[] = {"BMP",  "JPEG",      "GTiff",       "NITF", "DTED",
                                 "HDF4", "HDF4Image", "JP2OpenJPEG", "HFA",  nullptr};
  return GdalDataset(GDALOpenEx(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers, nullptr, nullptr));
}

/// GDAL gives bilevel images a table of two colours where they have none.
GDALColorTableH GetPalette(GDALRasterBandH band) {
  const GDALColorTableH table = GDALGetRasterColorTable(band);
  return table && GDALGetColorEntryCount(table) > 2 ? table : nullptr;
}

/// Empty where it can't be read.
std::vector<unsigned char> ReadBand(GDALRasterBandH band) {
  const GDALDataType type = GDALGetRasterDataType(band);
  const int width = GDALGetRasterBandXSize(band), height = GDALGetRasterBandYSize(band);
  std::vector<unsigned char> bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                   static_cast<std::size_t>(GDALGetDataTypeSizeBytes(type)));
  const CPLErr failed = GDALRasterIO(band, GF_Read, 0, 0, width, height, bytes.data(), width, height, type, 0, 0);
  return failed == CE_None ? bytes : std::vector<unsigned char>();
}

/// A copy in memory with one channel a band, so that nothing is written beside the file.
GdalDataset Expand(GDALDatasetH dataset) {
  const bool isIndexed = GetPalette(GDALGetRasterBand(dataset, 1)) != nullptr;
  const char* const indexed[] = {"-of", "MEM", "-expand", "rgb", nullptr};
  const char* const direct[] = {"-of", "MEM", nullptr};
  auto* const options = GDALTranslateOptionsNew(const_cast<char**>(isIndexed ? indexed : direct), nullptr);
  GdalDataset expanded(GDALTranslate("", dataset, options, nullptr));
  GDALTranslateOptionsFree(options);
  return expanded;
}

OracleImage::Statistics Measure(GDALRasterBandH band, double numSamples) {
  OracleImage::Statistics result;
  GDALComputeRasterStatistics(band, FALSE, &result.min, &result.max, &result.mean, &result.stdDev, nullptr, nullptr);
  result.stdDev *= std::sqrt(numSamples / (numSamples - 1.0));
  return result;
}

StoredImage::Plane ReadPlane(GDALRasterBandH band) {
  StoredImage::Plane plane;
  plane.dataType = GDALGetRasterDataType(band);
  plane.sampleBytes = GDALGetDataTypeSizeBytes(GDALGetRasterDataType(band));
  const char* const bits = GDALGetMetadataItem(band, "NBITS", "IMAGE_STRUCTURE");
  plane.numBits = bits ? std::atoi(bits) : 8 * plane.sampleBytes;
  const char* const kind = GDALGetMetadataItem(band, "PIXELTYPE", "IMAGE_STRUCTURE");
  plane.hasSignedBytes = kind && std::string(kind) == "SIGNEDBYTE";
  int hasNullValue = 0;
  const double nullValue = GDALGetRasterNoDataValue(band, &hasNullValue);
  if (hasNullValue) plane.nullValue = nullValue;
  plane.bytes = ReadBand(band);
  return plane;
}

/// GDAL tells where a block lies in the file, and says nothing where it is left out.
std::set<int> FindMissingBlocks(GDALRasterBandH band, const StoredImage& image) {
  std::set<int> missing;
  const int across = (image.width + image.blockWidth - 1) / image.blockWidth;
  const int down = (image.height + image.blockHeight - 1) / image.blockHeight;
  for (int i = 0; i < across * down; ++i) {
    const std::string item = "BLOCK_OFFSET_" + std::to_string(i % across) + "_" + std::to_string(i / across);
    if (!GDALGetMetadataItem(band, item.c_str(), "TIFF")) missing.insert(i);
  }
  return missing;
}

int FindEpsg(GDALDatasetH dataset) {
  const OGRSpatialReferenceH system = GDALGetSpatialRef(dataset);
  const char* const name = system ? OSRGetAuthorityName(system, nullptr) : nullptr;
  const char* const code = system ? OSRGetAuthorityCode(system, nullptr) : nullptr;
  return name && code && std::string(name) == "EPSG" ? std::atoi(code) : 0;
}

std::string ExportWkt(GDALDatasetH dataset) {
  const char* const wkt = GDALGetProjectionRef(dataset);
  return wkt ? wkt : "";
}

void NoteComplaint(CPLErr severity, CPLErrorNum, const char* message) {
  if (severity < CE_Warning) return;
  static_cast<std::vector<std::string>*>(CPLGetErrorHandlerUserData())->emplace_back(message);
}

}  // namespace

OracleImage ReadWithGdal(const std::string& path) {
  CPLPushErrorHandler(CPLQuietErrorHandler);
  OracleImage image;
  const GdalDataset dataset = Open(path);
  const GdalDataset expanded = dataset ? Expand(dataset.get()) : nullptr;
  if (expanded) {
    image.isOpen = true;
    image.width = GDALGetRasterXSize(expanded.get());
    image.height = GDALGetRasterYSize(expanded.get());
    const auto numSamples = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
    for (int i = 1; i <= GDALGetRasterCount(expanded.get()); ++i) {
      const GDALRasterBandH band = GDALGetRasterBand(expanded.get(), i);
      image.channels.push_back(ReadBand(band));
      if (image.channels.back().empty()) image.isOpen = false;
      image.statistics.push_back(Measure(band, static_cast<double>(numSamples)));
    }
  }
  CPLPopErrorHandler();
  return image;
}

StoredImage ReadStoredWithGdal(const std::string& path) {
  StoredImage image;
  CPLPushErrorHandlerEx(&NoteComplaint, &image.complaints);
  if (const GdalDataset dataset = Open(path)) {
    image.isOpen = true;
    image.width = GDALGetRasterXSize(dataset.get());
    image.height = GDALGetRasterYSize(dataset.get());
    const GDALRasterBandH first = GDALGetRasterBand(dataset.get(), 1);
    GDALGetBlockSize(first, &image.blockWidth, &image.blockHeight);
    image.missingBlocks = FindMissingBlocks(first, image);
    for (int i = 1; i <= GDALGetRasterCount(dataset.get()); ++i) {
      image.planes.push_back(ReadPlane(GDALGetRasterBand(dataset.get(), i)));
      if (image.planes.back().bytes.empty()) image.isOpen = false;
    }
    image.isPlaced = GDALGetGeoTransform(dataset.get(), image.transform.data()) == CE_None;
    image.epsg = FindEpsg(dataset.get());
    image.wkt = ExportWkt(dataset.get());
  }
  CPLPopErrorHandler();
  return image;
}

bool AreSameSystems(const std::string& one, const std::string& other) {
  if (one.empty() || other.empty()) return one == other;
  using System = std::unique_ptr<std::remove_pointer_t<OGRSpatialReferenceH>, decltype(&OSRDestroySpatialReference)>;
  const System first(OSRNewSpatialReference(one.c_str()), &OSRDestroySpatialReference);
  const System second(OSRNewSpatialReference(other.c_str()), &OSRDestroySpatialReference);
  return first && second && OSRIsSame(first.get(), second.get());
}

int LargestDifference(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
  if (a.size() != b.size()) return 256;
  int largest = 0;
  for (std::size_t i = 0; i < a.size(); ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}
