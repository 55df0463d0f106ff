// A block of DXT1 has two colours of 5, 6 and 5 bits, and for each of its 16 pixels a code of 2 bits. The codes choose
// among four colours. Where the first number is greater than the second, two colours lie between; otherwise one does,
// and the fourth is transparent black.
//
// Vectors take one block a lane of 32 bits. The four values that a channel can have in a block fill its lane, so that
// one shuffle of bytes looks up a row of four pixels in each block of the vector. The planes that callers want come out
// at once, without pixels in between.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "tiles/txid/BlockPlanes.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tiles/txid/BlockPlanes.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

/// For machines without vectors.
void UnpackAll(const unsigned char* blocks, std::size_t numBlocks, const BlockRows& rows) {
  for (std::size_t x = 0; x < numBlocks * kBlockSide; ++x) {
    for (std::size_t y = 0; y < kBlockSide; ++y) {
      const unsigned char* const block = blocks + x / kBlockSide * kBlockBytes;
      const auto pixel = UnpackPixel(block, static_cast<int>(x % kBlockSide), static_cast<int>(y));
      for (std::size_t k = 0; k < kNumPlanes; ++k) rows[kBlockSide * k + y][x] = pixel[k];
    }
  }
}

void UnpackPart(const unsigned char* blocks, std::size_t begin, std::size_t end, const BlockRows& rows) {
  for (std::size_t x = begin; x < end; ++x) {
    for (std::size_t y = 0; y < kBlockSide; ++y) {
      const unsigned char* const block = blocks + x / kBlockSide * kBlockBytes;
      const auto pixel = UnpackPixel(block, static_cast<int>(x % kBlockSide), static_cast<int>(y));
      for (std::size_t k = 0; k < kNumPlanes; ++k) rows[kBlockSide * k + y][x - begin] = pixel[k];
    }
  }
}

#else

namespace hn = hwy::HWY_NAMESPACE;
using Words = hn::CappedTag<std::uint32_t, 16>;
using Word = hn::Vec<Words>;

constexpr Words kWords;

/// A component of both colours of each block, widened to 8 bits by repeating its upper bits.
template <int kShift, int kBits>
Word TakeComponent(Word colours) {
  const Word value = hn::And(hn::ShiftRight<kShift>(colours), hn::Set(kWords, (1U << kBits) - 1));
  return hn::Or(hn::ShiftLeft<8 - kBits>(value), hn::ShiftRight<2 * kBits - 8>(value));
}

/// The four values of a channel, one a byte. Sums are at most 765, of which the product is an exact third.
template <class Mask>
Word MixValues(Word first, Word second, Mask isOpaque) {
  const Word sum = hn::Add(first, second);
  const Word third = hn::Set(kWords, 21846);
  const Word nearFirst = hn::ShiftRight<16>(hn::Mul(hn::Add(sum, first), third));
  const Word nearSecond = hn::ShiftRight<16>(hn::Mul(hn::Add(sum, second), third));
  const Word middle = hn::IfThenElse(isOpaque, nearFirst, hn::ShiftRight<1>(sum));
  const Word last = hn::IfThenElseZero(isOpaque, nearSecond);
  const Word low = hn::Or(first, hn::ShiftLeft<8>(second));
  return hn::Or(low, hn::Or(hn::ShiftLeft<16>(middle), hn::ShiftLeft<24>(last)));
}

/// The codes of a row of pixels, a byte each, and where in the vector of its block the block's values begin.
template <class Bytes>
hn::Vec<Bytes> SpreadCodes(Word codes, Word places, Bytes bytes) {
  const Word row = hn::And(codes, hn::Set(kWords, 0xFF));
  const Word pairs = hn::Or(row, hn::ShiftLeft<6>(row));
  const Word each = hn::And(hn::Or(pairs, hn::ShiftLeft<12>(pairs)), hn::Set(kWords, 0x03030303));
  return hn::BitCast(bytes, hn::Or(each, places));
}

using Bytes = hn::Repartition<std::uint8_t, Words>;
constexpr Bytes kBytes;

/// Writes all pixels of a row.
struct WholeStore {
  void operator()(hn::Vec<Bytes> pixels, unsigned char* to) const { hn::StoreU(pixels, kBytes, to); }
};

/// Writes the pixels of a row from `begin` up to `end`, without it, and touches no memory before or behind them.
class PartStore {
 public:
#if HWY_TARGET <= HWY_AVX3
  PartStore(std::size_t begin, std::size_t end)
      : mask_(hn::AndNot(hn::FirstN(kBytes, begin), hn::FirstN(kBytes, end))) {}
  void operator()(hn::Vec<Bytes> pixels, unsigned char* to) const {
    hn::BlendedStore(pixels, mask_, kBytes, to);
  }

 private:
  hn::Mask<Bytes> mask_;
#else
  PartStore(std::size_t begin, std::size_t end) : begin_(begin), count_(end - begin) {}
  void operator()(hn::Vec<Bytes> pixels, unsigned char* to) const {
    alignas(64) unsigned char all[kMaxBlocksAtOnce * kBlockSide];
    hn::Store(pixels, kBytes, all);
    std::memcpy(to + begin_, all + begin_, count_);
  }

 private:
  std::size_t begin_, count_;
#endif
};

