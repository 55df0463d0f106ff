// Files keep the samples of a pixel together, and bands want each channel by itself. These loops take interleaved
// pixels apart into planes, and put planes together.
//
// Pixels of two to four samples of up to four bytes go through vectors. A row of at least one vector leaves no rest:
// its last vector overlaps the one before. Vector functions answer how many pixels they did, which is all of them or
// none, so that the caller falls back to its plain twin for a row that is too short. Other shapes are copied sample by
// sample.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "math/Interleave.h"

#include <cstdint>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/Interleave.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Bytes = hn::ScalableTag<unsigned char>;

/// Calls `splitAt` for vectors of pixels that together cover the row. Answers `count`, or 0 for a row that is shorter
/// than one vector.
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

std::size_t Join3(const unsigned char* plane0, const unsigned char* plane1, const unsigned char* plane2,
                  std::size_t count, unsigned char* pixels) {
  const Bytes bytes;
  return ForWholeVectors(count, hn::Lanes(bytes), [&](std::size_t i) {
    hn::StoreInterleaved3(hn::LoadU(bytes, plane0 + i), hn::LoadU(bytes, plane1 + i), hn::LoadU(bytes, plane2 + i),
                          bytes, pixels + 3 * i);
  });
}

template <class Lane, int kSamples>
/// Takes one sample of each pixel. All samples of a vector of pixels are loaded, since memory comes in whole lines
/// anyway; the others are dropped.
std::size_t TakeOne(const unsigned char* source, std::size_t count, int index, unsigned char* plane) {
  const hn::ScalableTag<Lane> lanes;
  using Vector = hn::Vec<decltype(lanes)>;
  const auto* from = reinterpret_cast<const Lane*>(source);
  auto* to = reinterpret_cast<Lane*>(plane);
  return ForWholeVectors(count, hn::Lanes(lanes), [&](std::size_t i) {
    Vector v0, v1, v2, v3;
    if constexpr (kSamples == 2) {
      hn::LoadInterleaved2(lanes, from + 2 * i, v0, v1);
      v2 = v3 = v1;
    } else if constexpr (kSamples == 3) {
      hn::LoadInterleaved3(lanes, from + 3 * i, v0, v1, v2);
      v3 = v2;
    } else {
      hn::LoadInterleaved4(lanes, from + 4 * i, v0, v1, v2, v3);
    }
    hn::StoreU(index == 0 ? v0 : index == 1 ? v1 : index == 2 ? v2 : v3, lanes, to + i);
  });
}

template <class Lane>
std::size_t TakeLanes(const unsigned char* source, std::size_t count, int numSamples, int index, unsigned char* plane) {
  if (numSamples == 2) return TakeOne<Lane, 2>(source, count, index, plane);
  if (numSamples == 3) return TakeOne<Lane, 3>(source, count, index, plane);
  return TakeOne<Lane, 4>(source, count, index, plane);
}

template <class Lane, int kSamples>
/// Takes all samples of each pixel. Samples are moved and never computed with, so that 32-bit lanes serve reals as
/// well.
std::size_t SplitAll(const unsigned char* source, std::size_t count, unsigned char* const* planes) {
  const hn::ScalableTag<Lane> lanes;
  const auto* from = reinterpret_cast<const Lane*>(source);
  const auto to = [planes](int plane) { return reinterpret_cast<Lane*>(planes[plane]); };
  return ForWholeVectors(count, hn::Lanes(lanes), [&](std::size_t i) {
    hn::Vec<decltype(lanes)> v0, v1, v2, v3;
    if constexpr (kSamples == 2) {
      hn::LoadInterleaved2(lanes, from + 2 * i, v0, v1);
    } else if constexpr (kSamples == 3) {
      hn::LoadInterleaved3(lanes, from + 3 * i, v0, v1, v2);
    } else {
      hn::LoadInterleaved4(lanes, from + 4 * i, v0, v1, v2, v3);
    }
    hn::StoreU(v0, lanes, to(0) + i);
    hn::StoreU(v1, lanes, to(1) + i);
    if constexpr (kSamples >= 3) hn::StoreU(v2, lanes, to(2) + i);
    if constexpr (kSamples == 4) hn::StoreU(v3, lanes, to(3) + i);
  });
}

template <class Lane>
std::size_t SplitLanes(const unsigned char* source, std::size_t count, int numSamples, unsigned char* const* planes) {
  if (numSamples == 2) return SplitAll<Lane, 2>(source, count, planes);
  if (numSamples == 3) return SplitAll<Lane, 3>(source, count, planes);
  return SplitAll<Lane, 4>(source, count, planes);
}

std::size_t SplitVectors(const unsigned char* source, std::size_t count, int numSamples, int sampleBytes,
                         unsigned char* const* planes) {
  if (sampleBytes == 1) return SplitLanes<std::uint8_t>(source, count, numSamples, planes);
  if (sampleBytes == 2) return SplitLanes<std::uint16_t>(source, count, numSamples, planes);
  return SplitLanes<std::uint32_t>(source, count, numSamples, planes);
}

