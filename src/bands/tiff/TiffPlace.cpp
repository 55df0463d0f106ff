// Geo tags become a place. Tags and keys are taken out of a directory first; what follows are pure functions of
// numbers, which tests try without a file.
//
// A grid is tied by a tie point with a pixel scale, or by a matrix. A tie point names the outer corner of its pixel, or
// the centre where pixels are points; the result is always the outer corner of the first pixel. A rotation is kept in
// the transform alone, since corner and pixel sizes lie along the axes.

#include "bands/tiff/TiffPlace.h"

#include "base/WorldLines.h"

#include <cmath>
#include <vector>

namespace zrk {
namespace {

/// Numbers that are not finite would spoil every place that is worked out from them.
std::optional<TiffPlace> IfFinite(const TiffPlace& place) {
  const bool isFinite = std::isfinite(place.ulx) && std::isfinite(place.uly) && std::isfinite(place.xPixelSize) &&
                        std::isfinite(place.yPixelSize);
  return isFinite ? std::optional(place) : std::nullopt;
}

}  // namespace

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

std::optional<TiffPlace> PlaceByWorldLines(const WorldLines& lines, int width, int height) {
  const double a = lines.numbers[0], d = lines.numbers[3], e = lines.numbers[4], f = lines.numbers[5];
  TiffPlace place{e, f, std::abs(a), std::abs(d)};
  if (a < 0.0) place.ulx = e - std::abs(a) * width;
  // A pixel size that grows upwards tells that the file names the lower edge.
  if (d >= 0.0) place.uly = height * d + f;
  return IfFinite(place);
}

}  // namespace zrk
