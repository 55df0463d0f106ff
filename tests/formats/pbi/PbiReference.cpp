#include "PbiReference.h"

#include <algorithm>
#include <cmath>

namespace {

double TileSizeOf(int level) {
  return 18.0 / std::pow(2.0, std::max(level, 0));
}

/// The level closest to a pixel size.
std::size_t ChooseLevel(const PbiBuilder& store, double pixelSize) {
  std::size_t best = 0;
  double smallest = 1e300;
  for (std::size_t i = 0; i < store.Ranges().size(); ++i) {
    const double difference = std::abs(TileSizeOf(store.Ranges()[i].level) * 0.00390625 - pixelSize);
    if (difference < smallest) {
      smallest = difference;
      best = i;
    }
  }
  return best;
}

/// The result of one read, tile by tile.
struct PlainRead {
  const PbiBuilder& store;
  std::size_t index;
  const ZRMBand& band;
  double west, north, w, t;
  int step;
  int channel;
  Pixels& out;

  void Tile(int r, int c) const {
    const PbiBuilder::Range& range = store.Ranges()[index];
    if (r < range.llRow || r > range.urRow || c < range.llCol || c > range.urCol) return;
    const double tileSouth = r * t - 90.0, tileNorth = tileSouth + t, tileWest = c * t - 180.0, tileEast = tileWest + t;
    const double s = w / (t * 0.00390625);
    double xBegin = tileWest, yBegin = tileNorth, xEnd = tileEast, yEnd = tileSouth;
    band.ConvWorldToPixelCoord(xBegin, yBegin);
    band.ConvWorldToPixelCoord(xEnd, yEnd);
    double yBand = yBegin;
    const int firstRow = static_cast<int>((north - tileNorth) / w), firstCol = static_cast<int>((tileWest - west) / w);
    for (int j = firstRow; j < static_cast<int>((north - tileSouth) / w) && yBand < yEnd; ++j, yBand += step) {
      double xBand = xBegin;
      for (int i = firstCol; i < static_cast<int>((tileEast - west) / w) && xBand < xEnd; ++i, xBand += step) {
        const int row = static_cast<int>(std::round((j - firstRow) * s));
        const int column = static_cast<int>(std::round((i - firstCol) * s));
        const int source = row * 256 + column;
        if (row >= range.height || column >= range.width || source >= range.width * range.height) continue;
        if (i < 0 || j < 0 || i >= out.width || j >= out.height) continue;
        const PbiBuilder::Pixel pixel = store.At(index, r, c, source % range.width, source / range.width);
        out.bytes[static_cast<std::size_t>(j * out.width + i)] = pixel[static_cast<std::size_t>(channel)];
      }
    }
  }
};

}  // namespace

Pixels ReadPlainly(const PbiBuilder& store, const ZRMBand& band, int level, const Window& window, int channel) {
  Pixels out{window.Width() >> level, window.Height() >> level, {}};
  if (out.width == 0 || out.height == 0) return {};
  out.bytes.resize(static_cast<std::size_t>(out.width * out.height));
  double west = window.x0, south = window.y1, east = window.x1, north = window.y0;
  band.ConvPixelToWorldCoord(west, south);
  band.ConvPixelToWorldCoord(east, north);
  const double w = window.x0 == window.x1 ? band.GetXPixelSize() : (east - west) / out.width;
  const std::size_t index = ChooseLevel(store, w);
  const double t = TileSizeOf(store.Ranges()[index].level);
  const PlainRead read{store, index, band, west, north, w, t, 1 << level, channel, out};
  for (int r = static_cast<int>((south - 1e-09 + 90.0) / t); r <= static_cast<int>((north - 1e-09 + 90.0) / t); ++r) {
    for (int c = static_cast<int>((west - 1e-09 + 180.0) / t); c <= static_cast<int>((east - 1e-09 + 180.0) / t); ++c) {
      read.Tile(r, c);
    }
  }
  return out;
}

Pixels PickExactly(const PbiBuilder& store, std::size_t index, int level, const Window& window, int channel) {
  const PbiBuilder::Range& range = store.Ranges()[index];
  Pixels out{window.Width() >> level, window.Height() >> level, {}};
  for (int j = 0; j < out.height; ++j) {
    for (int i = 0; i < out.width; ++i) {
      const int x = window.x0 + (i << level), y = window.y0 + (j << level);
      const int row = range.urRow - y / range.height, col = range.llCol + x / range.width;
      const PbiBuilder::Pixel pixel = store.At(index, row, col, x % range.width, y % range.height);
      out.bytes.push_back(pixel[static_cast<std::size_t>(channel)]);
    }
  }
  return out;
}
