#pragma once

#include "codec/InflateCodes.h"
#include "codec/InflateStream.h"

namespace zrk {

enum class InflateOutcome { kGoesOn, kBlockEnd, kTooLong, kDamaged };

/// Unpacks what is packed by the codes, to the end of the block. Nothing beyond either end is touched, whatever the
/// bytes. Bits may have been taken that aren't there, and whoever goes on asks for that.
InflateOutcome InflateBlock(const InflateCodes& codes, InflateSource& in, InflateTarget& out);

}  // namespace zrk
