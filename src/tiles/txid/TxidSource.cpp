// What a dataset has to be for a store, and its pixels tile by tile.
//
// A store knows one system, longitude and latitude on WGS 84, and no turn. An image whose system is unknown, as that of
// an image with a world file, is taken where its coordinates can be degrees.

#include "tiles/txid/TxidSource.h"

#include "base/OwnReads.h"
#include "base/Window.h"
#include "math/Interleave.h"
#include "XReadPolicy.h"
#include "XRSFile.h"
#include "XSpatialReference.h"
#include "XSystemFit.h"
#include "ZRMBand.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace zrk {
namespace {

constexpr double kUnitsPerDegree = 1e8;
constexpr double kLargestPixel = 1e15;  // in units; far beyond any image

bool Fail(XString& err, const char* sentence) {
  err = sentence;
  return false;
}

ZRMBand* FindRole(const XRSFile& file, int role) {
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    if (file.GetBandAt(i)->GetColourRole() == role) return file.GetBandAt(i);
  }
  return nullptr;
}

/// Colours go by what bands show. Without that the first bands are taken.
void ChooseBands(const XRSFile& file, TxidSource& source) {
  source.alpha = FindRole(file, kRoleAlpha);
  source.colours = {FindRole(file, kRoleRed), FindRole(file, kRoleGreen), FindRole(file, kRoleBlue)};
  if (std::ranges::find(source.colours, nullptr) == source.colours.end()) return;
  const bool isColoured = file.GetNumOfBands() >= 3;
  for (int i = 0; i < 3; ++i) source.colours[static_cast<std::size_t>(i)] = file.GetBandAt(isColoured ? i : 0);
}

/// Whole units, where rounding moves no pixel of the image by more than half of one.
bool CountUnits(double degrees, int numPixels, std::int64_t& units) {
  const double exact = degrees * kUnitsPerDegree;
  if (!(std::abs(exact) >= 0.5 && std::abs(exact) <= kLargestPixel)) return false;
  units = std::llround(exact);
  return std::abs(exact - static_cast<double>(units)) * numPixels <= 0.5 * std::abs(exact);
}

bool IsPlaceKnown(const ZRMBand& band, XString& err) {
  if (band.GetCoordinateKind() != kCoordinateWorld) return true;
  XSpatialReference wgs84;
  wgs84.SetWellKnownGeogCS("WGS84");
  if (band.GetSR()->IsSame(wgs84)) return true;
  if (!band.GetSR()->IsEmpty())
    return Fail(err, "Only images in longitude and latitude on WGS 84 fit into a tile store");
  return XfnCanBePlacedIn(band, wgs84, err) != 0;
}

bool TakePlace(const ZRMBand& band, tagTxiInfo& info, XString& err) {
  if (!IsPlaceKnown(band, err)) return false;
  double t[6] = {};
  band.GetGeoTransform(t);
  if (t[2] != 0.0 || t[4] != 0.0) return Fail(err, "An image that is turned does not fit into a tile store");
  if (!CountUnits(t[1], band.GetXSize(), info.xPixelSize) || !CountUnits(-t[5], band.GetYSize(), info.yPixelSize)) {
    return Fail(err, "The pixel size can't be told in units of 1e-08 degree, as tile stores have it");
  }
  if (!std::isfinite(t[0]) || !std::isfinite(t[3])) return Fail(err, "The corner of the image is no place");
  info.x = t[0];
  info.y = t[3];
  return true;
}

/// Rows of one band become every fourth byte of the strip.
bool ReadPlane(ZRMBand& band, const Window& window, int byte, TxidStrip& strip, XString& err) {
  tagXArr2* plane = nullptr;
  const OwnReads own;
  XfnForgetLastReadError();
  if (!band.ReadSubset(plane, 0, window.x0, window.x1, window.y0, window.y1, nullptr)) {
    return XfnGetLastReadError(err) != 0 ? false : Fail(err, "The pixels can't be read");
  }
  for (int y = 0; y < window.Height(); ++y) {
    ScatterSamples(plane->Row(y), static_cast<std::size_t>(window.Width()), 4, 1, strip.Row(y) + byte);
  }
  return true;
}

