// Geo tags become a place. Tags and keys are taken out of a directory first; what follows are pure functions of
// numbers, which tests try without a file.
//
// A grid is tied by a tie point with a pixel scale, or by a matrix. A tie point names the outer corner of its pixel, or
// the centre where pixels are points; the result is always the outer corner of the first pixel. A rotation is kept in
// the transform alone, since corner and pixel sizes lie along the axes.
//
// libgeotiff trusts the directory of keys, so the directory is checked before libgeotiff sees it.

#include "bands/tiff/TiffPlace.h"

#include "base/WorldLines.h"

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

/// Numbers that are not finite would spoil every place that is worked out from them.
std::optional<TiffPlace> IfFinite(const TiffPlace& place) {
  const bool isFinite = std::isfinite(place.ulx) && std::isfinite(place.uly) && std::isfinite(place.xPixelSize) &&
                        std::isfinite(place.yPixelSize);
  return isFinite ? std::optional(place) : std::nullopt;
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

std::optional<TiffPlace> PlaceByScale(const TiffGeoTags& tags) {
  if (tags.pixelScale.size() < 2 || tags.tiePoints.size() < 6) return {};
  const double sx = tags.pixelScale[0], sy = tags.pixelScale[1], height = std::abs(sy);
  if (sx == 0.0 || sy == 0.0) return {};
  const std::vector<double>& t = tags.tiePoints;
  TiffPlace place{t[3] - t[0] * sx, t[4] + t[1] * height, sx, sy};
  if (tags.isPoint) {
    place.ulx -= sx / 2;
    place.uly += height / 2;
  }
  return IfFinite(place);
}

std::optional<TiffPlace> PlaceByMatrix(const TiffGeoTags& tags) {
  const std::vector<double>& m = tags.toWorld;
  if (m.size() != 16 || m[0] == 0.0 || m[5] == 0.0) return {};
  TiffPlace place{m[3], m[7], std::abs(m[0]), std::abs(m[5])};
  if (tags.isPoint) {
    // Half a pixel to the left and half a pixel up, in the matrix's own directions.
    place.ulx -= m[1] / 2 + m[0] / 2;
    place.uly -= m[5] / 2 + m[4] / 2;
  }
  return IfFinite(place);
}

std::optional<TiffPlace> PlaceByTags(const TiffGeoTags& tags) {
  const std::optional<TiffPlace> place = PlaceByScale(tags);
  return place ? place : PlaceByMatrix(tags);
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

std::optional<TiffPlace> PlaceByWorldLines(const WorldLines& lines, int width, int height) {
  const double a = lines.numbers[0], d = lines.numbers[3], e = lines.numbers[4], f = lines.numbers[5];
  TiffPlace place{e, f, std::abs(a), std::abs(d)};
  if (a < 0.0) place.ulx = e - std::abs(a) * width;
  // A pixel size that grows upwards tells that the file names the lower edge.
  if (d >= 0.0) place.uly = height * d + f;
  return IfFinite(place);
}

}  // namespace zrk