std::size_t TakeVectors(const unsigned char* source, std::size_t count, int numSamples, int sampleBytes, int index,
                        unsigned char* plane) {
  if (sampleBytes == 1) return TakeLanes<std::uint8_t>(source, count, numSamples, index, plane);
  if (sampleBytes == 2) return TakeLanes<std::uint16_t>(source, count, numSamples, index, plane);
  return TakeLanes<std::uint32_t>(source, count, numSamples, index, plane);
}

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {

HWY_EXPORT(Split3);
HWY_EXPORT(Split4);
HWY_EXPORT(Join3);
HWY_EXPORT(SplitVectors);
HWY_EXPORT(TakeVectors);

namespace {

template <int kBytes>
// The size of a sample is a constant here, so that a copy of it is one load and one store.
void Gather(const unsigned char* source, std::size_t count, std::ptrdiff_t stride, unsigned char* plane) {
  for (std::size_t i = 0; i < count; ++i, source += stride, plane += kBytes) std::memcpy(plane, source, kBytes);
}

template <int kBytes>
void Scatter(const unsigned char* plane, std::size_t count, std::ptrdiff_t stride, unsigned char* target) {
  for (std::size_t i = 0; i < count; ++i, plane += kBytes, target += stride) std::memcpy(target, plane, kBytes);
}

}  // namespace

void ScatterSamples(const unsigned char* plane, std::size_t count, std::ptrdiff_t stride, int sampleBytes,
                    unsigned char* target) {
  switch (sampleBytes) {
    case 1:
      return Scatter<1>(plane, count, stride, target);
    case 2:
      return Scatter<2>(plane, count, stride, target);
    case 4:
      return Scatter<4>(plane, count, stride, target);
    case 8:
      return Scatter<8>(plane, count, stride, target);
    default:
      for (std::size_t i = 0; i < count; ++i, plane += sampleBytes, target += stride) {
        std::memcpy(target, plane, static_cast<std::size_t>(sampleBytes));
      }
  }
}

void JoinPixels3(const unsigned char* plane0, const unsigned char* plane1, const unsigned char* plane2,
                 std::size_t count, unsigned char* pixels) {
  if (HWY_DYNAMIC_DISPATCH(Join3)(plane0, plane1, plane2, count, pixels) == count) return;
  ScatterSamples(plane0, count, 3, 1, pixels);
  ScatterSamples(plane1, count, 3, 1, pixels + 1);
  ScatterSamples(plane2, count, 3, 1, pixels + 2);
}

void GatherSamples(const unsigned char* source, std::size_t count, std::ptrdiff_t stride, int sampleBytes,
                   unsigned char* plane) {
  switch (sampleBytes) {
    case 1:
      return Gather<1>(source, count, stride, plane);
    case 2:
      return Gather<2>(source, count, stride, plane);
    case 4:
      return Gather<4>(source, count, stride, plane);
    case 8:
      return Gather<8>(source, count, stride, plane);
    default:
      return Gather<16>(source, count, stride, plane);
  }
}

void TakeSample(const unsigned char* source, std::size_t count, int numSamples, int sampleBytes, int index,
                unsigned char* plane) {
  if (count == 0) return;
  const bool hasVectors = numSamples >= 2 && numSamples <= 4 && sampleBytes <= 4;
  if (hasVectors && HWY_DYNAMIC_DISPATCH(TakeVectors)(source, count, numSamples, sampleBytes, index, plane) == count)
    return;
  GatherSamples(source + std::ptrdiff_t{index} * sampleBytes, count, std::ptrdiff_t{numSamples} * sampleBytes,
                sampleBytes, plane);
}

void SplitSamples(const unsigned char* source, std::size_t count, int numSamples, int sampleBytes,
                  unsigned char* const* planes) {
  if (count == 0) return;
  const bool hasVectors = numSamples >= 2 && numSamples <= 4 && sampleBytes <= 4;
  if (hasVectors && HWY_DYNAMIC_DISPATCH(SplitVectors)(source, count, numSamples, sampleBytes, planes) == count) return;
  for (int i = 0; i < numSamples; ++i) {
    GatherSamples(source + std::ptrdiff_t{i} * sampleBytes, count, std::ptrdiff_t{numSamples} * sampleBytes,
                  sampleBytes, planes[i]);
  }
}

void TakeByte(const unsigned char* source, std::size_t count, int pixelBytes, int step, int byteIndex,
              unsigned char* plane) {
  const std::size_t stride = static_cast<std::size_t>(pixelBytes) * static_cast<std::size_t>(step);
  const auto first = static_cast<std::size_t>(byteIndex);
  for (std::size_t i = 0; i < count; ++i) plane[i] = source[first + i * stride];
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
