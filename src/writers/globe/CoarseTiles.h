#pragma once

#include "writers/globe/ExportFile.h"
#include "writers/globe/TileMaker.h"

namespace zrk {

/// What tiles of a coarser level are made of.
struct FinerLevel {
  const ExportFile& file;
  const tagXTileLevel& level;
  bool isExact;  ///< a tile that can't be read fails the one made of it; otherwise it counts as black
};

/// A maker of tiles from those of the next finer level. Returns null with the reason in `err`.
std::unique_ptr<TileMaker> NewCoarseMaker(const FinerLevel& finer, double tileSize, XString& err);

}  // namespace zrk
