// The tags and keys of GeoTIFF as they are stored in a directory, and the transform that they make.
//
// libgeotiff trusts the directory of keys, so the directory is checked before libgeotiff sees it.

#include "codec/TiffGeoTags.h"

#include <geotiff.h>
#include <xtiffio.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>

namespace zrk {
namespace {

constexpr int kRasterPixelIsPoint = 2;
constexpr int kLatestMajorRevision = 1;

void IgnoreMessage(GTIF*, int, const char*, ...) {}

/// Whether the directory of keys may be given to libgeotiff. libgeotiff keeps a thousand words of it and reads as many
/// entries as the fourth word says. It takes a number stored at the end of the directory for its own address.
bool IsSoundKeyDirectory(std::span<const std::uint16_t> words) {
  constexpr std::size_t kHeaderWords = 4, kEntryWords = 4, kMaxWords = 1000;
  if (words.size() < kHeaderWords || words.size() > kMaxWords) return false;
  const std::size_t numKeys = words[3];
  if (numKeys > (words.size() - kHeaderWords) / kEntryWords) return false;
  for (std::size_t i = 0; i < numKeys; ++i) {
    const std::span<const std::uint16_t> entry = words.subspan(kHeaderWords + kEntryWords * i, kEntryWords);
    if (entry[1] == TIFFTAG_GEOKEYDIRECTORY && entry[2] == 1) return false;
  }
  return true;
}

/// The values of a tag of GeoTIFF. libtiff counts them in 16 bits where it knows the tag; where it has been made to
/// forget it, they are left alone.
template <class Value>
std::span<const Value> GetValues(TIFF* tiff, ttag_t tag) {
  const TIFFField* const field = TIFFFindField(tiff, tag, TIFF_ANY);
  if (!field || TIFFFieldReadCount(field) != TIFF_VARIABLE) return {};
  std::uint16_t count = 0;
  const Value* values = nullptr;
  if (!TIFFGetField(tiff, tag, &count, &values) || !values) return {};
  return {values, count};
}

std::vector<double> ReadDoubles(TIFF* tiff, ttag_t tag) {
  const std::span<const double> values = GetValues<double>(tiff, tag);
  return {values.begin(), values.end()};
}

/// The value of a key that has just one; 0 where it is missing.
int GetShort(gtiff* keys, geokey_t id) {
  if (!keys) return 0;
  std::uint16_t value = 0;
  tagtype_t type = TYPE_UNKNOWN;
  const bool isOne = GTIFKeyInfo(keys, id, nullptr, &type) == 1 && type == TYPE_SHORT;
  return isOne && GTIFKeyGet(keys, id, &value, 0, 1) == 1 ? value : 0;
}

/// Columns and rows must lead in two directions.
std::optional<TiffTransform> IfUsable(const TiffTransform& t) {
  const double area = t[1] * t[5] - t[2] * t[4];
  const bool areFinite = std::ranges::all_of(t, [](double number) { return std::isfinite(number); });
  return areFinite && std::isfinite(area) && area != 0.0 ? std::optional(t) : std::nullopt;
}

/// The transform from a place of the first pixel that lies so far inside of its outer corner, in pixels.
TiffTransform FromInside(TiffTransform t, double shift) {
  t[0] -= shift * (t[1] + t[2]);
  t[3] -= shift * (t[4] + t[5]);
  return t;
}

}  // namespace

GeoKeys OpenGeoKeys(TIFF* tiff) {
  const std::span<const std::uint16_t> words = GetValues<std::uint16_t>(tiff, TIFFTAG_GEOKEYDIRECTORY);
  if (!words.empty() && !IsSoundKeyDirectory(words)) return nullptr;
  return GeoKeys(GTIFNewEx(tiff, &IgnoreMessage, nullptr));
}

bool AreUsable(gtiff* keys) {
  if (!keys) return false;
  int versions[3] = {};
  GTIFDirectoryInfo(keys, versions, nullptr);
  tagtype_t type = TYPE_UNKNOWN;
  const bool hasModelType = GTIFKeyInfo(keys, GTModelTypeGeoKey, nullptr, &type) == 1 && type == TYPE_SHORT;
  return versions[1] <= kLatestMajorRevision && hasModelType;
}

TiffGeoTags ReadTiffGeoTags(TIFF* tiff, gtiff* keys) {
  TiffGeoTags tags;
  tags.isPoint = GetShort(keys, GTRasterTypeGeoKey) == kRasterPixelIsPoint;
  tags.tiePoints = ReadDoubles(tiff, TIFFTAG_GEOTIEPOINTS);
  tags.pixelScale = ReadDoubles(tiff, TIFFTAG_GEOPIXELSCALE);
  tags.toWorld = ReadDoubles(tiff, TIFFTAG_GEOTRANSMATRIX);
  return tags;
}

std::optional<TiffTransform> TransformByTags(const TiffGeoTags& tags) {
  const double shift = tags.isPoint ? 0.5 : 0.0;
  const std::vector<double>& m = tags.toWorld;
  if (tags.pixelScale.size() >= 2 && tags.tiePoints.size() >= 6 && tags.pixelScale[0] != 0 && tags.pixelScale[1] != 0) {
    const double sx = tags.pixelScale[0], sy = tags.pixelScale[1];
    const std::vector<double>& t = tags.tiePoints;
    return IfUsable(FromInside({t[3] - t[0] * sx, sx, 0.0, t[4] + t[1] * sy, 0.0, -sy}, shift));
  }
  if (m.size() != 16) return std::nullopt;
  return IfUsable(FromInside({m[3], m[0], m[1], m[7], m[4], m[5]}, shift));
}

}  // namespace zrk