/// Pixels are seen unless opacity is 0 or all colours are null.
void SetOpacity(const TxidSource& source, const Window& window, TxidStrip& strip) {
  std::array<int, 3> nulls{};
  for (std::size_t i = 0; i < nulls.size(); ++i) {
    const double value = source.colours[2 - i]->GetNullValue();
    nulls[i] = value >= 0.0 && value <= 255.0 && value == std::floor(value) ? static_cast<int>(value) : -1;
  }
  for (int y = 0; y < window.Height(); ++y) {
    unsigned char* pixel = strip.Row(y);
    for (int x = 0; x < window.Width(); ++x, pixel += 4) {
      const bool isNull = pixel[0] == nulls[0] && pixel[1] == nulls[1] && pixel[2] == nulls[2];
      const bool isSeen = !isNull && (!source.alpha || pixel[3] != 0);
      if (isSeen) {
        pixel[3] = 255;
      } else {
        std::fill_n(pixel, 4, static_cast<unsigned char>(0));
      }
    }
  }
}

}  // namespace

int TxidSource::Width() const {
  return colours[0]->GetXSize();
}

int TxidSource::Height() const {
  return colours[0]->GetYSize();
}

bool FindTxidSource(const XRSFile& file, TxidSource& source, XString& err) {
  if (file.GetNumOfBands() == 0) return Fail(err, "No Band found");
  ChooseBands(file, source);
  const ZRMBand& first = *source.colours[0];
  for (const ZRMBand* const band : {source.colours[0], source.colours[1], source.colours[2], source.alpha}) {
    if (!band) continue;
    if (band->GetDataType() != kPint08) return Fail(err, "Only bands of unsigned bytes fit into a tile store");
    const bool isOfSize = band->GetXSize() == first.GetXSize() && band->GetYSize() == first.GetYSize();
    if (!isOfSize) return Fail(err, "The bands differ in size");
  }
  if (first.GetXSize() < 1 || first.GetYSize() < 1) return Fail(err, "The image has no pixels");
  return true;
}

bool LayOutTxid(const TxidSource& source, int tileSize, tagTxiInfo& info, XString& err) {
  constexpr int kMaxTileSize = 4096;
  if (tileSize < 4 || tileSize > kMaxTileSize || tileSize % 4 != 0) {
    return Fail(err, "The side of a tile must be a multiple of 4 from 4 to 4096");
  }
  info.tileSize = tileSize;
  info.numXTiles = (source.Width() - 1) / tileSize + 1;
  info.numYTiles = (source.Height() - 1) / tileSize + 1;
  const std::int64_t widest = std::int64_t{std::max(info.numXTiles, info.numYTiles)} * tileSize;
  if (widest > INT_MAX || std::int64_t{info.numXTiles} * info.numYTiles > INT_MAX) {
    return Fail(err, "The image has more tiles of this size than a tile store can number");
  }
  return TakePlace(*source.colours[0], info, err);
}

bool ReadStrip(const TxidSource& source, const tagTxiInfo& info, const TileRange& range, TxidStrip& strip,
               XString& err) {
  const int side = info.tileSize;
  const int right = std::min((range.column + range.numColumns) * side, source.Width()) - 1;
  const int bottom = std::min((range.row + 1) * side, source.Height()) - 1;
  const Window window{range.column * side, right, range.row * side, bottom};
  strip.width = range.numColumns * side;
  strip.height = side;
  strip.pixels.assign(static_cast<std::size_t>(strip.width) * static_cast<std::size_t>(side) * 4, 0);
  // B, G, R, A.
  const std::array<ZRMBand*, 4> bands = {source.colours[2], source.colours[1], source.colours[0], source.alpha};
  for (int byte = 0; byte < 4; ++byte) {
    ZRMBand* const band = bands[static_cast<std::size_t>(byte)];
    if (band && !ReadPlane(*band, window, byte, strip, err)) return false;
  }
  SetOpacity(source, window, strip);
  return true;
}

}  // namespace zrk
