#pragma once

#include "core/load/FormatRow.h"

#include <memory>
#include <vector>

namespace zrk {

/// Opens a file of another format as bands, the master before its followers, for a format whose images lie in such
/// files. The call's dataset tells the policy and may not be null; it gets nothing, and level data is not looked for.
/// Empty, with the reason in the call's `err`, where the file can't be opened, or the format has no bands to give. The
/// table answers it, which lies above all formats.
std::vector<std::unique_ptr<ZRMBand>> OpenBandsOf(int formatId, const RasterCall& call);

}  // namespace zrk
