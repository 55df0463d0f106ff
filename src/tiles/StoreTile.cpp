// One tile taken out of a store of the globe.

#include "tiles/BlockCoder.h"
#include "tiles/ElevationPosts.h"
#include "tiles/StoreCheck.h"
#include "tiles/TileFile.h"
#include "tiles/TilePlace.h"
#include "XLimits.h"

#include <algorithm>

namespace zrk {
namespace {

int Refuse(XString& err, const XString& sentence) {
  err = sentence;
  return 0;
}

/// A tile's bytes, with the level that it is of.
struct FoundTile {
  double version = 0.0;
  tagXTileLevel level;
  std::vector<unsigned char> bytes;
};

int FindTile(const XString& path, StoreKind kind, const StoreTilePlace& place, FoundTile& found, XString& err) {
  const auto file = TileFile::Open(path, 0);
  if (!file) return Refuse(err, "The store can't be opened");
  const auto header = file->ReadHeader(kind);
  if (!header) return Refuse(err, "The file has no header of a tile store");
  const auto level = std::ranges::find(header->levels, place.level, &tagXTileLevel::level);
  if (level == header->levels.end()) return Refuse(err, "The store has no such level");
  if (CountTiles(*level) == 0) {
    err.Format("Level %d has no tiles", level->level);
    return 0;
  }
  if (!HoldsTile(*level, place.row, place.col)) {
    err.Format("Level %d has the rows %d to %d and the columns %d to %d", level->level, level->llRow, level->urRow,
               level->llCol, level->urCol);
    return 0;
  }
  const auto tile = file->Find(*level, place.row, place.col);
  if (!tile) return Refuse(err, "The tile does not lie in the file");
  found = {header->version, *level, std::vector<unsigned char>(static_cast<std::size_t>(tile->count))};
  if (file->Read(*tile, found.bytes.data()) != tile->count) return Refuse(err, "The tile can't be read");
  return 1;
}

}  // namespace

int ReadImageTile(const XString& path, const StoreTilePlace& place, tagXStoreTile& tile, XString& err) {
  FoundTile found;
  if (!FindTile(path, StoreKind::kImage, place, found, err)) return 0;
  const BlockShape shape = {static_cast<_XDXTTYPE>(found.level.blockType), found.level.tileWidth,
                            found.level.tileHeight};
  const std::size_t needed = BlockBytes(shape);
  if (needed == 0 || found.bytes.size() < needed) return Refuse(err, "The tile has no blocks that could be unpacked");
  const std::size_t pixelBytes =
      std::size_t{4} * static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(shape.height);
  if (pixelBytes > static_cast<std::size_t>(XfnGetLimits().decodedTileBytes)) {
    return Refuse(err, "The tiles are larger than the limits allow");
  }
  std::vector<unsigned char> rgba(pixelBytes);
  if (!DecodeBlocks(found.bytes, shape, rgba)) return Refuse(err, "The tile can't be unpacked");
  tile = {shape.width, shape.height, shape.type, std::move(found.bytes), std::move(rgba), {}};
  return 1;
}

int ReadElevationTile(const XString& path, const StoreTilePlace& place, tagXStoreTile& tile, XString& err) {
  FoundTile found;
  if (!FindTile(path, StoreKind::kElevation, place, found, err)) return 0;
  ElevationPosts posts;
  const PostGrid grid = {found.level.tileWidth, found.level.tileHeight};
  if (!TakePosts(found.bytes, found.version, grid, posts))
    return Refuse(err, "The tile has too few bytes for its posts");
  tile = {grid.width, grid.height, kDxtNone, std::move(found.bytes), {}, std::move(posts.heights)};
  return 1;
}

}  // namespace zrk
