#pragma once

#include "base/PixelStorage.h"
#include "rpf/FramePaint.h"

#include <array>

namespace zrk {

/// A frame in its colours as the exact policy has it, with what is known of each subframe.
struct FramePlanes {
  enum class Subframe {
    kThere,
    kAbsent,   ///< the file says so; its pixels are transparent
    kCut,      ///< the file ends before its last byte
    kNoColour  ///< a pixel of it has no entry in the colour table
  };

  PixelStorage pixels;      ///< of 1536 x 1536 bytes a plane, one plane behind the other
  int numPlanes = 0;        ///< with that of opacity
  bool hasOpacity = false;  ///< the last plane: 0 where a pixel is transparent, 255 elsewhere
  int transparentGrey =
      -1;  ///< what transparent pixels of a grey frame have, and no other pixel; -1 without such pixels
  std::array<Subframe, kSubframes> subframes{};
};

/// Loads a frame for the exact policy; 0 with the reason in `err`.
int LoadExactly(XCIBframe& frame, const XString& path, FramePlanes& planes, XString& err);

/// Whether all subframes that the window touches can be read; notes the reason where they can't.
bool HoldsWindow(const FramePlanes& planes, int x0, int x1, int y0, int y1);

}  // namespace zrk
