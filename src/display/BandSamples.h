#pragma once

#include "base/Window.h"
#include "tagXArr2.h"
#include "tagXSubsetStatistics.h"

#include <cstdint>

class ZRMBand;

namespace zrk {

/// More samples than these are not asked of a band at once.
inline constexpr std::int64_t kMaxSamplesAtOnce = std::int64_t{1} << 24;

/// A window of a band at some level.
struct BandSamples {
  tagXArr2* pixels = nullptr;  ///< the band's until the next read of its file, or the buffer that was handed in
  Window window;               ///< what the samples stand for, at full resolution
  int shift = 0;               ///< a sample stands for 2^shift columns and rows

  /// Where the sample of a column, or of a row, stands in the buffer. Columns and rows of the window that a level has
  /// no whole sample for take the last.
  int ColumnOf(int column) const {
    const int place = (column - window.x0) >> shift;
    return place < pixels->xSize ? place : pixels->xSize - 1;
  }
  int RowOf(int row) const {
    const int place = (row - window.y0) >> shift;
    return place < pixels->ySize ? place : pixels->ySize - 1;
  }
};

/// The highest level up to `wanted` that the band serves and has a sample at.
int FitLevel(ZRMBand& band, int wanted);
/// The highest level at which a sample stands for at most `step` columns or rows.
int LevelOfStep(double step);
/// The samples of a window at a level that `FitLevel` gave. `strip` serves bands that fill the buffer they are given.
/// False where the band can't be read.
bool ReadSamples(ZRMBand& band, int level, const Window& window, tagXArr2& strip, int* cancel, BandSamples& samples);
/// The statistics of a window, from the level that has at most about a million samples of it. False, with them as they
/// were, where it can't be read or has no sample that counts.
bool MeasureWindow(ZRMBand& band, const Window& window, tagXSubsetStatistics& statistics);

}  // namespace zrk
