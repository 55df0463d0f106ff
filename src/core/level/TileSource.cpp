#include "core/level/TileSource.h"

#include "core/level/PyramidStore.h"
#include "core/level/TopMaker.h"
#include "XEPOT2D.h"
#include "XTileSource.h"

#include <algorithm>

namespace zrk {
namespace {

/// About how much is read at once, so that it is still near the core when it is hashed and made smaller.
constexpr std::int64_t kRunBytes = 512 << 10;
/// Larger tiles are read in parts, through the band.
constexpr std::int64_t kMaxSourceTileBytes = 4 << 20;

/// Whether at least half of what whole tiles hold lies in the window.
bool FillsItsTiles(const PyramidLayout& source, const Window& window) {
  const std::int64_t xTile = source.Shape().xTile, numColumns = (window.Width() - 1) / xTile + 1;
  return 2 * std::int64_t{window.Width()} >= numColumns * xTile;
}

bool HasWholeTiles(const PyramidLayout& source, const PyramidLayout& top, const Window& window, int scale) {
  const int xTile = source.Shape().xTile, yTile = source.Shape().yTile;
  const bool isInside = window.x1 < source.Width(0) && window.y1 < source.Height(0);
  const bool isAligned = window.x0 % xTile == 0 && window.y0 % yTile == 0 && scale * top.Shape().yTile % yTile == 0;
  return isInside && isAligned && xTile % scale == 0 && yTile % scale == 0 && source.SampleBytes() == top.SampleBytes();
}

}  // namespace

const PlainStore* FindTileStore(ZRMBand& band) {
  const auto* const source = dynamic_cast<const XTileSource*>(&band);
  const XEPOT2D* const epot = source ? source->GetTileStore() : nullptr;
  return epot ? dynamic_cast<const PlainStore*>(epot->GetStore().get()) : nullptr;
}

std::optional<TileSource> TileSource::Find(const PyramidBand& band, const TopMaker& top, const Window& window) {
  const PlainStore* const store = FindTileStore(*band.source);
  const int scale = top.GetBlockScale();
  if (!store || !top.CanMakeBlocks() || !store->HasAlignedSamples()) return std::nullopt;
  const PyramidLayout& source = store->Layout();
  const bool isWorthIt = source.TileBytes() <= kMaxSourceTileBytes && FillsItsTiles(source, window);
  if (!isWorthIt || !HasWholeTiles(source, band.store->Layout(), window, scale)) return std::nullopt;
  return TileSource(*store, band.fingerprint, scale);
}

int TileSource::CountTopRows() const {
  return store_->Layout().Shape().yTile / scale_;
}

/// Tiles side by side are one read. They come to lie in memory as they do in the file.
bool TileSource::Read(const Window& window, std::vector<unsigned char>& room,
                      const std::function<void(const Part&)>& take) const {
  const PyramidLayout& source = store_->Layout();
  const int xTile = source.Shape().xTile, yTile = source.Shape().yTile;
  const int perRun = static_cast<int>(std::max<std::int64_t>(kRunBytes / source.TileBytes(), 1));
  const int first = window.x0 / xTile, end = window.x1 / xTile + 1;
  for (int row = window.y0 / yTile; row <= window.y1 / yTile; ++row) {
    const int y = row * yTile, top = (y - window.y0) / scale_, rows = std::min(yTile, window.y1 - y + 1) / scale_;
    for (int column = first; column < end; column += perRun) {
      const int count = std::min(perRun, end - column);
      const unsigned char* tile = store_->ReadTiles({0, column, row, count}, room, fingerprint_);
      if (!tile) return false;
      for (int i = 0; i < count; ++i, tile += source.TileBytes()) {
        const int x = (column + i) * xTile;
        const int width = std::min(xTile, window.x1 - x + 1) / scale_;
        take({tile, source.TileRowBytes(), (x - window.x0) / scale_, top, width, rows});
      }
    }
  }
  return true;
}

}  // namespace zrk
