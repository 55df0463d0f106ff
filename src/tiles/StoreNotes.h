#pragma once

#include "tagXFormatNotes.h"
#include "tiles/StoreForReading.h"

namespace zrk {

/// Tells of each level its range of rows and columns, the size and the bytes of its tiles, and what share of them is
/// empty, and whether that is a guess from some of them. `samples` is what a tile is made of: "pixels" or "posts".
void DescribeStore(const StoreForReading& store, const char* samples, tagXFormatNotes& notes);

}  // namespace zrk
