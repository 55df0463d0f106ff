// A file is opened twice: by the library with exact reads, and by GDAL with all its raster drivers. Each of GDAL's
// bands becomes one plane of samples, or three where a palette of colours stands behind it. Planes are compared strip
// by strip, as samples of the band's own type where both have the same one. The first difference is the answer.

#include "ExactComparison.h"

#include "XFormatTable.h"
#include "XRSFile.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include <cpl_error.h>
#include <gdal.h>

namespace {

struct CloseDataset {
  void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<void, CloseDataset>;

/// A band of GDAL's, or one colour of its palette.
struct Plane {
  GDALRasterBandH band = nullptr;
  int colour = -1;  // 0 to 2 for red, green and blue of the palette, 3 for opacity by the null value
};

/// Bands with a palette are expanded where we have a band for each of its colours, and one for opacity perhaps.
int CountColours(GDALRasterBandH band, int numOurBands) {
  return GDALGetRasterColorTable(band) && (numOurBands == 3 || numOurBands == 4) ? numOurBands : 0;
}

std::vector<Plane> ListPlanes(GDALDatasetH dataset, int numOurBands) {
  std::vector<Plane> planes;
  const int count = GDALGetRasterCount(dataset);
  for (int i = 1; i <= count; ++i) {
    const GDALRasterBandH band = GDALGetRasterBand(dataset, i);
    const int numColours = count == 1 ? CountColours(band, numOurBands) : 0;
    for (int colour = 0; colour < std::max(numColours, 1); ++colour) {
      planes.push_back({band, numColours > 0 ? colour : -1});
    }
  }
  return planes;
}

GDALDataType GdalTypeOf(int dataType) {
  switch (dataType) {
    case kPint08:
    case kSint08:
      return GDT_Byte;
    case kPint16:
      return GDT_UInt16;
    case kSint16:
      return GDT_Int16;
    case kPint32:
      return GDT_UInt32;
    case kSint32:
      return GDT_Int32;
    case kReal32:
      return GDT_Float32;
    case kReal64:
      return GDT_Float64;
    case kCint16:
      return GDT_CInt16;
    case kCint32:
      return GDT_CInt32;
    case kCreal32:
      return GDT_CFloat32;
    case kCreal64:
      return GDT_CFloat64;
    default:
      return GDT_Unknown;
  }
}

/// GDAL of this age marks signed bytes beside their type. Integers of 64 bits come as exact doubles here.
bool IsSameType(int dataType, const Plane& plane) {
  if (plane.colour >= 0) return dataType == kPint08;
  const GDALDataType type = GDALGetRasterDataType(plane.band);
  if (type == GDT_Int64 || type == GDT_UInt64) return dataType == kReal64;
  const char* const pixelType = GDALGetMetadataItem(plane.band, "PIXELTYPE", "IMAGE_STRUCTURE");
  const bool isSigned = pixelType && std::string(pixelType) == "SIGNEDBYTE";
  return GdalTypeOf(dataType) == type && (type != GDT_Byte || isSigned == (dataType == kSint08));
}

bool AreSameNumbers(double a, double b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

/// Replaces indices by a colour of their palette.
void Colour(const Plane& plane, std::vector<unsigned char>& samples) {
  int hasNullValue = 0;
  const double nullValue = GDALGetRasterNoDataValue(plane.band, &hasNullValue);
  const GDALColorTableH table = GDALGetRasterColorTable(plane.band);
  for (unsigned char& sample : samples) {
    const GDALColorEntry* const entry = GDALGetColorEntry(table, sample);
    const bool isSeeThrough = hasNullValue && sample == nullValue;
    const short components[4] = {entry ? entry->c1 : short{0}, entry ? entry->c2 : short{0},
                                 entry ? entry->c3 : short{0}, isSeeThrough ? short{0} : short{255}};
    sample = static_cast<unsigned char>(components[plane.colour]);
  }
}

/// A strip of the plane as GDAL reads it, in the type of our band; empty where GDAL can't read it.
std::vector<unsigned char> ReadStrip(const Plane& plane, int dataType, int y, int width, int height) {
  std::vector<unsigned char> samples(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                     static_cast<std::size_t>(XfnGetDataSize(dataType)));
  const CPLErr failed =
      GDALRasterIO(plane.band, GF_Read, 0, y, width, height, samples.data(), width, height, GdalTypeOf(dataType), 0, 0);
  if (failed != CE_None) return {};
  if (plane.colour >= 0) Colour(plane, samples);
  return samples;
}

/// Samples that are no numbers are the same whatever their bits.
bool AreSameSamples(const unsigned char* ours, const unsigned char* theirs, std::size_t numBytes, int dataType) {
  if (std::memcmp(ours, theirs, numBytes) == 0) return true;
  const auto same = [&](auto zero) {
    for (std::size_t i = 0; i < numBytes; i += sizeof zero) {
      decltype(zero) a, b;
      std::memcpy(&a, ours + i, sizeof zero);
      std::memcpy(&b, theirs + i, sizeof zero);
      if (!AreSameNumbers(static_cast<double>(a), static_cast<double>(b))) return false;
    }
    return true;
  };
  if (dataType == kReal32 || dataType == kCreal32) return same(float{});
  return (dataType == kReal64 || dataType == kCreal64) && same(double{});
}

std::string LastReadError() {
  XString err = "no reason";
  XfnGetLastReadError(err);
  return err.AsStdString();
}

/// The outcome for the samples of one band. A read that both refuse is equal.
Comparison CompareSamples(ZRMBand& band, const Plane& plane) {
  constexpr int kStripRows = 256;
  const int width = band.GetXSize(), height = band.GetYSize();
  for (int y = 0; y < height; y += kStripRows) {
    const int rows = std::min(kStripRows, height - y);
    const std::vector<unsigned char> theirs = ReadStrip(plane, band.GetDataType(), y, width, rows);
    tagXArr2* ours = nullptr;
    const int isRead = band.ReadSubset(ours, 0, 0, width - 1, y, y + rows - 1, nullptr);
    if (!isRead) return {Comparison::kRefused, LastReadError()};
    if (theirs.empty()) return {Comparison::kDifferent, "GDAL refuses rows from " + std::to_string(y)};
    if (!AreSameSamples(ours->data, theirs.data(), theirs.size(), band.GetDataType())) {
      return {Comparison::kDifferent, "samples from row " + std::to_string(y)};
    }
  }
  return {Comparison::kEqual, ""};
}

std::string CompareNullValue(const ZRMBand& band, GDALRasterBandH theirs) {
  int hasValue = 0;
  const double value = GDALGetRasterNoDataValue(theirs, &hasValue);
  const bool hasOurs = band.GetNullValue() != kNotSet;
  if (hasOurs == (hasValue != 0) && (!hasOurs || AreSameNumbers(band.GetNullValue(), value))) return "";
  return "null value " + std::to_string(band.GetNullValue()) + " and not " +
         (hasValue ? std::to_string(value) : "none");
}

Comparison CompareBand(ZRMBand& band, const Plane& plane) {
  if (!IsSameType(band.GetDataType(), plane)) {
    return {Comparison::kDifferent, "type " + std::to_string(band.GetDataType()) + " and not " +
                                        GDALGetDataTypeName(GDALGetRasterDataType(plane.band))};
  }
  const std::string nullValue = plane.colour >= 0 ? "" : CompareNullValue(band, plane.band);
  if (!nullValue.empty()) return {Comparison::kDifferent, nullValue};
  return CompareSamples(band, plane);
}

std::string Write(const double transform[6]) {
  std::string text;
  for (int i = 0; i < 6; ++i) text += (i ? ", " : "") + std::to_string(transform[i]);
  return "(" + text + ")";
}

std::string CompareTransforms(const ZRMBand& band, GDALDatasetH dataset) {
  double ours[6], theirs[6];
  band.GetGeoTransform(ours);
  const bool isPlaced = GDALGetGeoTransform(dataset, theirs) == CE_None;
  const bool isOurs = band.GetCoordinateKind() == kCoordinateWorld;
  if (!isPlaced && !isOurs) return "";
  if (isPlaced != isOurs) return isOurs ? "a place " + Write(ours) + " and none" : "no place and not " + Write(theirs);
  const double scale = std::abs(theirs[1]) + std::abs(theirs[2]) + std::abs(theirs[4]) + std::abs(theirs[5]);
  for (int i = 0; i < 6; ++i) {
    const double tolerance = i % 3 == 0 ? 1e-6 * scale : 1e-9 * scale;
    if (!(std::abs(ours[i] - theirs[i]) <= tolerance)) return "transform " + Write(ours) + " and not " + Write(theirs);
  }
  return "";
}

Comparison CompareFiles(XRSFile& file, GDALDatasetH dataset) {
  ZRMBand& first = *file.GetBandAt(0);
  const std::vector<Plane> planes = ListPlanes(dataset, file.GetNumOfBands());
  if (first.GetXSize() != GDALGetRasterXSize(dataset) || first.GetYSize() != GDALGetRasterYSize(dataset)) {
    return {Comparison::kDifferent, "size"};
  }
  if (planes.size() != static_cast<std::size_t>(file.GetNumOfBands())) {
    return {Comparison::kDifferent,
            std::to_string(file.GetNumOfBands()) + " bands and not " + std::to_string(planes.size())};
  }
  const std::string transforms = CompareTransforms(first, dataset);
  if (!transforms.empty()) return {Comparison::kDifferent, transforms};
  for (std::size_t i = 0; i < planes.size(); ++i) {
    Comparison comparison = CompareBand(*file.GetBandAt(static_cast<int>(i)), planes[i]);
    if (comparison.outcome == Comparison::kEqual) continue;
    comparison.reason = "band " + std::to_string(i + 1) + ": " + comparison.reason;
    return comparison;
  }
  return {Comparison::kEqual, ""};
}

}  // namespace

Comparison CompareWithGdal(const std::string& path) {
  const tagXFormat* const format = XfnFindFormatOfFile(path);
  if (format && (!format->isRaster || !format->canRead)) return {};
  GDALAllRegister();
  CPLPushErrorHandler(CPLQuietErrorHandler);
  const Dataset dataset(GDALOpenEx(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, nullptr, nullptr, nullptr));
  Comparison comparison;
  if (dataset && GDALGetRasterCount(dataset.get()) > 0) {
    XRSFile file;
    file.SetReadPolicy(kReadExact);
    XString err;
    if (!XfnOpenFile(&file, path, err) || file.GetNumOfBands() == 0) {
      comparison = {Comparison::kRefused, err.AsStdString()};
    } else {
      comparison = CompareFiles(file, dataset.get());
    }
  }
  CPLPopErrorHandler();
  return comparison;
}
