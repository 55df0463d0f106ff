#include "codec/J2kPlan.h"

#include <algorithm>

namespace zrk {

int J2kPlan::TileWidth() const {
  return std::min(tileSide, width);
}

int J2kPlan::TileHeight() const {
  return std::min(tileSide, height);
}

int J2kPlan::CountTileColumns() const {
  return (width - 1) / TileWidth() + 1;
}

std::int64_t J2kPlan::CountTiles() const {
  return std::int64_t{CountTileColumns()} * ((height - 1) / TileHeight() + 1);
}

Window J2kPlan::TileAt(int tile) const {
  const int x0 = tile % CountTileColumns() * TileWidth(), y0 = tile / CountTileColumns() * TileHeight();
  // A tile may end where an int does, so that sizes are compared and not ends.
  return {x0, x0 + std::min(TileWidth(), width - x0) - 1, y0, y0 + std::min(TileHeight(), height - y0) - 1};
}

std::int64_t J2kPlan::PixelBytes() const {
  std::int64_t bytes = 0;
  for (const J2kDepth& component : components) bytes += component.SampleBytes();
  return bytes;
}

bool J2kPlan::HasColourTransform() const {
  return components.size() >= 3 && components[0] == components[1] && components[0] == components[2];
}

}  // namespace zrk
