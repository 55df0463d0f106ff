#pragma once

#include "bands/nitf/NitfFile.h"
#include "core/model/PlainWindow.h"

#include <memory>
#include <optional>

namespace zrk {

/// Where the samples of a band lie in its file. Empty for images that are compressed, have blocks left out, or have
/// samples of other than whole bytes, and for a layout that GDAL understands otherwise than the headers tell it.
std::optional<PlainBlocks> FindPlainNitf(const NitfLayout& layout, int band, std::shared_ptr<const RowFile> file);

}  // namespace zrk
