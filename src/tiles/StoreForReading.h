#pragma once

#include "tiles/StoreImage.h"
#include "tiles/TileFile.h"

#include <memory>
#include <optional>
#include <string>

namespace zrk {

/// An opened store. Nobody changes it while it is read.
struct StoreForReading {
  std::shared_ptr<TileFile> file;  ///< null where the file can't be opened
  std::optional<StoreHeader> header;
  std::optional<StoreImage> image;  ///< in exact reads alone
  std::string fault;                ///< why there is no image in an exact read

  bool IsExact() const { return image.has_value(); }
};

/// Opens a store. Under the compatible policy a file that is not there is made and stays empty. Under the exact one no
/// file is made, and the store has an image unless there is a fault.
StoreForReading OpenForReading(const std::string& path, StoreKind kind, bool isExact);

/// What is known of the tiles of a level: how many there are, and of those that were looked at, how many are empty.
/// A tile is empty where all its bytes are zero or it does not lie in the file.
struct TileShare {
  std::int64_t total = 0;
  std::int64_t looked = 0;
  std::int64_t empty = 0;
};

/// Looks at all tiles of a level, or at 256 of them, evenly spread, where there are more. It reads `maxBytes` at most:
/// fewer tiles are looked at where they are large.
TileShare CountEmptyTiles(const TileFile& file, const tagXTileLevel& level, std::int64_t maxBytes);

/// "row 3 and column 5 of level 2", for sentences about a tile.
std::string NameTile(const tagXTileLevel& level, int row, int col);

}  // namespace zrk
