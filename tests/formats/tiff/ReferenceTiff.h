#pragma once

#include "TiffBuilder.h"

#include <cstdint>
#include <functional>
#include <set>
#include <vector>

/// Works out what a window of a TIFF band is, sample by sample.
///
/// The columns x0, x0 + s, ... and the rows y0, y0 + s, ..., s being 2 to the power of the level, say how many samples
/// a block gives. In a block they are taken at steps of s from where the window begins in it, which is the block's own
/// first pixel in all but the first. A block that can't be read gives none, and the blocks on its right move up to its
/// place; rows stay where they are. What nothing is written to is 0.
struct ReferenceTiff {
  using Samples = std::vector<std::uint64_t>;

  ReferenceTiff() = default;
  ReferenceTiff(const TiffBuilder& file, int sample);

  Samples Read(int level, int x0, int x1, int y0, int y1) const;

  int width = 0;
  int height = 0;
  int blockWidth = 0;
  int blockHeight = 0;
  std::function<std::uint64_t(int x, int y)> value;
  std::set<int> unreadable;    ///< blocks of one plane, counted row by row
  std::vector<short> palette;  ///< what a value becomes, and entry 0 one beyond it; empty for none
};