/// One vector of blocks, whose pixels begin at column `x` of the rows.
template <class Store>
HWY_INLINE void UnpackVector(const unsigned char* blocks, Word places, const BlockRows& rows, std::ptrdiff_t x,
                             const Store& store) {
  Word colours, codes;
  hn::LoadInterleaved2(kWords, reinterpret_cast<const std::uint32_t*>(blocks), colours, codes);
  const Word first = hn::And(colours, hn::Set(kWords, 0xFFFF)), second = hn::ShiftRight<16>(colours);
  const auto isOpaque = hn::Gt(first, second);
  const auto mix = [&](Word a, Word b) { return hn::BitCast(kBytes, MixValues(a, b, isOpaque)); };
  const auto red = mix(TakeComponent<11, 5>(first), TakeComponent<11, 5>(second));
  const auto green = mix(TakeComponent<5, 6>(first), TakeComponent<5, 6>(second));
  const auto blue = mix(TakeComponent<0, 5>(first), TakeComponent<0, 5>(second));
  const Word solid = hn::Set(kWords, 0xFFFFFFFF), withHole = hn::Set(kWords, 0x00FFFFFF);
  const auto alpha = hn::BitCast(kBytes, hn::IfThenElse(isOpaque, solid, withHole));
  for (std::size_t row = 0; row < kBlockSide; ++row, codes = hn::ShiftRight<8>(codes)) {
    const auto codesOfRow = SpreadCodes(codes, places, kBytes);
    store(hn::TableLookupBytes(red, codesOfRow), rows[row] + x);
    store(hn::TableLookupBytes(green, codesOfRow), rows[kBlockSide + row] + x);
    store(hn::TableLookupBytes(blue, codesOfRow), rows[2 * kBlockSide + row] + x);
    store(hn::TableLookupBytes(alpha, codesOfRow), rows[3 * kBlockSide + row] + x);
  }
}

Word PlacesInVectors() {
  const Word inVector = hn::And(hn::Iota(kWords, 0), hn::Set(kWords, 3));
  return hn::Mul(inVector, hn::Set(kWords, 0x04040404));
}

/// The last vector overlaps the one before, so that nothing is left over.
void UnpackAll(const unsigned char* blocks, std::size_t numBlocks, const BlockRows& rows) {
  const std::size_t lanes = hn::Lanes(kWords);
  const Word places = PlacesInVectors();
  const std::size_t last = numBlocks > lanes ? numBlocks - lanes : 0;
  const auto unpack = [&](std::size_t i) {
    const auto x = static_cast<std::ptrdiff_t>(i * kBlockSide);
    UnpackVector(blocks + i * kBlockBytes, places, rows, x, WholeStore());
  };
  for (std::size_t i = 0; i < last; i += lanes) unpack(i);
  unpack(last);
}

/// Only the first and the last vector may have pixels that are not wanted.
void UnpackPart(const unsigned char* blocks, std::size_t begin, std::size_t end, const BlockRows& rows) {
  const std::size_t lanes = hn::Lanes(kWords), pixels = lanes * kBlockSide;
  const Word places = PlacesInVectors();
  const std::size_t numBlocks = (end + kBlockSide - 1) / kBlockSide;
  const std::size_t last = numBlocks > lanes ? numBlocks - lanes : 0;
  const auto unpack = [&](std::size_t i, const auto& store) {
    const auto x = static_cast<std::ptrdiff_t>(i * kBlockSide) - static_cast<std::ptrdiff_t>(begin);
    UnpackVector(blocks + i * kBlockBytes, places, rows, x, store);
  };
  const auto unpackPart = [&](std::size_t i, std::size_t from, std::size_t to) {
    if (from == 0 && to == pixels) return unpack(i, WholeStore());
    unpack(i, PartStore(from, to));
  };
  if (last == 0) return unpackPart(0, begin, end);
  unpackPart(0, begin, pixels);
  for (std::size_t i = lanes; i < last; i += lanes) unpack(i, WholeStore());
  unpackPart(last, 0, end - last * kBlockSide);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zrk {
namespace {

HWY_EXPORT(UnpackAll);
HWY_EXPORT(UnpackPart);

unsigned char Widen(unsigned value, int numBits) {
  return static_cast<unsigned char>(value << (8 - numBits) | value >> (2 * numBits - 8));
}

/// The value of a code between those of the two colours.
unsigned char Mix(unsigned first, unsigned second, unsigned code, bool isOpaque) {
  if (code == 0) return static_cast<unsigned char>(first);
  if (code == 1) return static_cast<unsigned char>(second);
  if (!isOpaque) return static_cast<unsigned char>(code == 2 ? (first + second) / 2 : 0);
  return static_cast<unsigned char>(code == 2 ? (2 * first + second) / 3 : (first + 2 * second) / 3);
}

}  // namespace

void UnpackToPlanes(const unsigned char* blocks, std::size_t numBlocks, const BlockRows& rows) {
  HWY_DYNAMIC_DISPATCH(UnpackAll)(blocks, numBlocks, rows);
}

void UnpackPartToPlanes(const unsigned char* blocks, std::size_t begin, std::size_t end, const BlockRows& rows) {
  HWY_DYNAMIC_DISPATCH(UnpackPart)(blocks, begin, end, rows);
}

std::array<unsigned char, kNumPlanes> UnpackPixel(const unsigned char* block, int x, int y) {
  const unsigned first = block[0] | static_cast<unsigned>(block[1]) << 8;
  const unsigned second = block[2] | static_cast<unsigned>(block[3]) << 8;
  const unsigned code = static_cast<unsigned>(block[4 + y]) >> (2 * x) & 3U;
  const bool isOpaque = first > second;
  const auto channel = [&](int shift, int numBits) {
    const unsigned mask = (1U << numBits) - 1;
    return Mix(Widen(first >> shift & mask, numBits), Widen(second >> shift & mask, numBits), code, isOpaque);
  };
  const unsigned char alpha = !isOpaque && code == 3 ? 0 : 255;
  return {channel(11, 5), channel(5, 6), channel(0, 5), alpha};
}

}  // namespace zrk

#endif  // HWY_ONCE
