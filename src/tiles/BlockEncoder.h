#pragma once

#include "tiles/BlockStrip.h"

namespace zrk {

/// Packs the blocks of a strip to 8 bytes each.
void EncodeStrip(const BlockStrip& strip, std::uint8_t* blocks);

/// The same block by block, as the method is told. Slow, and there so that the other can be held against it.
void EncodeStripPlainly(const BlockStrip& strip, std::uint8_t* blocks);

}  // namespace zrk
