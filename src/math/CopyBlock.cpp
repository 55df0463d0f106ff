// Compiled once for every instruction set that the machine may have; Highway includes this file again for each.

#include "math/CopyBlock.h"

#include "math/Prefetch.h"

#include <cstddef>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/CopyBlock.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Rows of at least one vector; the last vector of a row overlaps the one before.
void CopyVectors(const unsigned char* from, std::int64_t fromStride, unsigned char* to, std::int64_t toStride,
                 std::size_t rowBytes, int rows) {
  const hn::ScalableTag<unsigned char> bytes;
  const std::size_t lanes = hn::Lanes(bytes);
  for (int y = 0; y < rows; ++y, from += fromStride, to += toStride) {
    if (y + kPrefetchRows < rows) PrefetchBytes(from + kPrefetchRows * fromStride, static_cast<std::int64_t>(rowBytes));
    for (std::size_t i = 0; i + lanes <= rowBytes; i += lanes) hn::StoreU(hn::LoadU(bytes, from + i), bytes, to + i);
    hn::StoreU(hn::LoadU(bytes, from + rowBytes - lanes), bytes, to + rowBytes - lanes);
  }
}

std::size_t GetVectorBytes() {
  return hn::Lanes(hn::ScalableTag<unsigned char>());
}

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {

HWY_EXPORT(CopyVectors);
HWY_EXPORT(GetVectorBytes);

void CopyBlock(const unsigned char* from, std::int64_t fromStride, unsigned char* to, std::int64_t toStride,
               std::int64_t rowBytes, int rows) {
  constexpr std::size_t kLong = 4096;  // from where the system's own copying is as good
  const auto count = static_cast<std::size_t>(rowBytes);
  if (count < kLong && count >= HWY_DYNAMIC_DISPATCH(GetVectorBytes)()) {
    HWY_DYNAMIC_DISPATCH(CopyVectors)(from, fromStride, to, toStride, count, rows);
    return;
  }
  for (int y = 0; y < rows; ++y, from += fromStride, to += toStride) std::memcpy(to, from, count);
}

}  // namespace zrk
#endif
