#pragma once

#include "rpf/FramePaint.h"
#include "rpf/FrameSections.h"
#include "rpf/RpfBlocks.h"

namespace zrk {

/// Finds the bytes of all subframes, in the head of the file or behind it. `offset` is that of the spatial data. False
/// where a frame that has them can't be there.
bool FindSubframes(RpfBlocks& blocks, std::int64_t offset, const FrameMasks& masks, FrameSubframes& subframes);

}  // namespace zrk
