#pragma once

#include "core/load/FormatRow.h"

namespace zrk {

/// The sentence that a load by the row has left in `err`, or a better one if that sentence hides the reason. A better
/// one tells that the first bytes are not those of the format, or that the file is damaged or of a kind that its loader
/// does not know.
XString ExplainFailedLoad(const FormatRow& row, const XString& path, const XString& err);

}  // namespace zrk
