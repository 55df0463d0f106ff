#pragma once

#include <cstdint>
#include <map>

/// The index of a TXID store, as its file with the extension txi has it. Square tiles are numbered row by row from the
/// upper left one, and only those that are listed exist.
struct tagTxiInfo {
  int numXTiles = 0;
  int numYTiles = 0;
  int tileSize = 0;             ///< in pixels, each way
  std::int64_t xPixelSize = 0;  ///< in units of 1e-08 degree, and so the next
  std::int64_t yPixelSize = 0;
  double x = 0.0;  ///< of the upper left corner, in degrees
  double y = 0.0;
  int tileDataSize = 0;  ///< bytes of each packed tile; 0 or less where the file tells none
  /// By the key of a tile, numXTiles * row + column, its offset in the data files laid one behind the other. Keys that
  /// no tile has may be among them.
  std::map<std::int32_t, std::uint64_t> tiles;
};
