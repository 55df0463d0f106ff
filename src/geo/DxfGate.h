#pragma once

#include "XFile.h"
#include "XString.h"

#include <cstdint>

namespace zrk {

/// How many entities a drawing may unfold to, so that a small file can't keep a reader busy for hours.
inline constexpr std::int64_t kMaxUnfoldedEntities = 10'000'000;

/// The reason against handing a DXF file to a reader that puts the contents of blocks in place of their insertions;
/// empty where there is no such reason. Refused are blocks that hold each other, that are nested deeper than
/// `maxDepth`, or that unfold to more than `kMaxUnfoldedEntities`. Says nothing about whether the file is a drawing.
XString FindDxfDanger(const XFile& file, int maxDepth);

}  // namespace zrk
