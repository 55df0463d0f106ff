// The decoder of runs of blocks. Colours are worked out for as many blocks at once as a vector has lanes: the four
// colours of a block, four bytes each, then lie in memory as 16 bytes. A row of a block is a byte of codes, and a table
// has a shuffle for every such byte that puts the four chosen colours into their places. Opacities are a vector of 16
// bytes for each block, one a pixel, and are put behind the colours row by row.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "tiles/BlockDecoder.h"

#include <algorithm>
#include <array>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tiles/VectorBlockDecoder.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef ZRK_TILES_BLOCK_SHUFFLES
#define ZRK_TILES_BLOCK_SHUFFLES
namespace zrk {

/// For each byte of codes the bytes of the four colours that its pixels take.
struct RowShuffles {
  alignas(64) std::array<std::array<std::uint8_t, 16>, 256> ofCodes{};

  constexpr RowShuffles() {
    for (std::size_t codes = 0; codes < 256; ++codes) {
      for (std::size_t i = 0; i < 16; ++i) {
        ofCodes[codes][i] = static_cast<std::uint8_t>((codes >> (i / 4 * 2) & 3) * 4 + i % 4);
      }
    }
  }
};
inline constexpr RowShuffles kRowShuffles;

}  // namespace zrk
#endif

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE

