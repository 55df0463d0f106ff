#pragma once

#include "rpf/FramePaint.h"
#include "rpf/FramePlanes.h"
#include "rpf/FrameSections.h"
#include "rpf/RpfBlocks.h"

namespace zrk {

/// Finds the bytes of all subframes, in the head of the file or behind it. `offset` is that of the spatial data. False
/// where a frame that has them can't be there.
bool FindSubframes(RpfBlocks& blocks, std::int64_t offset, const FrameMasks& masks, FrameSubframes& subframes);

/// The same under the exact policy: those that are not whole are left out, and `states` tells why.
void FindSubframesExactly(RpfBlocks& blocks, std::int64_t offset, const FrameMasks& masks, FrameSubframes& subframes,
                          std::array<FramePlanes::Subframe, kSubframes>& states);

}  // namespace zrk
