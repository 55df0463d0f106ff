#pragma once

#include "XPBELevelInfo.h"
#include "XTileFileInfo.h"

namespace Vexorine::ZRL::IO {

extern template class ZRKIO_API XTileFileInfo<XPBELevelInfo>;

/// The header of an elevation store.
class ZRKIO_API XPBEFileInfo : public XTileFileInfo<XPBELevelInfo> {
 public:
  using XTileFileInfo::XTileFileInfo;

  /// Appends a level of a range of tiles, each of `storageSize` bytes. Its tiles lie at the next position. True, unless
  /// there is no memory for it.
  bool AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight, int storageSize);
  /// The same, but the tiles lie at an offset of their own.
  bool AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight, int storageSize,
                std::uint64_t offset);
  /// The same of the whole earth.
  bool AddLevel(int level, int tileWidth, int tileHeight, int storageSize);

  /// Offset of a tile in the file: 0 for an unknown level, and 0 too for a tile outside the range of the first level of
  /// that number. `GetAvailable` tells the two apart.
  std::int64_t GetOffset(int level, int row, int col) const;
  /// Whether some level of that number holds the tile.
  bool GetAvailable(int level, int row, int col) const;

  /// The bytes of the header, as many as `GetHeaderSize` tells; the caller releases them by `delete[]`. Returns null
  /// where the levels do not fit into so many, and where there is no memory.
  unsigned char* GetBindInfo() const;
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XPBEFileInfo;
