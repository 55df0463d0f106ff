#pragma once

#include "base/Window.h"
#include "core/level/PyramidStore.h"
#include "core/level/RowCascade.h"

namespace zrk {

/// Makes the images from `firstLevel` (1 or more) on from the ones above, as far as they depend on the window of
/// image 0, which lies within that.
bool MakeLowerLevels(PyramidStore& store, int firstLevel, const Window& window, const Reduction& how);

}  // namespace zrk
