#pragma once

#include <cstdint>

namespace zrk {

/// Copies `rows` rows of `rowBytes` bytes. They lie `fromStride` bytes apart in the source and `toStride` bytes apart
/// in the target, which must not overlap. Made for many short rows, where a call for each would take as long as the
/// copying.
void CopyBlock(const unsigned char* from, std::int64_t fromStride, unsigned char* to, std::int64_t toStride,
               std::int64_t rowBytes, int rows);

}  // namespace zrk
