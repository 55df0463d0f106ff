// Reduction by two: each sample of a row that is made stands for two by two samples of the two rows above it.
//
// The mean of four has vector loops for samples of 8 and 16 bits and for 32-bit reals. Neighbours are added in lanes of
// twice the width, where four samples can't overflow, and the mean goes back to the narrow type. Signed integers are
// rounded by their absolute value, because halves go away from zero. Other types take the plain loop, which is also the
// rest of the vector loops; MeanOfFour.h has the same arithmetic for one sample. Means with nulls and the most frequent
// of four have plain loops only.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "math/HalfMean.h"

#include "base/DataTypeVisit.h"
#include "math/MeanOfFour.h"
#include "math/SampleFilter.h"

#include <cstddef>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/HalfMean.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class Sample>
/// The twin without vectors, from sample `first` on.
void PlainMeans(const Sample* upper, const Sample* lower, std::size_t first, std::size_t count, Sample* out) {
  for (std::size_t i = first; i < count; ++i) {
    out[i] = MeanOfFour(upper[2 * i], upper[2 * i + 1], lower[2 * i], lower[2 * i + 1]);
  }
}

#if HWY_TARGET != HWY_SCALAR
/// The sums of neighbours in lanes of twice the width. A wide lane holds two neighbours, the left one in its lower
/// half. Unsigned ones are taken apart by mask and shift. Signed ones need two shifts, which carry the sign along.
template <class Wide, class V>
hn::Vec<Wide> PairSums(Wide wide, V samples) {
  using Lane = hn::TFromD<Wide>;
  constexpr int kHalf = sizeof(Lane) * 4;
  const auto pairs = hn::BitCast(wide, samples);
  if constexpr (static_cast<Lane>(-1) < Lane{0}) {
    return hn::Add(hn::ShiftRight<kHalf>(hn::ShiftLeft<kHalf>(pairs)), hn::ShiftRight<kHalf>(pairs));
  } else {
    const auto mask = hn::Set(wide, static_cast<Lane>((Lane{1} << kHalf) - 1));
    return hn::Add(hn::And(pairs, mask), hn::ShiftRight<kHalf>(pairs));
  }
}

template <class Wide, class V>
/// A quarter of each sum, rounded half away from zero. Signed sums are quartered without their sign and get it back:
/// all bits of `sign` are set for a negative one, so that exclusive or and subtraction negate it.
V RoundedQuarters(Wide wide, V sums) {
  using Lane = hn::TFromD<Wide>;
  const auto two = hn::Set(wide, Lane{2});
  if constexpr (static_cast<Lane>(-1) < Lane{0}) {
    const auto sign = hn::ShiftRight<static_cast<int>(sizeof(Lane) * 8 - 1)>(sums);
    const auto size = hn::ShiftRight<2>(hn::Add(hn::Abs(sums), two));
    return hn::Sub(hn::Xor(size, sign), sign);
  } else {
    return hn::ShiftRight<2>(hn::Add(sums, two));
  }
}

/// The means of samples of 8 and 16 bits. `Lane` is the type of twice the width, signed like the samples.
template <class Lane, class Sample>
void NarrowMeans(const Sample* upper, const Sample* lower, std::size_t count, Sample* out) {
  const hn::ScalableTag<Sample> narrow;
  const hn::Repartition<Lane, decltype(narrow)> wide;
  const hn::RebindToSigned<decltype(wide)> demoted;  // a mean fits in it, and is demoted from there
  const hn::Rebind<Sample, decltype(wide)> half;
  const std::size_t lanes = hn::Lanes(wide);
  std::size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    const auto sums =
        hn::Add(PairSums(wide, hn::LoadU(narrow, upper + 2 * i)), PairSums(wide, hn::LoadU(narrow, lower + 2 * i)));
    hn::StoreU(hn::DemoteTo(half, hn::BitCast(demoted, RoundedQuarters(wide, sums))), half, out + i);
  }
  PlainMeans(upper, lower, i, count, out);
}

void Means(const std::uint8_t* upper, const std::uint8_t* lower, std::size_t count, std::uint8_t* out) {
  NarrowMeans<std::uint16_t>(upper, lower, count, out);
}
void Means(const std::int8_t* upper, const std::int8_t* lower, std::size_t count, std::int8_t* out) {
  NarrowMeans<std::int16_t>(upper, lower, count, out);
}
void Means(const std::uint16_t* upper, const std::uint16_t* lower, std::size_t count, std::uint16_t* out) {
  NarrowMeans<std::uint32_t>(upper, lower, count, out);
}
void Means(const std::int16_t* upper, const std::int16_t* lower, std::size_t count, std::int16_t* out) {
  NarrowMeans<std::int32_t>(upper, lower, count, out);
}

/// The sums of neighbours in two vectors of floats, as doubles: the first half of the sums and the second half. A
/// double has 29 bits more than a float, so that only the rounding at the end tells.
template <class D>
void PairSumsInDoubles(D floats, const float* from, hn::Vec<hn::Repartition<double, D>>& low,
                       hn::Vec<hn::Repartition<double, D>>& high) {
  const hn::Repartition<double, D> doubles;
  const hn::Half<D> half;
  const auto first = hn::LoadU(floats, from), second = hn::LoadU(floats, from + hn::Lanes(floats));
  const auto even = hn::ConcatEven(floats, second, first), odd = hn::ConcatOdd(floats, second, first);
  low = hn::Add(hn::PromoteTo(doubles, hn::LowerHalf(half, even)), hn::PromoteTo(doubles, hn::LowerHalf(half, odd)));
  high = hn::Add(hn::PromoteTo(doubles, hn::UpperHalf(half, even)), hn::PromoteTo(doubles, hn::UpperHalf(half, odd)));
}

