#include "tiles/StoreForReading.h"

#include "base/Disk.h"
#include "tiles/TilePlace.h"

#include <algorithm>

namespace zrk {

namespace {

constexpr std::int64_t kMaxTilesLookedAt = 256;

/// Whether all bytes of a tile are zero; empty where more than `bytesLeft` would have to be read to know. A tile that
/// holds something mostly shows it at once, so that little of it is read at first.
std::optional<bool> IsEmpty(const TileFile& file, const TileBytes& tile, std::vector<unsigned char>& buffer,
                            std::int64_t& bytesLeft) {
  constexpr std::int64_t kAtFirst = 4096, kAtOnce = 65536;
  for (std::int64_t done = 0; done < tile.count;) {
    const std::int64_t count = std::min(tile.count - done, done == 0 ? kAtFirst : kAtOnce);
    if (count > bytesLeft) return std::nullopt;
    bytesLeft -= count;
    buffer.resize(static_cast<std::size_t>(count));
    file.Read(tile.offset + done, count, buffer.data());
    if (std::ranges::any_of(buffer, [](unsigned char byte) { return byte != 0; })) return false;
    done += count;
  }
  return true;
}

}  // namespace

StoreForReading OpenForReading(const std::string& path, StoreKind kind, bool isExact) {
  StoreForReading store;
  if (!isExact || CurrentDisk().Exists(path)) store.file = TileFile::Open(XString(path.c_str()), 0);
  if (store.file) store.header = store.file->ReadHeader(kind);
  if (!isExact) return store;
  if (!store.file) {
    store.fault = "There is no such file, or it is empty";
  } else if (!store.header) {
    store.fault = kind == StoreKind::kImage ? "It is no image store" : "It is no elevation store";
  } else {
    store.image = StoreImage::Make(*store.header, kind, store.fault);
  }
  return store;
}

TileShare CountEmptyTiles(const TileFile& file, const tagXTileLevel& level, std::int64_t maxBytes) {
  TileShare share{CountTiles(level)};
  const std::int64_t wanted = std::min(share.total, kMaxTilesLookedAt);
  const std::int64_t columns = std::int64_t{level.urCol} - level.llCol + 1;
  std::int64_t bytesLeft = maxBytes;
  std::vector<unsigned char> buffer;
  for (std::int64_t i = 0; i < wanted; ++i) {
    // The middle of each part. A step and a rest keep the product within 64 bits.
    const std::int64_t index = share.total / wanted * i + share.total % wanted * i / wanted + share.total / wanted / 2;
    const auto row = static_cast<int>(level.llRow + index / columns);
    const auto col = static_cast<int>(level.llCol + index % columns);
    const std::optional<TileBytes> tile = file.Find(level, row, col);
    const std::optional<bool> isEmpty = tile ? IsEmpty(file, *tile, buffer, bytesLeft) : std::optional<bool>(true);
    if (!isEmpty) break;
    ++share.looked;
    if (*isEmpty) ++share.empty;
  }
  return share;
}

std::string NameTile(const tagXTileLevel& level, int row, int col) {
  return "row " + std::to_string(row) + " and column " + std::to_string(col) + " of level " +
         std::to_string(level.level);
}

}  // namespace zrk
