#pragma once

#include "bands/tiff/TiffPieces.h"

#include <span>

namespace zrk {

/// Fills the targets in the way of the image's plan, as `TiffPieces` takes them. By the plan for compatible reads,
/// samples that can't be read are 0, and the result is false where the word behind `cancel` asked to stop. By an exact
/// plan it is false also where a sample can't be read, and the reason has been noted.
bool SampleTiff(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets,
                const int* cancel);

}  // namespace zrk
