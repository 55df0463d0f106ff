#pragma once

#include "bands/hfa/HfaFile.h"
#include "core/model/PlainWindow.h"

#include <memory>
#include <optional>

namespace zrk {

/// Where the blocks of layer `number` lie in its file. Empty where one of them is compressed, left out or in another
/// file, where samples have other than whole bytes, and for a file that describes its records otherwise than all known
/// ones do.
std::optional<PlainBlocks> FindPlainHfa(const std::shared_ptr<const RowFile>& file, int number, const HfaLayer& layer);

}  // namespace zrk
