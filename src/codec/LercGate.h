#pragma once

#include <span>

namespace zrk {

/// Whether the structure of a LERC blob of one band, one value a pixel and no mask is sound. LERC's own decoder takes
/// counts and indices from a blob without holding them against what there is. It reads beyond its memory where they are
/// too small or too large. A checksum does not help, since whoever forges a blob can set it right.
///
/// `version` is the one version of the blob that is taken.
bool IsSoundLerc(std::span<const unsigned char> blob, unsigned version);

}  // namespace zrk
