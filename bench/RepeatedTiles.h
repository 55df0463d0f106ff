#pragma once

#include <string>

/// A picture of `numTiles` tiles each way, whose tiles from number `period` on repeat those before.
struct TileRepeat {
  int period;
  int numTiles;
};

/// Copies the tiles of a GeoPackage that has those of the first period alone, in its table "globe".
void RepeatPackageTiles(const std::string& path, const TileRepeat& repeat);
/// Makes a BigTIFF that has the tiles of the first period alone show them everywhere, by its table of tiles. Each is
/// still in the file once, which makes the file smaller and quicker to read than one of as many tiles of their own.
void RepeatTiffTiles(const std::string& path, const TileRepeat& repeat);
