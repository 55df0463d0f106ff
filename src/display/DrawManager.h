#pragma once

#include "display/Affine.h"
#include "ZRMCompManager.h"

namespace zrk {

/// Draws all composites of a manager into a buffer, from the last to the first, as far as pixels have their centre in
/// an extent of the buffer's world. Each is handed the first that has drawn. The result is a value of `XDrawResult`:
/// where a composite can't be drawn the others are, and then it is `kDrawFailed`.
int DrawManager(const ZRMCompManager& manager, XBackBuffer& buffer, const Extent& extent, int method, int* cancel);

}  // namespace zrk
