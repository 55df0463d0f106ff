#pragma once

#include "tagXTileLevel.h"
#include "XExport.h"
#include "XString.h"

#include <cstdint>

namespace Vexorine::ZRL::IO {

/// A level of a tile store: what image and elevation stores have in common. An object never changes, so that any number
/// of threads may ask it.
class ZRKIO_API XTileLevelInfo {
 public:
  /// All fields 0.
  XTileLevelInfo() = default;
  explicit XTileLevelInfo(const tagXTileLevel& record) : record_(record) {}

  /// All of it, as a record.
  const tagXTileLevel& GetRecord() const { return record_; }

  /// The number of the level; 0 is the coarsest.
  int GetLevel() const { return record_.level; }
  /// The range of tiles, lowest and highest row and column, all inclusive. Rows count northward, columns eastward.
  int GetLLRow() const { return record_.llRow; }
  int GetLLCol() const { return record_.llCol; }
  int GetURRow() const { return record_.urRow; }
  int GetURCol() const { return record_.urCol; }
  /// In degrees.
  double GetTileSize() const { return record_.tileSize; }
  /// In pixels or posts.
  int GetTileWidth() const { return record_.tileWidth; }
  int GetTileHeight() const { return record_.tileHeight; }
  /// Bytes of a tile.
  int GetTileStorageSize() const { return record_.storageSize; }
  /// Offset of the first tile in the file.
  std::uint64_t GetStartPos() const { return record_.startPos; }

  /// Tiles in the range; 0 for an inverted range, and INT_MAX for more than an int holds.
  int GetNumTiles() const;
  /// Whether the range holds the tile, both ends inclusive.
  bool GetAvailable(int row, int col) const;
  /// Offset of a tile in the file; 0 outside the range, and where the numbers of a damaged file give no offset.
  std::int64_t GetOffset(int row, int col) const;

 protected:
  /// The lines that all stores show of a level.
  XString DescribeTiles() const;

 private:
  tagXTileLevel record_;
};

}  // namespace Vexorine::ZRL::IO
