// A block of DXT1 has two colours of 5, 6 and 5 bits, and for each of its 16 pixels a code of 2 bits. The codes choose
// among four colours. Where the first number is greater than the second, two colours lie between; otherwise one does,
// and the fourth is transparent black.
//
// Vectors take one block a lane of 32 bits. The four values that a channel can have in a block fill its lane, so that
// one shuffle of bytes looks up a row of four pixels in each block of the vector. The planes that callers want come out
// at once, without pixels in between. Until then the halves of a lane are at work side by side: on both colours, on
// both colours in between, and on both pairs of codes of a row.
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

void UnpackArea(const BlockArea& area, const PlaneArea& planes) {
  for (std::size_t y = 0; y < area.numRows * kBlockSide; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    for (std::size_t x = area.begin; x < area.end; ++x) {
      const unsigned char* const block = area.blocks + row / kBlockSide * area.rowBytes + x / kBlockSide * kBlockBytes;
      const auto pixel = UnpackPixel(block, static_cast<int>(x % kBlockSide), static_cast<int>(y % kBlockSide));
      for (std::size_t k = 0; k < kNumPlanes; ++k) planes.first[k][row * planes.rowBytes + x - area.begin] = pixel[k];
    }
  }
}

#else

namespace hn = hwy::HWY_NAMESPACE;
using Words = hn::CappedTag<std::uint32_t, 16>;
using Halves = hn::Repartition<std::uint16_t, Words>;
using Bytes = hn::Repartition<std::uint8_t, Words>;
using Word = hn::Vec<Words>;
using Half = hn::Vec<Halves>;
using Byte = hn::Vec<Bytes>;

constexpr Words kWords;
constexpr Halves kHalves;
constexpr Bytes kBytes;

HWY_INLINE Half Bits(std::uint16_t bits) {
  return hn::Set(kHalves, bits);
}

/// How the colours in between come from sums of the two. Where a block is opaque the sum has one of them twice, and the
/// product is a third of it, exactly, since sums are at most 765. Otherwise the first product is half of the sum, and
/// the second one 0.
struct Mixing {
  Half twice;    // all bits where a colour counts twice
  Half factors;  // times 65,536
};

/// The four values of a channel, one a byte. Both colours are there in 8 bits.
HWY_INLINE Byte MixValues(Half colours, const Mixing& mixing, Byte order) {
  const Half sums = hn::Add(hn::Add(colours, hn::Reverse2(kHalves, colours)), hn::And(colours, mixing.twice));
  const Half between = hn::MulHigh(sums, mixing.factors);
  return hn::TableLookupBytes(hn::BitCast(kBytes, hn::Or(colours, hn::ShiftLeft<8>(between))), order);
}

/// The four channels of the vector's blocks. Components are widened to 8 bits by repeating their upper bits.
struct Palette {
  Byte red, green, blue, alpha;

  HWY_INLINE Palette(Word words, Byte order) {
    const auto isOpaque = hn::Gt(hn::And(words, hn::Set(kWords, 0xFFFF)), hn::ShiftRight<16>(words));
    const Mixing mixing = {
        hn::BitCast(kHalves, hn::VecFromMask(kWords, isOpaque)),
        hn::BitCast(kHalves, hn::IfThenElse(isOpaque, hn::Set(kWords, 0x55565556), hn::Set(kWords, 0x00008000)))};
    const Half colours = hn::BitCast(kHalves, words);
    red =
        MixValues(hn::Or(hn::And(hn::ShiftRight<8>(colours), Bits(0xF8)), hn::ShiftRight<13>(colours)), mixing, order);
    green = MixValues(
        hn::Or(hn::And(hn::ShiftRight<3>(colours), Bits(0xFC)), hn::And(hn::ShiftRight<9>(colours), Bits(0x03))),
        mixing, order);
    blue = MixValues(
        hn::Or(hn::And(hn::ShiftLeft<3>(colours), Bits(0xF8)), hn::And(hn::ShiftRight<2>(colours), Bits(0x07))), mixing,
        order);
    const Word solid = hn::Set(kWords, 0xFFFFFFFF), withHole = hn::Set(kWords, 0x00FFFFFF);
    alpha = hn::BitCast(kBytes, hn::IfThenElse(isOpaque, solid, withHole));
  }
};

