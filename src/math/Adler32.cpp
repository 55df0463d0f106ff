// The checksum behind a zlib stream. Adler-32 is two sums modulo 65521. The first sum adds all bytes, beginning with 1.
// The second adds all values that the first one takes, so a byte counts in it as often as there are bytes from that
// byte to the end. Vectors add a run of bytes at once. A run is short enough for sums of 32 bits, and the remainders
// are taken once a run.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "math/Adler32.h"

#include <algorithm>
#include <cstddef>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/Adler32.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

namespace zrk {
#ifndef ZRK_ADLER_SUMS
#define ZRK_ADLER_SUMS
/// Both sums.
struct AdlerSums {
  std::uint32_t first = 1;
  std::uint32_t second = 0;
};

inline constexpr std::size_t kRun = 5552;

inline void AddBytes(std::span<const unsigned char> bytes, AdlerSums& sums) {
  constexpr std::uint32_t kPrime = 65521;
  while (!bytes.empty()) {
    const auto run = bytes.first(std::min(bytes.size(), kRun));
    for (const unsigned char byte : run) sums.second += sums.first += byte;
    sums.first %= kPrime;
    sums.second %= kPrime;
    bytes = bytes.subspan(run.size());
  }
}
#endif
}  // namespace zrk

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

void AddVectors(const unsigned char* bytes, std::size_t numVectors, AdlerSums& sums) {
  AddBytes({bytes, numVectors}, sums);
}

#else

/// Adds vectors of bytes; `numVectors` of them, in all at most 5,552 bytes. The second sum gets, for each vector, the
/// first sum as it was before, and the bytes by their places from the end of the vector.
void AddVectors(const unsigned char* bytes, std::size_t numVectors, AdlerSums& sums) {
  const hn::ScalableTag<std::uint8_t> u8;
  const hn::Repartition<std::uint16_t, decltype(u8)> u16;
  const hn::Repartition<std::uint64_t, decltype(u8)> u64;
  const std::size_t lanes = hn::Lanes(u8);
  auto total = hn::Zero(u64), totals = hn::Zero(u64);
  auto even = hn::Zero(u16), odd = hn::Zero(u16);
  for (std::size_t i = 0; i < numVectors; ++i, bytes += lanes) {
    const auto vector = hn::LoadU(u8, bytes);
    totals = hn::Add(totals, total);
    total = hn::Add(total, hn::SumsOf8(vector));
    const auto words = hn::BitCast(u16, vector);
    even = hn::Add(even, hn::And(words, hn::Set(u16, 0xff)));
    odd = hn::Add(odd, hn::ShiftRight<8>(words));
  }
  const auto sum = [&](auto vector) { return hn::GetLane(hn::SumOfLanes(u64, vector)); };
  HWY_ALIGN std::uint16_t columns[2][hn::MaxLanes(u16)];
  hn::Store(even, u16, columns[0]);
  hn::Store(odd, u16, columns[1]);
  std::uint64_t byPlace = 0;
  for (std::size_t i = 0; i < lanes; ++i) byPlace += (lanes - i) * columns[i % 2][i / 2];
  constexpr std::uint64_t kPrime = 65521;
  const std::uint64_t before = sums.first;
  sums.second = static_cast<std::uint32_t>(
      (sums.second + before * (numVectors * lanes) + lanes * sum(totals) + byPlace) % kPrime);
  sums.first = static_cast<std::uint32_t>((before + sum(total)) % kPrime);
}

#endif

std::size_t GetAdlerBytes() {
  return hn::Lanes(hn::ScalableTag<std::uint8_t>());
}

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {
namespace {

/// As many bytes of 255 as a word has room for.
constexpr std::size_t kMaxVectors = 257;

std::uint32_t Join(const AdlerSums& sums) {
  return sums.second << 16 | sums.first;
}

}  // namespace

HWY_EXPORT(AddVectors);
HWY_EXPORT(GetAdlerBytes);

std::uint32_t Adler32(std::span<const unsigned char> bytes) {
  AdlerSums sums;
  const std::size_t lanes = HWY_DYNAMIC_DISPATCH(GetAdlerBytes)();
  while (bytes.size() >= lanes) {
    const std::size_t numVectors = std::min(bytes.size() / lanes, kMaxVectors);
    HWY_DYNAMIC_DISPATCH(AddVectors)(bytes.data(), numVectors, sums);
    bytes = bytes.subspan(numVectors * lanes);
  }
  AddBytes(bytes, sums);
  return Join(sums);
}

std::uint32_t Adler32ByBytes(std::span<const unsigned char> bytes) {
  AdlerSums sums;
  AddBytes(bytes, sums);
  return Join(sums);
}

}  // namespace zrk
#endif
