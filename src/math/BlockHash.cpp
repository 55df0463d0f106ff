// XXH3 of blocks of one length, which fingerprints are made of. The hash keeps eight sums of 64 bits over stripes of
// eight words. Each word is combined with a word of a fixed key. The product of the two halves of the result is added
// to the sum of that word. The word itself is added to the neighbouring sum, so that it counts even if its product is
// 0. From stripe to stripe the key moves on by a word. After sixteen stripes the sums are scrambled. The last stripe
// has a part of the key to itself.
//
// Sums interact only in pairs. A vector therefore takes as many sums as it has lanes through the whole block, and then
// the next ones; the block is in the processor's cache meanwhile. Machines without vectors of two words use the plain
// loop.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "math/BlockHash.h"

#include <array>
#include <cstddef>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/BlockHash.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef ZRK_BLOCK_HASH_KEY
#define ZRK_BLOCK_HASH_KEY
namespace zrk {

using HashSums = std::array<std::uint64_t, 8>;

inline constexpr std::uint64_t kPrime32x1 = 0x9E3779B1, kPrime32x2 = 0x85EBCA77, kPrime32x3 = 0xC2B2AE3D;
inline constexpr std::uint64_t kPrime64x1 = 0x9E3779B185EBCA87, kPrime64x2 = 0xC2B2AE3D27D4EB4F,
                               kPrime64x3 = 0x165667B19E3779F9, kPrime64x4 = 0x85EBCA77C2B2AE63,
                               kPrime64x5 = 0x27D4EB2F165667C5;

inline constexpr HashSums kFirstSums = {kPrime32x3, kPrime64x1, kPrime64x2, kPrime64x3,
                                        kPrime64x4, kPrime32x2, kPrime64x5, kPrime32x1};

/// The published key. Words are in the machine's own order of bytes, which is the lowest first wherever this library
/// runs.
alignas(64) inline constexpr std::array<std::uint64_t, 24> kHashKey = {
    0xBE4BA423396CFEB8, 0x1CAD21F72C81017C, 0xDB979083E96DD4DE, 0x1F67B3B7A4A44072, 0x78E5C0CC4EE679CB,
    0x2172FFCC7DD05A82, 0x8E2443F7744608B8, 0x4C263A81E69035E0, 0xCB00C391BB52283C, 0xA32E531B8B65D088,
    0x4EF90DA297486471, 0xD8ACDEA946EF1938, 0x3F349CE33F76FAA8, 0x1D4F0BC7C7BBDCF9, 0x3159B4CD4BE0518A,
    0x647378D9C97E9FC8, 0xC3EBD33483ACC5EA, 0xEB6313FAFFA081C5, 0x49DAF0B751DD0D17, 0x9E68D429265516D3,
    0xFCA1477D58BE162B, 0xCE31D07AD1B8F88F, 0x280416958F3ACB45, 0x7E404BBBCAFBD7AF};
inline constexpr std::size_t kKeyBytes = sizeof(kHashKey), kStripeBytes = 64;
inline constexpr std::size_t kStripesPerGroup = (kKeyBytes - kStripeBytes) / 8;
inline constexpr std::size_t kScrambleKey = kKeyBytes - kStripeBytes, kLastKey = kScrambleKey - 7, kMergeKey = 11;
inline constexpr std::size_t kLastStripe = kHashBlock / kStripeBytes - 1;

inline const unsigned char* HashKeyAt(std::size_t offset) {
  return reinterpret_cast<const unsigned char*>(kHashKey.data()) + offset;
}

inline std::uint64_t HashWordAt(const unsigned char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

/// Leads one or more sums through a block. `add` gets the places of a stripe and of its key, and `scramble` that of the
/// key for scrambling.
template <class Add, class Scramble>
HWY_INLINE void ForEachStripe(const unsigned char* block, Add&& add, Scramble&& scramble) {
  std::size_t stripe = 0;
  for (; stripe + kStripesPerGroup <= kLastStripe; block += kStripesPerGroup * kStripeBytes) {
    for (std::size_t i = 0; i < kStripesPerGroup; ++i, ++stripe) add(block + i * kStripeBytes, HashKeyAt(8 * i));
    scramble(HashKeyAt(kScrambleKey));
  }
  for (std::size_t i = 0; stripe < kLastStripe; ++i, ++stripe, block += kStripeBytes) add(block, HashKeyAt(8 * i));
  add(block, HashKeyAt(kLastKey));
}

}  // namespace zrk
#endif

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
void SumBlock(const unsigned char* block, std::uint64_t* sums) {
  const auto add = [sums](const unsigned char* stripe, const unsigned char* key) {
    for (std::size_t i = 0; i < 8; ++i) {
      const std::uint64_t word = HashWordAt(stripe + 8 * i), keyed = word ^ HashWordAt(key + 8 * i);
      sums[i ^ 1] += word;
      sums[i] += (keyed & 0xFFFFFFFF) * (keyed >> 32);
    }
  };
  const auto scramble = [sums](const unsigned char* key) {
    for (std::size_t i = 0; i < 8; ++i) {
      sums[i] = (sums[i] ^ (sums[i] >> 47) ^ HashWordAt(key + 8 * i)) * kPrime32x1;
    }
  };
  ForEachStripe(block, add, scramble);
}
#else
void SumBlock(const unsigned char* block, std::uint64_t* sums) {
  const hn::CappedTag<std::uint64_t, 8> words;
  const hn::Repartition<std::uint32_t, decltype(words)> halves;
  const hn::Repartition<std::uint8_t, decltype(words)> bytes;
  const auto load = [&](const unsigned char* place) { return hn::BitCast(words, hn::LoadU(bytes, place)); };
  // The product of the lower halves of two words.
  const auto multiply = [&](auto a, auto b) { return hn::MulEven(hn::BitCast(halves, a), hn::BitCast(halves, b)); };
  const auto prime = hn::Set(words, kPrime32x1);
  for (std::size_t lane = 0; lane < 8; lane += hn::Lanes(words)) {
    auto sum = hn::LoadU(words, sums + lane);
    const auto add = [&](const unsigned char* stripe, const unsigned char* key) {
      const auto word = load(stripe + 8 * lane), keyed = hn::Xor(word, load(key + 8 * lane));
      sum = hn::Add(sum, hn::Add(multiply(keyed, hn::ShiftRight<32>(keyed)), hn::Shuffle01(word)));
    };
    const auto scramble = [&](const unsigned char* key) {
      const auto mixed = hn::Xor(hn::Xor(sum, hn::ShiftRight<47>(sum)), load(key + 8 * lane));
      // A product of 64 bits of two of 32.
      sum = hn::Add(multiply(mixed, prime), hn::ShiftLeft<32>(multiply(hn::ShiftRight<32>(mixed), prime)));
    };
    ForEachStripe(block, add, scramble);
    hn::StoreU(sum, words, sums + lane);
  }
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {
namespace {

/// Both halves of the product of 128 bits, one laid over the other.
std::uint64_t FoldProduct(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = Wide{a} * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

std::uint64_t MergeSums(const HashSums& sums) {
  std::uint64_t hash = std::uint64_t{kHashBlock} * kPrime64x1;
  for (std::size_t i = 0; i < sums.size(); i += 2) {
    hash += FoldProduct(sums[i] ^ HashWordAt(HashKeyAt(kMergeKey + 8 * i)),
                        sums[i + 1] ^ HashWordAt(HashKeyAt(kMergeKey + 8 * i + 8)));
  }
  hash = (hash ^ (hash >> 37)) * 0x165667919E3779F9;
  return hash ^ (hash >> 32);
}

}  // namespace

HWY_EXPORT(SumBlock);

std::uint64_t HashBlock(const unsigned char* block) {
  HashSums sums = kFirstSums;
  HWY_DYNAMIC_DISPATCH(SumBlock)(block, sums.data());
  return MergeSums(sums);
}

}  // namespace zrk
#endif