/// The codes of each row of pixels, still two pixels to half a lane.
struct CodePairs {
  Half rows[kBlockSide];

  HWY_INLINE explicit CodePairs(Word codes) {
    const Word nibbles = hn::Set(kWords, 0x0F0F0F0F), low = hn::Set(kWords, 0xFFFF);
    const Word left = hn::And(codes, nibbles), right = hn::And(hn::ShiftRight<4>(codes), nibbles);
    const Half upper = hn::BitCast(kHalves, hn::Or(hn::And(left, low), hn::ShiftLeft<16>(right)));
    const Half lower = hn::BitCast(kHalves, hn::Or(hn::ShiftRight<16>(left), hn::AndNot(low, right)));
    rows[0] = hn::And(upper, Bits(0xFF));
    rows[1] = hn::ShiftRight<8>(upper);
    rows[2] = hn::And(lower, Bits(0xFF));
    rows[3] = hn::ShiftRight<8>(lower);
  }

  /// The codes of a row, a byte each, and where in the vector of its block the block's values begin. The product sets a
  /// pair apart.
  HWY_INLINE Byte Spread(std::size_t row, Half places) const {
    const Half apart = hn::And(hn::Mul(rows[row], Bits(0x41)), Bits(0x0303));
    return hn::BitCast(kBytes, hn::Or(apart, places));
  }
};

/// Writes all pixels of a row.
struct WholeStore {
  HWY_INLINE void operator()(Byte pixels, unsigned char* to) const { hn::StoreU(pixels, kBytes, to); }
};

/// Writes the pixels of a row from `begin` up to `end`, without it, and touches no memory before or behind them.
class PartStore {
 public:
#if HWY_TARGET <= HWY_AVX3
  PartStore(std::size_t begin, std::size_t end)
      : mask_(hn::AndNot(hn::FirstN(kBytes, begin), hn::FirstN(kBytes, end))) {}
  HWY_INLINE void operator()(Byte pixels, unsigned char* to) const {
    hn::BlendedStore(pixels, mask_, kBytes, to);
  }

 private:
  hn::Mask<Bytes> mask_;
#else
  PartStore(std::size_t begin, std::size_t end) : begin_(begin), count_(end - begin) {}
  HWY_INLINE void operator()(Byte pixels, unsigned char* to) const {
    alignas(64) unsigned char all[kMaxBlocksAtOnce * kBlockSide];
    hn::Store(pixels, kBytes, all);
    std::memcpy(to + begin_, all + begin_, count_);
  }

 private:
  std::size_t begin_, count_;
#endif
};

/// Rows that are pointed to each for itself.
struct ListedRows {
  const BlockRows& rows;
  HWY_INLINE unsigned char* At(std::size_t plane, std::size_t row) const { return rows[kBlockSide * plane + row]; }
};

/// Rows that lie in planes.
struct PlaneRows {
  std::array<unsigned char*, kNumPlanes> first;
  std::ptrdiff_t rowBytes;
  HWY_INLINE unsigned char* At(std::size_t plane, std::size_t row) const {
    return first[plane] + static_cast<std::ptrdiff_t>(row) * rowBytes;
  }
};

/// What the unpacking of all vectors has in common.
struct Tables {
  Half places;  // of the values of a vector's blocks in their 16 bytes
  Byte order;   // of the values of a block, which are made as the first, the third, the second and the fourth

