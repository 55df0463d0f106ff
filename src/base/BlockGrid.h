#pragma once

namespace zrk {

/// Pixels of an image at one resolution, in blocks. The last blocks of a row and of a column may reach beyond it.
struct BlockGrid {
  int width = 0;
  int height = 0;
  int blockWidth = 0;
  int blockHeight = 0;
  friend bool operator==(const BlockGrid&, const BlockGrid&) = default;
};

}  // namespace zrk
