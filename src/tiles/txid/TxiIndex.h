#pragma once

#include "base/Window.h"
#include "tagTxiInfo.h"
#include "XString.h"

#include <optional>
#include <vector>

namespace zrk {

/// The packed bytes of a tile of that size: 8 for each block of four by four pixels.
constexpr std::int64_t CalcPackedBytes(int tileSize) {
  const std::int64_t blocks = (std::int64_t{tileSize} + 3) / 4;
  return blocks * blocks * 8;
}

/// A pure function from the bytes of an index to its record. Nothing, with the reason in `err`, where it is damaged.
std::optional<tagTxiInfo> ParseTxi(std::vector<unsigned char> bytes, const XString& path, XString& err);

/// Reads the file and parses it. Sentences are those that callers know.
std::optional<tagTxiInfo> ReadTxiFile(const XString& path, XString& err);

/// The greatest offset of a tile; 0 where there is none.
std::uint64_t FindGreatestOffset(const tagTxiInfo& info);

/// Whether a tile exists that has a pixel of the window.
bool HasTileWithin(const tagTxiInfo& info, const Window& window);

/// How many of the listed tiles lie in the grid.
std::int64_t CountTilesInGrid(const tagTxiInfo& info);

}  // namespace zrk