void Means(const float* upper, const float* lower, std::size_t count, float* out) {
  const hn::ScalableTag<float> floats;
  const hn::Repartition<double, decltype(floats)> doubles;
  const hn::Half<decltype(floats)> half;
  const auto quarter = hn::Set(doubles, 0.25);
  const std::size_t lanes = hn::Lanes(floats);
  std::size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    hn::Vec<decltype(doubles)> low0, high0, low1, high1;
    PairSumsInDoubles(floats, upper + 2 * i, low0, high0);
    PairSumsInDoubles(floats, lower + 2 * i, low1, high1);
    hn::StoreU(hn::DemoteTo(half, hn::Mul(hn::Add(low0, low1), quarter)), half, out + i);
    hn::StoreU(hn::DemoteTo(half, hn::Mul(hn::Add(high0, high1), quarter)), half, out + i + lanes / 2);
  }
  PlainMeans(upper, lower, i, count, out);
}
#endif

template <class Sample>
void Means(const Sample* upper, const Sample* lower, std::size_t count, Sample* out) {
  PlainMeans(upper, lower, 0, count, out);
}

void MeansOfType(int dataType, const void* upper, const void* lower, std::size_t count, void* out) {
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    Means(static_cast<const Sample*>(upper), static_cast<const Sample*>(lower), count, static_cast<Sample*>(out));
  });
}

void MeansOfRows(int dataType, const BlockPair& block) {
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    const unsigned char* from = block.from;
    unsigned char* to = block.to;
    for (int row = 0; row < block.rows; ++row, from += 2 * block.fromStride, to += block.toStride) {
      Means(reinterpret_cast<const Sample*>(from), reinterpret_cast<const Sample*>(from + block.fromStride),
            static_cast<std::size_t>(block.width), reinterpret_cast<Sample*>(to));
    }
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <type_traits>

namespace zrk {
namespace {

HWY_EXPORT(MeansOfType);
HWY_EXPORT(MeansOfRows);

template <class Sample>
using SumOf = std::conditional_t<std::is_integral_v<Sample>, std::int64_t, double>;

template <class Sample>
/// The sum over the count, for integers rounded half away from zero. A sum of reals is one of quarters.
Sample RoundedMean(SumOf<Sample> sum, int count) {
  if constexpr (std::is_integral_v<Sample>) {
    const std::int64_t mean = (2 * (sum < 0 ? -sum : sum) + count) / (2 * count);
    return static_cast<Sample>(sum < 0 ? -mean : mean);
  } else {
    return static_cast<Sample>(sum / (0.25 * count));
  }
}

template <class Sample>
Sample MeanOfKept(const Sample (&four)[4], Sample nullSample) {
  SumOf<Sample> sum = 0;  // reals are quartered first, so that their sum can't overflow
  int count = 0;
  for (const Sample sample : four) {
    if (sample == nullSample) continue;
    sum += std::is_integral_v<Sample> ? static_cast<SumOf<Sample>>(sample)
                                      : static_cast<SumOf<Sample>>(0.25 * static_cast<double>(sample));
    ++count;
  }
  // Four valid samples give the same bits as where there is no null value.
  if (count == 4) return MeanOfFour(four[0], four[1], four[2], four[3]);
  return count == 0 ? nullSample : RoundedMean<Sample>(sum, count);
}

template <class Sample>
/// Ties go to the first, upper row before lower. A sample that is not a number equals nothing.
Sample MostFrequent(const Sample (&four)[4]) {
  const auto [a, b, c, d] = four;
  if (a == b || a == c || a == d) return a;
  if (b == c || b == d) return b;
  return c == d ? c : a;
}

template <class Sample, class Choose>
void ReduceRow(const void* upper, const void* lower, int count, void* out, Choose choose) {
  const auto* u = static_cast<const Sample*>(upper);
  const auto* l = static_cast<const Sample*>(lower);
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    const Sample four[4] = {u[2 * i], u[2 * i + 1], l[2 * i], l[2 * i + 1]};
    static_cast<Sample*>(out)[i] = choose(four);
  }
}

}  // namespace

void MeanOfFour(int dataType, const void* upper, const void* lower, int count, void* out) {
  HWY_DYNAMIC_DISPATCH(MeansOfType)(dataType, upper, lower, static_cast<std::size_t>(count), out);
}

void MeanOfFourRows(int dataType, const BlockPair& block) {
  HWY_DYNAMIC_DISPATCH(MeansOfRows)(dataType, block);
}

void MeanOfFourKept(int dataType, const void* upper, const void* lower, int count, void* out, double nullValue) {
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    // The loop with vectors, where no sample can be null.
    if (!CanEqual<Sample>(nullValue)) {
      MeanOfFour(dataType, upper, lower, count, out);
      return;
    }
    const auto nullSample = static_cast<Sample>(nullValue);
    ReduceRow<Sample>(upper, lower, count, out,
                      [nullSample](const Sample(&four)[4]) { return MeanOfKept(four, nullSample); });
  });
}

void MostFrequentOfFour(int dataType, const void* upper, const void* lower, int count, void* out) {
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    ReduceRow<Sample>(upper, lower, count, out, [](const Sample(&four)[4]) { return MostFrequent(four); });
  });
}

}  // namespace zrk
#endif
