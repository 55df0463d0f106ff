#include "PbeReference.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

double TileSizeOf(int level) {
  return 18.0 / std::pow(2.0, std::max(level, 0));
}

std::size_t ChooseLevel(const PbeBuilder& store, double spacing) {
  std::size_t best = 0;
  double smallest = 1e300;
  for (std::size_t i = 0; i < store.Ranges().size(); ++i) {
    const double difference = std::abs(TileSizeOf(store.Ranges()[i].level) / 30.0 - spacing);
    if (difference < smallest) {
      smallest = difference;
      best = i;
    }
  }
  return best;
}

/// The post of a tile at an index that counts rows of 31 posts.
float PostAt(const PbeBuilder& store, std::size_t index, int row, int col, int post) {
  const int width = store.Ranges()[index].width;
  if (post >= width * store.Ranges()[index].height) return 0.0f;
  return static_cast<float>(store.At(index, row, col, post % width, post / width));
}

}  // namespace

std::vector<float> FloatsOf(const Pixels& pixels) {
  std::vector<float> floats(pixels.bytes.size() / 4);
  std::memcpy(floats.data(), pixels.bytes.data(), pixels.bytes.size());
  return floats;
}

std::vector<short> ShortsOf(const Pixels& pixels) {
  std::vector<short> shorts(pixels.bytes.size() / 2);
  std::memcpy(shorts.data(), pixels.bytes.data(), pixels.bytes.size());
  return shorts;
}

Pixels ReadPlainly(const PbeBuilder& store, const ZRMBand& band, int level, const Window& window) {
  const int width = window.Width() >> level, height = window.Height() >> level;
  if (width == 0 || height == 0) return {};
  double west = window.x0, south = window.y1, east = window.x1, north = window.y0;
  band.ConvPixelToWorldCoord(west, south);
  band.ConvPixelToWorldCoord(east, north);
  const double stepX = (east - west) / width, stepY = (north - south) / height;
  const std::size_t index = ChooseLevel(store, stepX != 0.0 ? stepX : stepY != 0.0 ? stepY : band.GetXPixelSize());
  const PbeBuilder::Range& range = store.Ranges()[index];
  const double t = TileSizeOf(range.level);
  std::vector<float> heights(static_cast<std::size_t>(width * height));
  const int lastRow = std::min(static_cast<int>(((north + 90.0) - 1e-09) / t), range.urRow);
  const int lastCol = std::min(static_cast<int>((east + 180.0) / t), range.urCol);
  for (int r = std::max(static_cast<int>(((south + 90.0) - 1e-09) / t), range.llRow); r <= lastRow; ++r) {
    for (int c = std::max(static_cast<int>((west + 180.0) / t), range.llCol); c <= lastCol; ++c) {
      const double tileWest = c * t - 180.0, tileEast = tileWest + t, tileSouth = r * t - 90.0,
                   tileNorth = tileSouth + t;
      double y = north;
      for (int j = 0; j < height; ++j, y -= stepY) {
        const double row = 30.0 - ((y - tileSouth) * 30.0) / (tileNorth - tileSouth);
        double x = west;
        for (int i = 0; i < width; ++i, x += stepX) {
          const double column = ((x - tileWest) * 30.0) / (tileEast - tileWest) + 0.0;
          if (row < 0.0 || row > 30.0 || column < 0.0 || column > 30.0) continue;
          heights[static_cast<std::size_t>(j * width + i)] =
              PostAt(store, index, r, c, static_cast<int>(column) + static_cast<int>(row) * 31);
        }
      }
    }
  }
  Pixels pixels{width, height, {}, 4};
  pixels.bytes.resize(heights.size() * 4);
  std::memcpy(pixels.bytes.data(), heights.data(), pixels.bytes.size());
  return pixels;
}
