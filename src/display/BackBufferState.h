#pragma once

#include "display/DrawScratch.h"
#include "display/PictureGrid.h"
#include "XBackBuffer.h"

#include <vector>

namespace zrk {

/// The pixels and the place of a buffer, and the working memory of those who draw into it.
struct BackBufferState {
  bool isCreated = false;
  std::vector<unsigned char> pixels;  ///< packed rows from the bottom up, blue first
  XColour backColour = 0x00FFFFFF;
  double opacity = 1.0;
  PictureGrid grid;
  XSpatialReference sr;
  std::uint64_t systemId = 0;  ///< another one with each system that is set
  DrawScratch scratch;

  /// The first pixel of a row, which is counted from the top.
  unsigned char* Row(int y) {
    const auto fromBottom = static_cast<std::size_t>(grid.height - 1 - y);
    return pixels.data() + fromBottom * static_cast<std::size_t>(grid.width) * 3;
  }
};

/// The way of the drawing code into a buffer.
struct BackBufferAccess {
  static BackBufferState& Of(XBackBuffer& buffer) { return *buffer.state_; }
};

/// A number that no system had before, so that what was worked out for a system is found again without comparing them.
std::uint64_t NextSystemId();

}  // namespace zrk
