#pragma once

#include <span>

namespace zrk {

/// Whether the structure of a LERC blob of one band, one value a pixel and no mask is sound. LERC's own decoder takes
/// counts of numbers and indices of tables from a blob without holding them against what there is, and reads beyond its
/// memory where they are too small or too large; a checksum that was set right does not keep anybody from that.
///
/// `version` is the one version of the blob that is taken.
bool IsSoundLerc(std::span<const unsigned char> blob, unsigned version);

}  // namespace zrk
