#pragma once

#include "tagXTileLevel.h"

#include <cstdint>
#include <optional>

namespace zrk {

/// Whether the range of a level holds a tile.
constexpr bool HoldsTile(const tagXTileLevel& level, int row, int col) {
  return row >= level.llRow && row <= level.urRow && col >= level.llCol && col <= level.urCol;
}

/// Tiles in the range; 0 for an inverted one, and INT64_MAX for more than 64 bits hold.
std::int64_t CountTiles(const tagXTileLevel& level);

/// Bytes of all tiles of the range; INT64_MAX for more than 64 bits hold.
std::int64_t CountTileBytes(const tagXTileLevel& level);

/// Where a tile begins in the file. Empty outside the range, and where the numbers of a damaged file add up to no
/// offset.
std::optional<std::int64_t> OffsetOfTile(const tagXTileLevel& level, int row, int col);

}  // namespace zrk
