#pragma once

#include "core/load/FormatRow.h"

namespace zrk {

/// What a load by the row has left in `err`, or a better sentence where that hides the reason: a file whose first bytes
/// are not those of the format, or one that is damaged or of a kind that its loader does not know.
XString ExplainFailedLoad(const FormatRow& row, const XString& path, const XString& err);

}  // namespace zrk