void DecodeMany(const BlockRun& run, std::uint8_t* first, std::ptrdiff_t rowBytes) {
  DecodeRunPlainly(run, first, rowBytes);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

namespace {

using Words = hn::ScalableTag<std::uint32_t>;
using Shorts = hn::Repartition<std::uint16_t, Words>;
using VW = hn::Vec<Words>;

// What belongs to one block.
using Bytes16 = hn::Full128<std::uint8_t>;
using Shorts8 = hn::Full128<std::uint16_t>;
using VB = hn::Vec<Bytes16>;

constexpr std::size_t kMaxLanes = hn::MaxLanes(Words());

/// A colour of each block as two vectors of 16-bit numbers: the first and third byte of a pixel, and the second and the
/// fourth.
struct Colours {
  VW outer;
  VW inner;
};

HWY_INLINE VW Join(const Colours& colours) {
  return hn::Or(colours.outer, hn::ShiftLeft<8>(colours.inner));
}

/// A component of `kBits` bits, which lies at the top of a byte, and where wanted its highest bits again below it.
template <int kBits, bool kFill>
HWY_INLINE VW Fill(VW topBits) {
  if constexpr (kFill) return hn::Or(topBits, hn::ShiftRight<kBits>(topBits));
  return topBits;
}

template <BlockColours kKind>
HWY_INLINE Colours Expand(VW words) {
  constexpr bool kFill = kKind != BlockColours::kShifted;
  const Words w;
  const auto five = hn::Set(w, 0xF8u);
  const auto red = Fill<5, kFill>(hn::And(hn::ShiftRight<8>(words), five));
  const auto green = Fill<6, kFill>(hn::And(hn::ShiftRight<3>(words), hn::Set(w, 0xFCu)));
  const auto blue = Fill<5, kFill>(hn::And(hn::ShiftLeft<3>(words), five));
  const auto inner = hn::Or(green, hn::Set(w, 255u << 16));
  if constexpr (kKind == BlockColours::kSquishBgra) return {hn::Or(blue, hn::ShiftLeft<16>(red)), inner};
  return {hn::Or(red, hn::ShiftLeft<16>(blue)), inner};
}

/// (2a + b) / 3 of 16-bit numbers, which here are not above 255.
HWY_INLINE VW Third(VW a, VW b) {
  const Shorts s;
  const auto sum = hn::Add(hn::Add(hn::BitCast(s, a), hn::BitCast(s, a)), hn::BitCast(s, b));
  return hn::BitCast(Words(), hn::ShiftRight<1>(hn::MulHigh(sum, hn::Set(s, std::uint16_t{0xAAAB}))));
}

HWY_INLINE VW Mean(VW a, VW b) {
  const Shorts s;
  return hn::BitCast(Words(), hn::ShiftRight<1>(hn::Add(hn::BitCast(s, a), hn::BitCast(s, b))));
}

/// The four colours of each block, one block behind the other. `words` holds both colour words of a block, the first
/// one low. Blocks with opacities of their own always have four colours, and leave the place of opacity zero.
template <BlockColours kKind, bool kHasOpacities>
HWY_INLINE void StorePalettes(VW words, std::uint32_t* palettes) {
  const Words w;
  const auto word0 = hn::And(words, hn::Set(w, 0xFFFFu)), word1 = hn::ShiftRight<16>(words);
  const Colours colours0 = Expand<kKind>(word0), colours1 = Expand<kKind>(word1);
  auto colour2 = Join({Third(colours0.outer, colours1.outer), Third(colours0.inner, colours1.inner)});
  auto colour3 = Join({Third(colours1.outer, colours0.outer), Third(colours1.inner, colours0.inner)});
  if constexpr (kHasOpacities) {
    const auto colour = hn::Set(w, 0x00FFFFFFu);
    hn::StoreInterleaved4(hn::And(Join(colours0), colour), hn::And(Join(colours1), colour), hn::And(colour2, colour),
                          hn::And(colour3, colour), w, palettes);
  } else {
    const auto isThree = kKind == BlockColours::kShifted ? hn::Gt(word1, word0) : hn::Not(hn::Gt(word0, word1));
    const auto mean = Join({Mean(colours0.outer, colours1.outer), Mean(colours0.inner, colours1.inner)});
    colour2 = hn::IfThenElse(isThree, mean, colour2);
    colour3 = hn::IfThenZeroElse(isThree, colour3);
    hn::StoreInterleaved4(Join(colours0), Join(colours1), colour2, colour3, w, palettes);
  }
}

/// 4 bits a pixel, the lower half of a byte first; 15 times 17 is 255.
HWY_INLINE VB ExplicitOpacities(const std::uint8_t* block) {
  const Bytes16 b;
  const Shorts8 s;
  const auto pairs = hn::PromoteTo(s, hn::LoadU(hn::Half<Bytes16>(), block));
  const auto apart = hn::And(hn::Or(pairs, hn::ShiftLeft<4>(pairs)), hn::Set(s, std::uint16_t{0x0F0F}));
  return hn::BitCast(b, hn::Or(apart, hn::ShiftLeft<4>(apart)));
}

/// How the eight opacities of a block come from its two: parts of each, the factor that divides by the number of steps,
/// and what is added.
struct Scale {
  alignas(16) std::uint16_t parts0[8];
  alignas(16) std::uint16_t parts1[8];
  alignas(16) std::uint16_t fixed[8];
  std::uint16_t reciprocal;  // of 7 or 5, times 2^16 and rounded up, which is exact for numbers below 7 * 256
};
constexpr Scale kSevenSteps = {{7, 0, 6, 5, 4, 3, 2, 1}, {0, 7, 1, 2, 3, 4, 5, 6}, {}, 9363};
constexpr Scale kFiveSteps = {{5, 0, 4, 3, 2, 1, 0, 0}, {0, 5, 1, 2, 3, 4, 0, 0}, {0, 0, 0, 0, 0, 0, 0, 255}, 13108};

/// The eight opacities of a block as 16-bit numbers.
HWY_INLINE hn::Vec<Shorts8> OpacityScale(std::uint8_t opacity0, std::uint8_t opacity1) {
  const Shorts8 s;
  const Scale& scale = opacity0 > opacity1 ? kSevenSteps : kFiveSteps;
  const auto sum = hn::Add(hn::Mul(hn::Load(s, scale.parts0), hn::Set(s, opacity0)),
                           hn::Mul(hn::Load(s, scale.parts1), hn::Set(s, opacity1)));
  return hn::Add(hn::MulHigh(sum, hn::Set(s, scale.reciprocal)), hn::Load(s, scale.fixed));
}

/// 3 bits a pixel, from the third byte on. A pair of bytes that holds the bits of a pixel is multiplied so that they
/// come to its top. Eight pixels take three bytes.
HWY_INLINE VB ScaledOpacities(const std::uint8_t* block) {
  const Bytes16 b;
  const Shorts8 s;
  alignas(16) static constexpr std::uint8_t kPairs[2][16] = {{2, 3, 2, 3, 2, 3, 3, 4, 3, 4, 3, 4, 4, 5, 4, 5},
                                                             {5, 6, 5, 6, 5, 6, 6, 7, 6, 7, 6, 7, 7, 0, 7, 0}};
  alignas(16) static constexpr std::uint16_t kToTop[8] = {1 << 13, 1 << 10, 1 << 7,  1 << 12,
                                                          1 << 9,  1 << 6,  1 << 11, 1 << 8};
  const auto bytes = hn::LoadU(b, block);
  const auto toTop = hn::Load(s, kToTop);
  const auto upper = hn::BitCast(s, hn::TableLookupBytes(bytes, hn::Load(b, kPairs[0])));
  const auto lower = hn::BitCast(s, hn::TableLookupBytes(bytes, hn::Load(b, kPairs[1])));
  const auto upperIndex = hn::BitCast(b, hn::ShiftRight<13>(hn::Mul(upper, toTop)));
  const auto lowerIndex = hn::BitCast(b, hn::ShiftRight<13>(hn::Mul(lower, toTop)));
  const auto index = hn::ConcatEven(b, lowerIndex, upperIndex);
  const auto scale = hn::BitCast(b, OpacityScale(block[0], block[1]));
  return hn::TableLookupBytes(hn::ConcatEven(b, scale, scale), index);
}

/// Writes the four rows of a block.
template <bool kHasOpacities>
HWY_INLINE void StoreRows(VB palette, const std::uint8_t* codes, VB opacities, std::uint8_t* out,
                          std::ptrdiff_t rowBytes) {
  const Bytes16 b;
  alignas(16) static constexpr std::uint8_t kToFourthBytes[4][16] = {
      {128, 128, 128, 0, 128, 128, 128, 1, 128, 128, 128, 2, 128, 128, 128, 3},
      {128, 128, 128, 4, 128, 128, 128, 5, 128, 128, 128, 6, 128, 128, 128, 7},
      {128, 128, 128, 8, 128, 128, 128, 9, 128, 128, 128, 10, 128, 128, 128, 11},
      {128, 128, 128, 12, 128, 128, 128, 13, 128, 128, 128, 14, 128, 128, 128, 15}};
  for (int row = 0; row < 4; ++row, out += rowBytes) {
    auto pixels = hn::TableLookupBytes(palette, hn::Load(b, kRowShuffles.ofCodes[codes[row]].data()));
    if constexpr (kHasOpacities) {
      pixels = hn::Or(pixels, hn::TableLookupBytesOr0(opacities, hn::Load(b, kToFourthBytes[row])));
    }
    hn::StoreU(pixels, b, out);
  }
}

template <BlockColours kKind, _XDXTTYPE kType>
class Decoder {
 public:
  static void Decode(const BlockRun& run, std::uint8_t* out, std::ptrdiff_t rowBytes) {
    const std::size_t lanes = hn::Lanes(Words());
    std::size_t i = 0;
    for (; i + lanes <= run.count; i += lanes) {
      DecodeVector(run.blocks + i * kBytes, lanes, out + 16 * i, rowBytes);
    }
    if (i == run.count) return;
    // The rest of a run may be its end in memory, so its blocks go into room of a full vector first.
    HWY_ALIGN std::uint8_t rest[kMaxLanes * kBytes] = {};
    const std::size_t left = run.count - i;
    std::copy_n(run.blocks + i * kBytes, left * kBytes, rest);
    DecodeVector(rest, left, out + 16 * i, rowBytes);
  }

 private:
  static constexpr std::size_t kBytes = kType == kDxt1 ? 8 : 16;
  static constexpr bool kHasOpacities = kType != kDxt1;

  /// Both colour words of each of the next blocks.
  static HWY_INLINE VW LoadWords(const std::uint8_t* blocks) {
    const Words w;
    const auto* from = reinterpret_cast<const std::uint32_t*>(blocks);
    VW first, second, third, fourth;
    if constexpr (kHasOpacities) {
      hn::LoadInterleaved4(w, from, first, second, third, fourth);
      return third;
    } else {
      hn::LoadInterleaved2(w, from, first, second);
      return first;
    }
  }

  static HWY_INLINE void DecodeVector(const std::uint8_t* blocks, std::size_t count, std::uint8_t* out,
                                      std::ptrdiff_t rowBytes) {
    const Bytes16 b;
    HWY_ALIGN std::uint32_t palettes[4 * kMaxLanes];
    StorePalettes<kKind, kHasOpacities>(LoadWords(blocks), palettes);
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint8_t* block = blocks + i * kBytes;
      const auto palette = hn::BitCast(b, hn::Load(hn::Full128<std::uint32_t>(), palettes + 4 * i));
      auto opacities = hn::Zero(b);
      if constexpr (kType == kDxt3) opacities = ExplicitOpacities(block);
      if constexpr (kType == kDxt5) opacities = ScaledOpacities(block);
      StoreRows<kHasOpacities>(palette, block + kBytes - 4, opacities, out + 16 * i, rowBytes);
    }
  }
};

template <BlockColours kKind>
void DecodeAs(const BlockRun& run, std::uint8_t* first, std::ptrdiff_t rowBytes) {
  if (run.type == kDxt1) return Decoder<kKind, kDxt1>::Decode(run, first, rowBytes);
  if (run.type == kDxt3) return Decoder<kKind, kDxt3>::Decode(run, first, rowBytes);
  Decoder<kKind, kDxt5>::Decode(run, first, rowBytes);
}

}  // namespace

void DecodeMany(const BlockRun& run, std::uint8_t* first, std::ptrdiff_t rowBytes) {
  switch (run.colours) {
    case BlockColours::kSquish:
      return DecodeAs<BlockColours::kSquish>(run, first, rowBytes);
    case BlockColours::kSquishBgra:
      return DecodeAs<BlockColours::kSquishBgra>(run, first, rowBytes);
    case BlockColours::kShifted:
      return Decoder<BlockColours::kShifted, kDxt1>::Decode(run, first, rowBytes);
  }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {

HWY_EXPORT(DecodeMany);

void DecodeRun(const BlockRun& run, std::uint8_t* first, std::ptrdiff_t rowBytes) {
  HWY_DYNAMIC_DISPATCH(DecodeMany)(run, first, rowBytes);
}

}  // namespace zrk
#endif
