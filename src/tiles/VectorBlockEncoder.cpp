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

namespace {

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

/// In a float that is not much above it, byte 1 counts whole units.
constexpr float kLift = 32768.0f;

/// Calls `visit(pixel, samples)` for the pixels of a row, `samples` being floats above `kLift` by the sample. This
/// takes no conversion: the byte of a sample goes to its place.
template <class Visit>
HWY_INLINE void VisitLiftedRow(VW row, int firstPixel, const Visit& visit) {
  const hn::Repartition<std::uint8_t, Words> bytes;
  const auto lift = hn::BitCast(Words(), hn::Set(Floats(), kLift));
  const auto lifted = [&](std::uint32_t byteOfFirst) HWY_ATTR {
    // Byte 1 of each lane becomes a byte of the row's lane, and the others 0.
    const auto inVector = hn::And(hn::Iota(Words(), 0), hn::Set(Words(), 3u));
    const auto from = hn::ShiftLeft<10>(inVector);
    const auto places = hn::Or(from, hn::Set(Words(), 0x80800080u | byteOfFirst << 8));
    const auto sample = hn::TableLookupBytesOr0(hn::BitCast(bytes, row), hn::BitCast(bytes, places));
    return hn::BitCast(Floats(), hn::Or(hn::BitCast(Words(), sample), lift));
  };
  visit(firstPixel + 3, lifted(0));
  visit(firstPixel + 2, lifted(1));
  visit(firstPixel + 1, lifted(2));
  visit(firstPixel, lifted(3));
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

/// Whole numbers from 0 to 65,535, in the low 16 bits. The bits above have no meaning. This takes fewer steps than a
/// conversion, which has to answer for numbers of any size.
HWY_INLINE VW BitsOfWhole(VF numbers) {
  constexpr float kUlpIsOne = 8388608.0f;
  return hn::BitCast(Words(), hn::Add(numbers, hn::Set(Floats(), kUlpIsOne)));
}

/// A component of a colour, cut to a whole number from 0 to `most`.
HWY_INLINE VF Quantise(VF component, float offset, float scale, float most) {
  const Floats f;
  const auto scaled = hn::Mul(hn::Add(component, hn::Set(f, offset)), hn::Set(f, scale));
  return hn::Trunc(hn::Min(hn::Max(scaled, hn::Zero(f)), hn::Set(f, most)));
}

HWY_INLINE VW WordOf(const Vector& colour) {
  const Floats f;
  const auto red = hn::Mul(Quantise(colour.red, 4.0f, 0.125f, 31.0f), hn::Set(f, 2048.0f));
  const auto green = hn::Mul(Quantise(colour.green, 2.0f, 0.25f, 63.0f), hn::Set(f, 32.0f));
  const auto word = hn::Add(hn::Add(red, green), Quantise(colour.blue, 4.0f, 0.125f, 31.0f));
  return hn::And(BitsOfWhole(word), hn::Set(Words(), 0xFFFFu));
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

/// All codes of a block of four colours from its steps. The steps 0 to 3 have the codes 1, 3, 2, 0, and each with its
/// low bit turned where colour 0 is the lower end.
HWY_INLINE VW FourColourCodes(VW steps, hn::Mask<Words> isFalling) {
  const auto lowBits = hn::Set(Words(), 0x55555555u);
  const auto two = hn::And(hn::ShiftRight<1>(steps), lowBits), one = hn::And(steps, lowBits);
  const auto turn = hn::IfThenZeroElse(isFalling, lowBits);
  return hn::Or(hn::ShiftLeft<1>(hn::Xor(two, one)), hn::Xor(two, turn));
}

/// The same for three colours. The steps 0 to 2 have 1, 2, 0, or 0, 2, 1 where colour 0 is the lower end.
HWY_INLINE VW ThreeColourCodes(VW steps, hn::Mask<Words> isFalling) {
  const auto lowBits = hn::Set(Words(), 0x55555555u);
  const auto two = hn::And(hn::ShiftRight<1>(steps), lowBits), one = hn::And(steps, lowBits);
  const auto isFirst = hn::AndNot(hn::Or(two, one), lowBits);
  return hn::Or(hn::ShiftLeft<1>(one), hn::IfThenElse(isFalling, isFirst, two));
}

/// As many blocks as there are lanes, from their pixels to their bytes.
template <bool kHasAlpha>
class Batch {
 public:
  HWY_INLINE void Start(const BlockStrip& strip, std::size_t first) {
    opacity_.Take(strip, first);
    count_ = opacity_.Count();
    mean_.red = TakePlane(strip.red, first, red_);
    mean_.green = TakePlane(strip.green, first, green_);
    mean_.blue = TakePlane(strip.blue, first, blue_);
    const Floats f;
    axis_.red = axis_.green = axis_.blue = hn::Set(f, 0.57735f);
    sum_.red = sum_.green = sum_.blue = hn::Zero(f);
    isFlat_ = hn::FirstN(f, 0);
    isMoving_ = hn::Not(isFlat_);
    numRounds_ = 0;
  }

  /// False when all lanes have their axis, or none. The places of pixels are then those on the axis.
  HWY_INLINE bool Round() {
    const Floats f;
    const Vector sum = SumAlongAxis();
    const auto isNew =
        hn::Or(hn::Or(hn::Ne(sum.red, sum_.red), hn::Ne(sum.green, sum_.green)), hn::Ne(sum.blue, sum_.blue));
    if (numRounds_ > 0 && hn::AllFalse(f, hn::And(isMoving_, isNew))) return false;
    if (numRounds_ == kMaxRounds) return false;
    ++numRounds_;
    sum_.red = sum.red;
    sum_.green = sum.green;
    sum_.blue = sum.blue;
    Turn();
    return true;
  }

  /// The words of colours and codes take turns.
  HWY_INLINE void Finish(std::uint32_t* words) {
    const Floats f;
    VF smallest = hn::Set(f, 3.4e+38f), largest = hn::Set(f, -3.4e+38f);
    FindEnds(smallest, largest);
    const auto low = WordAt(smallest), high = WordAt(largest);
    const auto isFlat = hn::Or(hn::RebindMask(Words(), isFlat_), hn::Eq(low, high));
    const auto range = hn::IfThenElse(hn::RebindMask(f, isFlat), hn::Set(f, 1.0f), hn::Sub(largest, smallest));
    Store(low, high, isFlat, StepsFrom(smallest, range), words);
  }

 private:
  /// Answers the mean.
  HWY_INLINE VF TakePlane(const BlockStrip::Plane& plane, std::size_t first, PerPixel& differences) {
    const Rows rows(plane, first);
    const auto mean = hn::Div(SumOfOpaque(rows), hn::Max(count_, hn::Set(Floats(), 1.0f)));
    if constexpr (!kHasAlpha) {
      TakeDifferences(rows, mean, differences);
      return mean;
    }
    VisitPixels(rows, [&](int pixel, VW samples)
                          HWY_ATTR { differences.Set(pixel, opacity_.Keep(pixel, hn::Sub(ToFloats(samples), mean))); });
    return mean;
  }

  /// The mean of sixteen samples is a number of sixteenths, and so both it and its differences are exact when lifted.
  HWY_INLINE void TakeDifferences(const Rows& rows, VF mean, PerPixel& differences) {
    const auto lifted = hn::Add(mean, hn::Set(Floats(), kLift));
    const auto take = [&](int pixel, VF samples) HWY_ATTR { differences.Set(pixel, hn::Sub(samples, lifted)); };
    VisitLiftedRow(rows.row0, 0, take);
    VisitLiftedRow(rows.row1, 4, take);
    VisitLiftedRow(rows.row2, 8, take);
    VisitLiftedRow(rows.row3, 12, take);
  }

  HWY_INLINE VF SumOfOpaque(const Rows& rows) const {
    if constexpr (!kHasAlpha) return SumOf(rows);
    auto sum = hn::Zero(Floats());
    VisitPixels(rows,
                [&](int pixel, VW samples) HWY_ATTR { sum = hn::Add(sum, opacity_.Keep(pixel, ToFloats(samples))); });
    return sum;
  }

  HWY_INLINE Vector DifferenceOf(int pixel) const { return {red_.Get(pixel), green_.Get(pixel), blue_.Get(pixel)}; }

  /// The sum of differences, each turned to the side of the axis. Keeps their places on it.
  HWY_INLINE Vector SumAlongAxis() {
    if constexpr (!kHasAlpha) return HalfSumAlongAxis();
    const auto zero = hn::Zero(Floats()), signBit = hn::Set(Floats(), -0.0f);
    const Vector axis{axis_.red, axis_.green, axis_.blue};
    Vector sum{zero, zero, zero};
    for (int pixel = 0; pixel < kNumPixels; ++pixel) {
      const Vector d = DifferenceOf(pixel);
      const auto flip = hn::IfThenZeroElse(hn::Gt(FindPlace(pixel, d, axis), zero), signBit);
      sum.red = hn::Add(sum.red, hn::Xor(d.red, flip));
      sum.green = hn::Add(sum.green, hn::Xor(d.green, flip));
      sum.blue = hn::Add(sum.blue, hn::Xor(d.blue, flip));
    }
    return sum;
  }

  /// Half of that sum for sixteen opaque pixels, which has the same direction. Differences are then sixteenths below
  /// 2^8, so that sums are exact in any order, and together they are 0: those above the axis add up to what those below
  /// it lack.
  HWY_INLINE Vector HalfSumAlongAxis() {
    const auto zero = hn::Zero(Floats());
    const Vector axis{axis_.red, axis_.green, axis_.blue};
    Vector even{zero, zero, zero}, odd{zero, zero, zero};
    for (int pixel = 0; pixel < kNumPixels; pixel += 2) {
      AddIfAbove(pixel, axis, even);
      AddIfAbove(pixel + 1, axis, odd);
    }
    return {hn::Add(even.red, odd.red), hn::Add(even.green, odd.green), hn::Add(even.blue, odd.blue)};
  }

  HWY_INLINE void AddIfAbove(int pixel, const Vector& axis, Vector& sum) {
    const Vector d = DifferenceOf(pixel);
    const auto isAbove = hn::Gt(FindPlace(pixel, d, axis), hn::Zero(Floats()));
    sum.red = hn::Add(sum.red, hn::IfThenElseZero(isAbove, d.red));
    sum.green = hn::Add(sum.green, hn::IfThenElseZero(isAbove, d.green));
    sum.blue = hn::Add(sum.blue, hn::IfThenElseZero(isAbove, d.blue));
  }

  HWY_INLINE VF FindPlace(int pixel, const Vector& difference, const Vector& axis) {
    const auto place = Dot(difference, axis);
    places_.Set(pixel, place);
    return place;
  }

  /// Gives moving lanes their next axis, and stops those that found theirs or have none.
  HWY_INLINE void Turn() {
    const Floats f;
    const auto length = LengthOf(sum_);
    const auto isZero = hn::Eq(length, hn::Zero(f));
    isFlat_ = hn::Or(isFlat_, hn::And(isMoving_, isZero));
    isMoving_ = hn::AndNot(isZero, isMoving_);
    const auto divisor = hn::IfThenElse(isZero, hn::Set(f, 1.0f), length);
    const Vector next{hn::IfThenElse(isMoving_, hn::Div(sum_.red, divisor), axis_.red),
                      hn::IfThenElse(isMoving_, hn::Div(sum_.green, divisor), axis_.green),
                      hn::IfThenElse(isMoving_, hn::Div(sum_.blue, divisor), axis_.blue)};
    const auto change = hn::Add(hn::Add(hn::AbsDiff(next.red, axis_.red), hn::AbsDiff(next.green, axis_.green)),
                                hn::AbsDiff(next.blue, axis_.blue));
    isMoving_ = hn::And(isMoving_, hn::Ge(change, hn::Set(f, 1e-05f)));
    axis_.red = next.red;
    axis_.green = next.green;
    axis_.blue = next.blue;
  }

  HWY_INLINE void FindEnds(VF& smallest, VF& largest) const {
    const auto above = smallest, below = largest;
    for (int pixel = 0; pixel < kNumPixels; ++pixel) {
      smallest = hn::Min(smallest, opacity_.Choose(pixel, places_.Get(pixel), above));
      largest = hn::Max(largest, opacity_.Choose(pixel, places_.Get(pixel), below));
    }
  }

  HWY_INLINE VW WordAt(VF place) const {
    return WordOf({hn::Add(hn::Mul(axis_.red, place), mean_.red), hn::Add(hn::Mul(axis_.green, place), mean_.green),
                   hn::Add(hn::Mul(axis_.blue, place), mean_.blue)});
  }

  /// The steps of all pixels on the line, 0 to 3, or 0 to 2 where a block has a transparent pixel. They lie as codes
  /// do. Those of eight pixels are put together as one number, which a float holds exactly.
  HWY_INLINE VW StepsFrom(VF smallest, VF range) const {
    const Floats f;
    const auto isThree = hn::Lt(count_, hn::Set(f, float{kNumPixels}));
    const auto numSteps = hn::IfThenElse(isThree, hn::Set(f, 2.0f), hn::Set(f, 3.0f));
    const auto step = [&](int pixel) HWY_ATTR {
      const auto part = opacity_.Keep(pixel, hn::Div(hn::Sub(places_.Get(pixel), smallest), range));
      return hn::Trunc(hn::Add(hn::Mul(part, numSteps), hn::Set(f, 0.5f)));
    };
    // Whole numbers are the same whether the product is rounded before the sum or not.
    const auto join = [&](VF upper, float scale, VF lower)
                          HWY_ATTR { return hn::MulAdd(upper, hn::Set(f, scale), lower); };
    const auto two = [&](int pixel) HWY_ATTR { return join(step(pixel), 4.0f, step(pixel + 1)); };
    const auto four = [&](int pixel) HWY_ATTR { return join(two(pixel), 16.0f, two(pixel + 2)); };
    const auto eight = [&](int pixel) HWY_ATTR { return BitsOfWhole(join(four(pixel), 256.0f, four(pixel + 4))); };
    return hn::Or(hn::ShiftLeft<16>(eight(0)), hn::And(eight(8), hn::Set(Words(), 0xFFFFu)));
  }

  HWY_INLINE void Store(VW low, VW high, hn::Mask<Words> isFlat, VW steps, std::uint32_t* words) const {
    const Words w;
    const auto isFalling = hn::Gt(low, high);
    auto colour0 = hn::Max(low, high), colour1 = hn::Min(low, high);
    auto flatColour1 = hn::Set(w, 0xFFFFu);
    auto codes = FourColourCodes(steps, isFalling), flatCodes = hn::Zero(w);
    if constexpr (kHasAlpha) {
      flatCodes = opacity_.TransparentCodes();
      const auto isThree = hn::Ne(flatCodes, hn::Zero(w));
      flatColour1 = hn::IfThenZeroElse(isThree, flatColour1);
      codes = hn::IfThenElse(isThree, hn::Or(ThreeColourCodes(steps, isFalling), flatCodes), codes);
      colour0 = hn::IfThenElse(isThree, hn::Min(low, high), colour0);
      colour1 = hn::IfThenElse(isThree, hn::Max(low, high), colour1);
    }
    colour0 = hn::IfThenElse(isFlat, WordOf(mean_), colour0);
    colour1 = hn::IfThenElse(isFlat, flatColour1, colour1);
    codes = hn::IfThenElse(isFlat, flatCodes, codes);
    hn::StoreInterleaved2(hn::Or(colour0, hn::ShiftLeft<16>(colour1)), codes, w, words);
  }

  Opacity<kHasAlpha> opacity_;
  PerPixel red_;
  PerPixel green_;
  PerPixel blue_;
  PerPixel places_;
  VF count_;
  Vector mean_;
  Vector axis_;
  Vector sum_;
  MaskF isFlat_;  // lanes whose pixels give no line
  MaskF isMoving_;
  int numRounds_;
};

/// Batches that take turns, so that one works while others wait for their roots.
constexpr std::size_t kNumBatches = 4;

template <bool kHasAlpha>
HWY_INLINE void EncodeInTurns(const BlockStrip& strip, std::size_t first, std::uint32_t* words) {
  const std::size_t lanes = hn::Lanes(Floats());
  Batch<kHasAlpha> batches[kNumBatches];
  bool isMoving[kNumBatches];
  const std::size_t wanted = (strip.numBlocks - first + lanes - 1) / lanes;
  const std::size_t count = wanted < kNumBatches ? wanted : kNumBatches;
  for (std::size_t i = 0; i < count; ++i) {
    batches[i].Start(strip, first + i * lanes);
    isMoving[i] = true;
  }
  for (bool isAnyMoving = true; isAnyMoving;) {
    isAnyMoving = false;
    for (std::size_t i = 0; i < count; ++i) {
      if (isMoving[i]) isMoving[i] = batches[i].Round();
      isAnyMoving |= isMoving[i];
    }
  }
  for (std::size_t i = 0; i < count; ++i) batches[i].Finish(words + 2 * lanes * i);
}

template <bool kHasAlpha>
void EncodeBatches(const BlockStrip& strip, std::uint8_t* blocks) {
  HWY_ALIGN std::uint32_t words[2 * BlockStrip::kMaxBlocks];
  for (std::size_t first = 0; first < strip.numBlocks; first += kNumBatches * hn::Lanes(Floats())) {
    EncodeInTurns<kHasAlpha>(strip, first, words + 2 * first);
  }
  std::memcpy(blocks, words, 8 * strip.numBlocks);
}

}  // namespace

void EncodeMany(const BlockStrip& strip, std::uint8_t* blocks) {
  strip.hasTransparent ? EncodeBatches<true>(strip, blocks) : EncodeBatches<false>(strip, blocks);
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
