// Compiled once for every instruction set that the machine may have; Highway includes this file again for each.

#include "math/Interleave.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/Interleave.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Bytes = hn::ScalableTag<unsigned char>;

/// Pixels of whole vectors; the last vector overlaps the one before, so that no tail is left for a row of at least one.
template <class SplitVector>
std::size_t ForWholeVectors(std::size_t count, std::size_t lanes, SplitVector splitAt) {
  if (count < lanes) return 0;
  for (std::size_t i = 0; i + lanes <= count; i += lanes) splitAt(i);
  if (count % lanes != 0) splitAt(count - lanes);
  return count;
}

std::size_t Split3(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                   unsigned char* plane2) {
  const Bytes bytes;
  return ForWholeVectors(count, hn::Lanes(bytes), [&](std::size_t i) {
    hn::Vec<Bytes> v0, v1, v2;
    hn::LoadInterleaved3(bytes, source + 3 * i, v0, v1, v2);
    hn::StoreU(v0, bytes, plane0 + i);
    hn::StoreU(v1, bytes, plane1 + i);
    hn::StoreU(v2, bytes, plane2 + i);
  });
}

std::size_t Split4(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                   unsigned char* plane2, unsigned char* plane3) {
  const Bytes bytes;
  return ForWholeVectors(count, hn::Lanes(bytes), [&](std::size_t i) {
    hn::Vec<Bytes> v0, v1, v2, v3;
    hn::LoadInterleaved4(bytes, source + 4 * i, v0, v1, v2, v3);
    hn::StoreU(v0, bytes, plane0 + i);
    hn::StoreU(v1, bytes, plane1 + i);
    hn::StoreU(v2, bytes, plane2 + i);
    hn::StoreU(v3, bytes, plane3 + i);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {

HWY_EXPORT(Split3);
HWY_EXPORT(Split4);

void TakeByte(const unsigned char* source, std::size_t count, int pixelBytes, int step, int byteIndex,
              unsigned char* plane) {
  const std::size_t stride = static_cast<std::size_t>(pixelBytes) * static_cast<std::size_t>(step);
  source += byteIndex;
  for (std::size_t i = 0; i < count; ++i) plane[i] = source[i * stride];
}

void SplitPixels3(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                  unsigned char* plane2) {
  if (HWY_DYNAMIC_DISPATCH(Split3)(source, count, plane0, plane1, plane2) == count) return;
  TakeByte(source, count, 3, 1, 0, plane0);
  TakeByte(source, count, 3, 1, 1, plane1);
  TakeByte(source, count, 3, 1, 2, plane2);
}

void SplitPixels4(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                  unsigned char* plane2, unsigned char* plane3) {
  if (HWY_DYNAMIC_DISPATCH(Split4)(source, count, plane0, plane1, plane2, plane3) == count) return;
  TakeByte(source, count, 4, 1, 0, plane0);
  TakeByte(source, count, 4, 1, 1, plane1);
  TakeByte(source, count, 4, 1, 2, plane2);
  TakeByte(source, count, 4, 1, 3, plane3);
}

}  // namespace zrk
#endif
