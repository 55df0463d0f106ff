#pragma once

#include "base/Window.h"
#include "core/level/PyramidStore.h"
#include "core/level/RowCascade.h"

namespace zrk {

/// Makes the images from `firstLevel` (1 or more) on, each from the one above, as far as they depend on the window. The
/// window lies within image 0. False where the store can't be read or written. Rows that were written by then stay.
bool MakeLowerLevels(PyramidStore& store, int firstLevel, const Window& window, const Reduction& how);

}  // namespace zrk
