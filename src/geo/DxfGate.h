#pragma once

#include "XFile.h"
#include "XString.h"

#include <cstdint>

namespace zrk {

/// What a reader makes of a drawing at most, so that a small file can't keep it busy for hours.
inline constexpr std::int64_t kMostUnfoldedEntities = 10'000'000;

/// The reason against handing a DXF file to a reader that puts the contents of blocks in place of their insertions:
/// blocks that hold each other, are nested deeper than `maxDepth`, or unfold to more than `kMostUnfoldedEntities`.
/// Empty where there is none. Says nothing about whether the file is a drawing.
XString FindDxfDanger(const XFile& file, int maxDepth);

}  // namespace zrk
