// The posts of a window, tile by tile. A tile is read by one positional read, from the first post that the window takes
// to the last one. In a store with normals the posts of a tile stand before its normals, and the normals are not read.

#include "tiles/pbe/PbeWindow.h"

#include "base/ReadError.h"
#include "XThread.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zrk {

namespace {

constexpr double kFirstVersionOfFloats = 1.1;

}  // namespace

bool HasShortPosts(const StoreHeader& header) {
  return header.version < kFirstVersionOfFloats;
}

PbeWindow::PbeWindow(const StoreForReading& store, PbeScratch& scratch, tagXArr2& heights)
    : store_(store),
      scratch_(scratch),
      heights_(heights),
      isShort_(HasShortPosts(*store.header)),
      postBytes_(isShort_ ? 2 : 4) {
  std::memset(heights_.data, 0,
              static_cast<std::size_t>(heights_.xSize) * static_cast<std::size_t>(heights_.ySize) *
                  static_cast<std::size_t>(heights_.elementSize));
}

bool PbeWindow::ReadCompatibly(const tagXTileLevel& level, const int* cancel) {
  for (const StoreVisit& row : scratch_.rows.visits) {
    if (XfnIsStopRequested(cancel)) return false;
    for (const StoreVisit& column : scratch_.columns.visits) {
      const auto tile = store_.file->Find(level, row.tile, column.tile);
      if (!tile) continue;
      ReadPosts(*tile, row, column);
      Put(row, column);
    }
  }
  return true;
}

bool PbeWindow::ReadExactly(const StoreImage::Level& level, const int* cancel) {
  stride_ = level.tileWidth + 1;
  for (const StoreVisit& row : scratch_.rows.visits) {
    if (XfnIsStopRequested(cancel)) return false;
    for (const StoreVisit& column : scratch_.columns.visits) {
      const tagXTileLevel* const range = level.FindRange(row.tile, column.tile);
      if (!range) continue;
      const char* fault = FindFault(*range);
      const auto tile = store_.file->Find(*range, row.tile, column.tile);
      if (!fault && !tile) fault = " does not lie in the file";
      if (!fault && !ReadPosts(*tile, row, column)) fault = " can't be read";
      if (fault) {
        NoteReadError(("The tile in " + NameTile(*range, row.tile, column.tile) + fault).c_str());
        return false;
      }
      Put(row, column);
    }
  }
  return true;
}

const char* PbeWindow::FindFault(const tagXTileLevel& level) const {
  const std::int64_t needed = std::int64_t{level.tileWidth} * level.tileHeight * postBytes_;
  return level.storageSize < needed ? " has fewer bytes than its posts need" : nullptr;
}

/// Posts behind the end of the tile are 0. False where less could be read than the tile has.
bool PbeWindow::ReadPosts(const TileBytes& tile, const StoreVisit& row, const StoreVisit& column) {
  const auto indexOf = [&](int y, int x) { return (std::int64_t{y} * stride_ + x) * postBytes_; };
  const std::int64_t first = indexOf(scratch_.rows.FirstOf(row), scratch_.columns.FirstOf(column));
  const std::int64_t end = indexOf(scratch_.rows.LastOf(row), scratch_.columns.LastOf(column)) + postBytes_;
  const std::int64_t inTile = std::clamp<std::int64_t>(tile.count / postBytes_ * postBytes_ - first, 0, end - first);
  scratch_.posts.resize(static_cast<std::size_t>(end - first));
  std::fill(scratch_.posts.begin() + inTile, scratch_.posts.end(), static_cast<unsigned char>(0));
  return inTile == 0 || store_.file->Read(tile.offset + first, inTile, scratch_.posts.data()) == inTile;
}

void PbeWindow::Put(const StoreVisit& row, const StoreVisit& column) {
  if (!isShort_) {
    PutAs<std::uint32_t, std::uint32_t>(row, column);  // floats as they are, whatever they mean
  } else if (store_.IsExact()) {
    PutAs<std::int16_t, std::int16_t>(row, column);
  } else {
    PutAs<std::int16_t, float>(row, column);
  }
}

template <class Post, class Height>
void PbeWindow::PutAs(const StoreVisit& row, const StoreVisit& column) {
  const int* const xs = scratch_.columns.SourcesOf(column);
  const int* const ys = scratch_.rows.SourcesOf(row);
  const bool isRun = std::is_same_v<Post, Height> && scratch_.columns.IsRun(column);
  for (int j = 0; j < row.count; ++j) {
    const std::int64_t index = std::int64_t{ys[j] - ys[0]} * stride_;
    const unsigned char* const posts = scratch_.posts.data() + index * postBytes_;
    unsigned char* const heights =
        heights_.Row(row.first + j) + std::size_t{sizeof(Height)} * static_cast<std::size_t>(column.first);
    if (isRun) {
      std::memcpy(heights, posts, sizeof(Height) * static_cast<std::size_t>(column.count));
      continue;
    }
    for (int i = 0; i < column.count; ++i) {
      Post post;
      std::memcpy(&post, posts + std::ptrdiff_t{xs[i] - xs[0]} * postBytes_, sizeof post);
      const auto height = static_cast<Height>(post);
      std::memcpy(heights + sizeof(Height) * static_cast<std::size_t>(i), &height, sizeof height);
    }
  }
}

}  // namespace zrk