  Tables() {
    const Word inVector = hn::And(hn::Iota(kWords, 0), hn::Set(kWords, 3));
    places = hn::BitCast(kHalves, hn::Mul(inVector, hn::Set(kWords, 0x04040404)));
    order = hn::BitCast(kBytes, hn::Or(hn::BitCast(kWords, places), hn::Set(kWords, 0x03010200)));
  }
};

/// One vector of blocks, whose pixels begin at column `x` of the rows.
template <class Rows, class Store>
HWY_INLINE void UnpackVector(const unsigned char* blocks, const Tables& tables, const Rows& rows, std::ptrdiff_t x,
                             const Store& store) {
  const auto* const words = reinterpret_cast<const std::uint32_t*>(blocks);
  const Word front = hn::LoadU(kWords, words), back = hn::LoadU(kWords, words + hn::Lanes(kWords));
  const Palette palette(hn::ConcatEven(kWords, back, front), tables.order);
  const CodePairs codes(hn::ConcatOdd(kWords, back, front));
  for (std::size_t row = 0; row < kBlockSide; ++row) {
    const Byte each = codes.Spread(row, tables.places);
    store(hn::TableLookupBytes(palette.red, each), rows.At(0, row) + x);
    store(hn::TableLookupBytes(palette.green, each), rows.At(1, row) + x);
    store(hn::TableLookupBytes(palette.blue, each), rows.At(2, row) + x);
    store(hn::TableLookupBytes(palette.alpha, each), rows.At(3, row) + x);
  }
}

/// The last vector overlaps the one before, so that nothing is left over.
void UnpackAll(const unsigned char* blocks, std::size_t numBlocks, const BlockRows& rows) {
  const std::size_t lanes = hn::Lanes(kWords);
  const Tables tables;
  const std::size_t last = numBlocks > lanes ? numBlocks - lanes : 0;
  const auto unpack = [&](std::size_t i) {
    const auto x = static_cast<std::ptrdiff_t>(i * kBlockSide);
    UnpackVector(blocks + i * kBlockBytes, tables, ListedRows{rows}, x, WholeStore());
  };
  for (std::size_t i = 0; i < last; i += lanes) unpack(i);
  unpack(last);
}

/// Only the first and the last vector of a row may have pixels that are not wanted.
void UnpackArea(const BlockArea& area, const PlaneArea& planes) {
  const std::size_t lanes = hn::Lanes(kWords), pixels = lanes * kBlockSide;
  const Tables tables;
  const std::size_t numBlocks = (area.end + kBlockSide - 1) / kBlockSide;
  const std::size_t last = numBlocks > lanes ? numBlocks - lanes : 0, end = area.end - last * kBlockSide;
  const PartStore toFirst(area.begin, last == 0 ? end : pixels), toLast(0, end);
  PlaneRows rows = {planes.first, planes.rowBytes};
  const unsigned char* blocks = area.blocks;
  const auto unpack = [&](std::size_t i, const auto& store) {
    const auto x = static_cast<std::ptrdiff_t>(i * kBlockSide) - static_cast<std::ptrdiff_t>(area.begin);
    UnpackVector(blocks + i * kBlockBytes, tables, rows, x, store);
  };
  for (std::size_t row = 0; row < area.numRows; ++row, blocks += area.rowBytes) {
    const bool isFirstWhole = area.begin == 0 && (last > 0 || end == pixels);
    isFirstWhole ? unpack(0, WholeStore()) : unpack(0, toFirst);
    for (std::size_t i = lanes; i < last; i += lanes) unpack(i, WholeStore());
    if (last > 0) end == pixels ? unpack(last, WholeStore()) : unpack(last, toLast);
    for (unsigned char*& first : rows.first) first += kBlockSide * planes.rowBytes;
  }
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zrk {
namespace {

HWY_EXPORT(UnpackAll);
HWY_EXPORT(UnpackArea);

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

void UnpackAreaToPlanes(const BlockArea& area, const PlaneArea& planes) {
  HWY_DYNAMIC_DISPATCH(UnpackArea)(area, planes);
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
