// The encoder of many blocks at once: a lane of a vector is a block. It gives the bytes of the plain encoder
// (PlainBlockEncoder.cpp, which tells the method), because every lane does the same operations in the same order. What
// differs is exact. Sums of bytes are made of integers. A transparent pixel adds 0 where the plain form passes over it.
// A block of one colour goes into the first round, where its differences are all 0, and comes out with that colour.
//
// Lanes go through the rounds together until the last has its axis; those that have one keep it. A round whose sums are
// those of the round before would find the same axis again, so it ends the search without a root.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "tiles/BlockEncoder.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tiles/VectorBlockEncoder.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE || !HWY_HAVE_FLOAT64

void EncodeMany(const BlockStrip& strip, std::uint8_t* blocks) {
  EncodeStripPlainly(strip, blocks);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Words = hn::RebindToUnsigned<Floats>;
using Ints = hn::RebindToSigned<Floats>;
using VF = hn::Vec<Floats>;
using VW = hn::Vec<Words>;
using MaskF = hn::Mask<Floats>;

constexpr int kNumPixels = 16;
constexpr int kMaxRounds = 20;
constexpr std::size_t kMaxLanes = hn::MaxLanes(Floats());
static_assert(BlockStrip::kMaxBlocks % kMaxLanes == 0);

struct Vector {
  VF red;
  VF green;
  VF blue;
};

HWY_INLINE VF Dot(const Vector& a, const Vector& b) {
  return hn::Add(hn::Add(hn::Mul(a.red, b.red), hn::Mul(a.green, b.green)), hn::Mul(a.blue, b.blue));
}

/// A value for each pixel of each block.
class PerPixel {
 public:
  HWY_INLINE void Set(int pixel, VF values) { hn::Store(values, Floats(), At(pixel)); }
  HWY_INLINE VF Get(int pixel) const { return hn::Load(Floats(), At(pixel)); }

 private:
  HWY_INLINE float* At(int pixel) { return values_ + static_cast<std::size_t>(pixel) * kMaxLanes; }
  HWY_INLINE const float* At(int pixel) const { return values_ + static_cast<std::size_t>(pixel) * kMaxLanes; }

  HWY_ALIGN float values_[kNumPixels * kMaxLanes];
};

/// The four pixels of a row, a block in each lane; the left pixel is in the lowest byte.
HWY_INLINE VW LoadRow(const BlockStrip::Plane& plane, int row, std::size_t first) {
  const hn::Repartition<std::uint8_t, Words> bytes;
  return hn::BitCast(Words(), hn::LoadU(bytes, plane[static_cast<std::size_t>(row)].data() + 4 * first));
}

/// One plane of the blocks.
struct Rows {
  HWY_INLINE Rows(const BlockStrip::Plane& plane, std::size_t first)
      : row0(LoadRow(plane, 0, first)),
        row1(LoadRow(plane, 1, first)),
        row2(LoadRow(plane, 2, first)),
        row3(LoadRow(plane, 3, first)) {}

  VW row0, row1, row2, row3;
};

/// Calls `visit(pixel, samples)` for the pixels of a row, `samples` being whole numbers from 0 to 255.
template <class Visit>
HWY_INLINE void VisitRow(VW row, int firstPixel, const Visit& visit) {
  const auto lowest = hn::Set(Words(), 0xFFu);
  visit(firstPixel + 3, hn::And(row, lowest));
  visit(firstPixel + 2, hn::And(hn::ShiftRight<8>(row), lowest));
  visit(firstPixel + 1, hn::And(hn::ShiftRight<16>(row), lowest));
  visit(firstPixel, hn::ShiftRight<24>(row));
}

/// The same for all of a plane, in the order of memory.
template <class Visit>
HWY_INLINE void VisitPixels(const Rows& rows, const Visit& visit) {
  VisitRow(rows.row0, 0, visit);
  VisitRow(rows.row1, 4, visit);
  VisitRow(rows.row2, 8, visit);
  VisitRow(rows.row3, 12, visit);
}

HWY_INLINE VF ToFloats(VW numbers) {
  return hn::ConvertTo(Floats(), hn::BitCast(Ints(), numbers));
}

/// The sum of the four bytes of a row, in two parts of 16 bits.
HWY_INLINE VW AddHalves(VW row) {
  const auto halves = hn::Set(Words(), 0x00FF00FFu);
  return hn::Add(hn::And(row, halves), hn::And(hn::ShiftRight<8>(row), halves));
}

HWY_INLINE VF SumOf(const Rows& rows) {
  const auto halves =
      hn::Add(hn::Add(AddHalves(rows.row0), AddHalves(rows.row1)), hn::Add(AddHalves(rows.row2), AddHalves(rows.row3)));
  return ToFloats(hn::Add(hn::And(halves, hn::Set(Words(), 0xFFFFu)), hn::ShiftRight<16>(halves)));
}

/// Which pixels are opaque. Where a strip has no transparent pixel nothing is stored and all is known beforehand.
template <bool kHasAlpha>
class Opacity {
 public:
  HWY_INLINE void Take(const BlockStrip& strip, std::size_t first) {
    if constexpr (kHasAlpha) {
      VisitPixels(Rows(strip.alpha, first), [&](int pixel, VW alpha) HWY_ATTR {
        const auto isOpaque = hn::Ne(alpha, hn::Zero(Words()));
        opaque_.Set(pixel, hn::BitCast(Floats(), hn::VecFromMask(Words(), isOpaque)));
      });
    }
  }
  /// The values of opaque pixels, and 0 for transparent ones.
  HWY_INLINE VF Keep(int pixel, VF values) const {
    if constexpr (kHasAlpha) return hn::And(values, opaque_.Get(pixel));
    return values;
  }
  HWY_INLINE VF Choose(int pixel, VF ifOpaque, VF ifTransparent) const {
    if constexpr (kHasAlpha) return hn::IfVecThenElse(opaque_.Get(pixel), ifOpaque, ifTransparent);
    return ifOpaque;
  }
  HWY_INLINE VF Count() const {
    if constexpr (!kHasAlpha) return hn::Set(Floats(), float{kNumPixels});
    auto count = hn::Zero(Floats());
    for (int pixel = 0; pixel < kNumPixels; ++pixel) count = hn::Add(count, Keep(pixel, hn::Set(Floats(), 1.0f)));
    return count;
  }
  /// Both bits of the code of each transparent pixel.
  HWY_INLINE VW TransparentCodes() const {
    auto codes = hn::Zero(Words());
    if constexpr (kHasAlpha) {
      for (int pixel = 0; pixel < kNumPixels; ++pixel) {
        const auto code = hn::AndNot(hn::BitCast(Words(), opaque_.Get(pixel)), hn::Set(Words(), 3u));
        codes = hn::Or(hn::ShiftLeft<2>(codes), code);
      }
    }
    return codes;
  }

 private:
  PerPixel opaque_;
};

/// What is known of the blocks of all lanes. `isFlat` marks those that give no line.
struct Lines {
  Vector mean;
  Vector axis;
  MaskF isFlat;
};

HWY_INLINE VW AddScaled(VW word, VF component, float offset, float scale, float most, std::uint32_t unit) {
  const Floats f;
  const auto scaled = hn::Mul(hn::Add(component, hn::Set(f, offset)), hn::Set(f, scale));
  const auto clamped = hn::Min(hn::Max(scaled, hn::Zero(f)), hn::Set(f, most));
  const auto whole = hn::BitCast(Words(), hn::ConvertTo(Ints(), clamped));
  return hn::Add(word, hn::Mul(whole, hn::Set(Words(), unit)));
}

HWY_INLINE VW WordOf(const Vector& colour) {
  auto word = AddScaled(hn::Zero(Words()), colour.red, 4.0f, 0.125f, 31.0f, 2048);
  word = AddScaled(word, colour.green, 2.0f, 0.25f, 63.0f, 32);
  return AddScaled(word, colour.blue, 4.0f, 0.125f, 31.0f, 1);
}

HWY_INLINE VW WordAt(const Lines& lines, VF place) {
  return WordOf({hn::Add(hn::Mul(lines.axis.red, place), lines.mean.red),
                 hn::Add(hn::Mul(lines.axis.green, place), lines.mean.green),
                 hn::Add(hn::Mul(lines.axis.blue, place), lines.mean.blue)});
}

/// The length of half of the vectors, in doubles until it is known.
template <class HalfFloats>
HWY_INLINE hn::Vec<HalfFloats> HalfLength(HalfFloats, hn::Vec<HalfFloats> red, hn::Vec<HalfFloats> green,
                                          hn::Vec<HalfFloats> blue) {
  const hn::Rebind<double, HalfFloats> doubles;
  const auto r = hn::PromoteTo(doubles, red), g = hn::PromoteTo(doubles, green), b = hn::PromoteTo(doubles, blue);
  const auto square = hn::Add(hn::Add(hn::Mul(r, r), hn::Mul(g, g)), hn::Mul(b, b));
  return hn::DemoteTo(HalfFloats(), hn::Sqrt(square));
}

HWY_INLINE VF LengthOf(const Vector& v) {
  const Floats f;
  const hn::Half<Floats> half;
  const auto low =
      HalfLength(half, hn::LowerHalf(half, v.red), hn::LowerHalf(half, v.green), hn::LowerHalf(half, v.blue));
  const auto high =
      HalfLength(half, hn::UpperHalf(half, v.red), hn::UpperHalf(half, v.green), hn::UpperHalf(half, v.blue));
  return hn::Combine(f, high, low);
}

template <bool kHasAlpha>
class Batch {
 public:
  /// Packs as many blocks as there are lanes; the words of colours and codes take turns in `words`.
  HWY_INLINE void Encode(const BlockStrip& strip, std::size_t first, std::uint32_t* words) {
    opacity_.Take(strip, first);
    Lines lines;
    TakeDifferences(strip, first, lines);
    FindAxes(lines);
    VF smallest, largest;
    FindEnds(lines.axis, smallest, largest);
    const auto low = WordAt(lines, smallest), high = WordAt(lines, largest);
    const auto isFlat = hn::Or(hn::RebindMask(Words(), lines.isFlat), hn::Eq(low, high));
    const auto range =
        hn::IfThenElse(hn::RebindMask(Floats(), isFlat), hn::Set(Floats(), 1.0f), hn::Sub(largest, smallest));

    const auto isThree = hn::Lt(opacity_.Count(), hn::Set(Floats(), float{kNumPixels}));
    const auto steps = hn::IfThenElse(isThree, hn::Set(Floats(), 2.0f), hn::Set(Floats(), 3.0f));
    const auto places = PlaceWords(smallest, range, steps);
    Store(lines, low, high, isFlat, places, words);
  }

 private:
  HWY_INLINE void TakeDifferences(const BlockStrip& strip, std::size_t first, Lines& lines) {
    const auto count = hn::Max(opacity_.Count(), hn::Set(Floats(), 1.0f));
    lines.mean.red = TakePlane(strip.red, first, count, red_);
    lines.mean.green = TakePlane(strip.green, first, count, green_);
    lines.mean.blue = TakePlane(strip.blue, first, count, blue_);
  }

  /// Answers the mean.
  HWY_INLINE VF TakePlane(const BlockStrip::Plane& plane, std::size_t first, VF count, PerPixel& differences) {
    const Rows rows(plane, first);
    const auto mean = hn::Div(SumOfOpaque(rows), count);
    VisitPixels(rows, [&](int pixel, VW samples)
                          HWY_ATTR { differences.Set(pixel, opacity_.Keep(pixel, hn::Sub(ToFloats(samples), mean))); });
    return mean;
  }

  HWY_INLINE VF SumOfOpaque(const Rows& rows) const {
    if constexpr (!kHasAlpha) return SumOf(rows);
    auto sum = hn::Zero(Floats());
    VisitPixels(rows,
                [&](int pixel, VW samples) HWY_ATTR { sum = hn::Add(sum, opacity_.Keep(pixel, ToFloats(samples))); });
    return sum;
  }

  HWY_INLINE Vector DifferenceOf(int pixel) const { return {red_.Get(pixel), green_.Get(pixel), blue_.Get(pixel)}; }

  /// The sum of differences, each turned to the side of the axis.
  HWY_INLINE Vector SumAlong(const Vector& axis) const {
    const Floats f;
    const auto zero = hn::Zero(f), signBit = hn::Set(f, -0.0f);
    Vector sum{zero, zero, zero};
    for (int pixel = 0; pixel < kNumPixels; ++pixel) {
      const Vector d = DifferenceOf(pixel);
      const auto isAbove = hn::Gt(Dot(d, axis), zero);
      const auto flip = hn::IfThenZeroElse(isAbove, signBit);
      sum.red = hn::Add(sum.red, hn::Xor(d.red, flip));
      sum.green = hn::Add(sum.green, hn::Xor(d.green, flip));
      sum.blue = hn::Add(sum.blue, hn::Xor(d.blue, flip));
    }
    return sum;
  }

  HWY_INLINE void FindAxes(Lines& lines) const {
    const Floats f;
    const auto start = hn::Set(f, 0.57735f), zero = hn::Zero(f);
    lines.axis = {start, start, start};
    lines.isFlat = hn::FirstN(f, 0);
    auto isMoving = hn::Not(lines.isFlat);
    Vector last{zero, zero, zero};
    for (int round = 0; round < kMaxRounds; ++round) {
      const Vector sum = SumAlong(lines.axis);
      const auto isNew =
          hn::Or(hn::Or(hn::Ne(sum.red, last.red), hn::Ne(sum.green, last.green)), hn::Ne(sum.blue, last.blue));
      if (round > 0 && hn::AllFalse(f, hn::And(isMoving, isNew))) return;
      last = sum;
      Turn(sum, isMoving, lines);
      if (hn::AllFalse(f, isMoving)) return;
    }
  }

  /// Gives moving lanes their next axis, and ends those that found theirs or have none.
  HWY_INLINE void Turn(const Vector& sum, MaskF& isMoving, Lines& lines) const {
    const Floats f;
    const auto length = LengthOf(sum);
    const auto isZero = hn::Eq(length, hn::Zero(f));
    lines.isFlat = hn::Or(lines.isFlat, hn::And(isMoving, isZero));
    isMoving = hn::AndNot(isZero, isMoving);
    const auto divisor = hn::IfThenElse(isZero, hn::Set(f, 1.0f), length);
    Vector& axis = lines.axis;
    const Vector next{hn::IfThenElse(isMoving, hn::Div(sum.red, divisor), axis.red),
                      hn::IfThenElse(isMoving, hn::Div(sum.green, divisor), axis.green),
                      hn::IfThenElse(isMoving, hn::Div(sum.blue, divisor), axis.blue)};
    const auto change = hn::Add(hn::Add(hn::AbsDiff(next.red, axis.red), hn::AbsDiff(next.green, axis.green)),
                                hn::AbsDiff(next.blue, axis.blue));
    isMoving = hn::And(isMoving, hn::Ge(change, hn::Set(f, 1e-05f)));
    axis = next;
  }

  HWY_INLINE void FindEnds(const Vector& axis, VF& smallest, VF& largest) {
    const auto far = hn::Set(Floats(), 3.4e+38f), farBelow = hn::Set(Floats(), -3.4e+38f);
    smallest = far;
    largest = farBelow;
    for (int pixel = 0; pixel < kNumPixels; ++pixel) {
      const auto place = Dot(DifferenceOf(pixel), axis);
      places_.Set(pixel, place);
      smallest = hn::Min(smallest, opacity_.Choose(pixel, place, far));
      largest = hn::Max(largest, opacity_.Choose(pixel, place, farBelow));
    }
  }

  /// The step on the line for each pixel, 0 to 3, as codes would lie.
  HWY_INLINE VW PlaceWords(VF smallest, VF range, VF steps) const {
    auto words = hn::Zero(Words());
    for (int pixel = 0; pixel < kNumPixels; ++pixel) {
      const auto part = hn::Div(hn::Sub(places_.Get(pixel), smallest), range);
      const auto step = hn::Add(hn::Mul(opacity_.Keep(pixel, part), steps), hn::Set(Floats(), 0.5f));
      words = hn::Or(hn::ShiftLeft<2>(words), hn::BitCast(Words(), hn::ConvertTo(Ints(), step)));
    }
    return words;
  }

  HWY_INLINE void Store(const Lines& lines, VW low, VW high, hn::Mask<Words> isFlat, VW places,
                        std::uint32_t* words) const {
    const Words w;
    const auto transparent = opacity_.TransparentCodes();
    const auto isThree = hn::Ne(transparent, hn::Zero(w));
    const auto smaller = hn::Min(low, high), larger = hn::Max(low, high);
    auto colour0 = hn::IfThenElse(isThree, smaller, larger);
    auto colour1 = hn::IfThenElse(isThree, larger, smaller);
    auto codes = hn::Or(CodesOf(places, hn::Gt(low, high), isThree), transparent);

    colour0 = hn::IfThenElse(isFlat, WordOf(lines.mean), colour0);
    colour1 = hn::IfThenElse(isFlat, hn::IfThenZeroElse(isThree, hn::Set(w, 0xFFFFu)), colour1);
    codes = hn::IfThenElse(isFlat, transparent, codes);
    hn::StoreInterleaved2(hn::Or(colour0, hn::ShiftLeft<16>(colour1)), codes, w, words);
  }

  /// All codes of a block from its steps. Of four colours the steps 0 to 3 have the codes 1, 3, 2, 0, and with the
  /// lower end as colour 0 each with its low bit turned. Of three colours the steps 0 to 2 have 1, 2, 0 or 0, 2, 1.
  static HWY_INLINE VW CodesOf(VW places, hn::Mask<Words> isFalling, hn::Mask<Words> isThree) {
    const auto lowBits = hn::Set(Words(), 0x55555555u);
    const auto two = hn::And(hn::ShiftRight<1>(places), lowBits), one = hn::And(places, lowBits);
    const auto turn = hn::IfThenElse(isFalling, hn::Zero(Words()), lowBits);
    const auto four = hn::Or(hn::ShiftLeft<1>(hn::Xor(two, one)), hn::Xor(two, turn));
    if constexpr (!kHasAlpha) return four;
    const auto isFirst = hn::AndNot(hn::Or(two, one), lowBits);
    const auto three = hn::Or(hn::ShiftLeft<1>(one), hn::IfThenElse(isFalling, isFirst, two));
    return hn::IfThenElse(isThree, three, four);
  }

  Opacity<kHasAlpha> opacity_;
  PerPixel red_;
  PerPixel green_;
  PerPixel blue_;
  PerPixel places_;
};

template <bool kHasAlpha>
void EncodeBatches(const BlockStrip& strip, std::uint8_t* blocks) {
  const std::size_t lanes = hn::Lanes(Floats());
  Batch<kHasAlpha> batch;
  HWY_ALIGN std::uint32_t words[2 * kMaxLanes];
  for (std::size_t first = 0; first < strip.numBlocks; first += lanes) {
    batch.Encode(strip, first, words);
    const std::size_t left = strip.numBlocks - first;
    std::memcpy(blocks + 8 * first, words, 8 * (left < lanes ? left : lanes));
  }
}

void EncodeMany(const BlockStrip& strip, std::uint8_t* blocks) {
  strip.hasAlpha ? EncodeBatches<true>(strip, blocks) : EncodeBatches<false>(strip, blocks);
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {

HWY_EXPORT(EncodeMany);

void EncodeStrip(const BlockStrip& strip, std::uint8_t* blocks) {
  HWY_DYNAMIC_DISPATCH(EncodeMany)(strip, blocks);
}

}  // namespace zrk
#endif
