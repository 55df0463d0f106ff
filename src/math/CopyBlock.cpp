// Copies blocks of rows. Windows of an image have thousands of short rows, and for these a call to the system's copying
// takes as long as the bytes. So short rows are copied vector by vector here, and the rows to come are asked for ahead.
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

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

/// Copies rows of at least one vector. The last vector of a row overlaps the one before, so that no rest is left to
/// copy byte by byte and nothing is written beyond the row.
void CopyVectors(const unsigned char* from, std::int64_t fromStride, unsigned char* to, std::int64_t toStride,
                 std::size_t rowBytes, int rows) {
  const hn::ScalableTag<unsigned char> bytes;
  const std::size_t lanes = hn::Lanes(bytes);
  const int ahead = CountRowsAhead(rowBytes, rows);
  for (int y = 0; y < rows; ++y, from += fromStride, to += toStride) {
    if (y + ahead < rows) PrefetchBytes(from + ahead * fromStride, static_cast<std::int64_t>(rowBytes));
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
  constexpr std::size_t kLong = 4096;  // from here on the system's own copying is as good
  const auto count = static_cast<std::size_t>(rowBytes);
  if (count < kLong && count >= HWY_DYNAMIC_DISPATCH(GetVectorBytes)()) {
    HWY_DYNAMIC_DISPATCH(CopyVectors)(from, fromStride, to, toStride, count, rows);
    return;
  }
  const int ahead = CountRowsAhead(count, rows);
  for (int y = 0; y < rows; ++y, from += fromStride, to += toStride) {
    if (count < kLong && y + ahead < rows) __builtin_prefetch(from + ahead * fromStride);
    std::memcpy(to, from, count);
  }
}

}  // namespace zrk
#endif
