#pragma once

#include "tagXTileLevel.h"
#include "XString.h"

#include <functional>
#include <span>

namespace zrk {

/// How many floats of a tile the raster needs.
constexpr int kBipFloatsOfTile = 61;

/// Fills the first floats of a tile; false where it can't be read.
using FirstFloats = std::function<bool(int row, int col, std::span<float> floats)>;

/// The text that describes the raster of a level.
XString DescribeBip(const tagXTileLevel& level);

/// Writes the raster of a level: 30 by 30 floats for each tile, the row of tiles in the north first. False where a tile
/// can't be read or the file can't be written.
bool WriteBip(const XString& path, const tagXTileLevel& level, const FirstFloats& firstFloats);

}  // namespace zrk
