#pragma once

namespace zrk {

/// A window of an image: the positions of its first and last column and row, all of which belong to it.
struct Window {
  int x0 = 0;
  int x1 = 0;
  int y0 = 0;
  int y1 = 0;

  // The sizes of a window that lies inside some image; those of any other may not fit into an int.

  int Width() const { return x1 - x0 + 1; }
  int Height() const { return y1 - y0 + 1; }
  /// Whether there is a window, and all of it lies in an image of that size.
  bool IsInside(int xSize, int ySize) const {
    return 0 <= x0 && x0 <= x1 && x1 < xSize && 0 <= y0 && y0 <= y1 && y1 < ySize;
  }
  friend bool operator==(const Window&, const Window&) = default;
};

}  // namespace zrk
