// The pixel loops of `AreaMean`. Highway includes this file once for every instruction set that the machine may have,
// and picks one of them at run time. The loops are plain, and the compiler makes vectors of them. No product and sum
// are fused into one operation, so that the results are the same with every set.
//
// A mean has two steps. `Add` weighs whole source rows and adds them into one line of sums, a sum for each source
// column. `Finish` weighs and adds the sums under each output column and divides by the weight. Sums are doubles or
// 64-bit integers; `AreaMean` chooses the type that is exact. Where a row holds nulls, a second line beside the sums
// holds the weight of the samples that count.
//
// The data type is looked up once for each call. Below that each loop exists once for each type of sample and sum.

#include "core/resample/AreaKernels.h"

#include "base/DataTypeVisit.h"

#include <cmath>
#include <cstdint>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/resample/AreaKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

template <class Sample>
HWY_INLINE const Sample* SamplesOf(const void* row) {
  return static_cast<const Sample*>(row);
}

/// The quotient. For integers it is rounded half away from zero. A double that holds an exact sum below 2^51 has two
/// bits to spare, so that a fraction below a half stays below it when the quotient is rounded to a double.
template <class Sample>
HWY_INLINE Sample Divide(double sum, double weight) {
  const double quotient = sum / weight;
  if constexpr (std::is_floating_point_v<Sample>) {
    return static_cast<Sample>(quotient);
  } else if constexpr (sizeof(Sample) < 4) {
    return static_cast<Sample>(static_cast<std::int32_t>(quotient + (quotient < 0.0 ? -0.5 : 0.5)));
  } else {
    return static_cast<Sample>(static_cast<std::int64_t>(quotient + (quotient < 0.0 ? -0.5 : 0.5)));
  }
}

template <class Sample>
HWY_INLINE Sample Divide(std::int64_t sum, std::int64_t weight) {
  const std::int64_t quotient = sum / weight;
  const std::int64_t rest = sum % weight;
  const std::int64_t size = rest < 0 ? -rest : rest;
  // Twice the rest could overflow. So the rest is compared with the other part of the weight.
  const bool isRoundedAway = size >= weight - size;
  return static_cast<Sample>(quotient + (isRoundedAway ? (sum < 0 ? -1 : 1) : 0));
}

/// Takes up to three rows at a time, so that the sums are loaded and stored less often. Additions keep the order of the
/// rows: doubles come out the same as row by row, which `AreaMean::AddRow` relies on.
template <class Sample, class Sum>
void AddPlain(Sum* HWY_RESTRICT sums, const AreaRows& job) {
  for (std::size_t r = 0; r < job.numRows;) {
    const std::size_t left = job.numRows - r;
    const auto* row0 = SamplesOf<Sample>(job.rows[r]) + job.firstSample;
    const auto weight0 = static_cast<Sum>(job.rowWeights[r]);
    if (left == 1) {
      for (std::size_t x = 0; x < job.count; ++x) sums[x] += weight0 * static_cast<Sum>(row0[x]);
      return;
    }
    const auto* row1 = SamplesOf<Sample>(job.rows[r + 1]) + job.firstSample;
    const auto weight1 = static_cast<Sum>(job.rowWeights[r + 1]);
    if (left == 2) {
      for (std::size_t x = 0; x < job.count; ++x) {
        sums[x] = sums[x] + weight0 * static_cast<Sum>(row0[x]) + weight1 * static_cast<Sum>(row1[x]);
      }
      return;
    }
    const auto* row2 = SamplesOf<Sample>(job.rows[r + 2]) + job.firstSample;
    const auto weight2 = static_cast<Sum>(job.rowWeights[r + 2]);
    for (std::size_t x = 0; x < job.count; ++x) {
      sums[x] = sums[x] + weight0 * static_cast<Sum>(row0[x]) + weight1 * static_cast<Sum>(row1[x]) +
                weight2 * static_cast<Sum>(row2[x]);
    }
    r += 3;
  }
}

template <class Sample, class Sum>
/// A null adds nothing to either line. It is chosen away instead of skipped, because vectors have no branches.
void AddWithNulls(Sample null, Sum* HWY_RESTRICT sums, Sum* HWY_RESTRICT weights, const AreaRows& job) {
  for (std::size_t r = 0; r < job.numRows; ++r) {
    const auto* row = SamplesOf<Sample>(job.rows[r]) + job.firstSample;
    const auto weight = static_cast<Sum>(job.rowWeights[r]);
    for (std::size_t x = 0; x < job.count; ++x) {
      const bool isNull = row[x] == null;
      sums[x] += isNull ? Sum{} : weight * static_cast<Sum>(row[x]);
      weights[x] += isNull ? Sum{} : weight;
    }
  }
}

template <class Sample, class Sum>
/// The usual case of a pyramid: output i is made of the sums 2i and 2i + 1. The pattern is known to the compiler, and
/// the weights lie one array a tap, so that vectors go through.
void FinishTwoTaps(const Sum* HWY_RESTRICT sums, const AreaColumns& job, Sample* HWY_RESTRICT out) {
  const double* weights0 = job.strided[0];
  const double* weights1 = job.strided[1];
  const auto total = static_cast<Sum>(job.totalWeight);
  for (std::size_t i = 0; i < job.count; ++i) {
    const Sum sum = static_cast<Sum>(weights0[i]) * sums[2 * i] + static_cast<Sum>(weights1[i]) * sums[2 * i + 1];
    out[i] = Divide<Sample>(sum, total);
  }
}

template <class Sample, class Sum>
/// As above with the sum 2i + 2, which is there where the source has a little more than twice the size.
void FinishThreeTaps(const Sum* HWY_RESTRICT sums, const AreaColumns& job, Sample* HWY_RESTRICT out) {
  const double* weights0 = job.strided[0];
  const double* weights1 = job.strided[1];
  const double* weights2 = job.strided[2];
  const auto total = static_cast<Sum>(job.totalWeight);
  for (std::size_t i = 0; i < job.count; ++i) {
    const Sum sum = static_cast<Sum>(weights0[i]) * sums[2 * i] + static_cast<Sum>(weights1[i]) * sums[2 * i + 1] +
                    static_cast<Sum>(weights2[i]) * sums[2 * i + 2];
    out[i] = Divide<Sample>(sum, total);
  }
}

/// The weighted sum of all source columns under output column i.
template <class Sum>
HWY_INLINE Sum AddUp(const Sum* sums, const AreaColumns& job, std::size_t i) {
  const double* weights = job.weights + job.starts[i];
  const std::size_t count = job.starts[i + 1] - job.starts[i];
  sums += job.firsts[i] - job.origin;
  Sum sum = static_cast<Sum>(weights[0]) * sums[0];
  for (std::size_t k = 1; k < count; ++k) sum += static_cast<Sum>(weights[k]) * sums[k];
  return sum;
}

template <class Sample, class Sum>
void FinishAny(const Sum* sums, const AreaColumns& job, Sample* out) {
  const auto total = static_cast<Sum>(job.totalWeight);
  for (std::size_t i = 0; i < job.count; ++i) out[i] = Divide<Sample>(AddUp(sums, job, i), total);
}

template <class Sample, class Sum>
void FinishWithNulls(Sample null, const Sum* sums, const Sum* weights, const AreaColumns& job, Sample* out) {
  for (std::size_t i = 0; i < job.count; ++i) {
    // A pixel without a valid sample is divided by 1 and thrown away: a division by 0 would trap for integers.
    const Sum weight = AddUp(weights, job, i);
    const Sample mean = Divide<Sample>(AddUp(sums, job, i), weight == Sum{} ? Sum{1} : weight);
    out[i] = weight == Sum{} ? null : mean;
  }
}

template <class Sample, class Sum>
void FinishAs(double null, const AreaSums& job, const AreaColumns& columns, Sample* out) {
  const auto* sums = static_cast<const Sum*>(job.sums);
  if (job.weights) {
    FinishWithNulls(static_cast<Sample>(null), sums, static_cast<const Sum*>(job.weights), columns, out);
  } else if (columns.stridedTaps == 2) {
    FinishTwoTaps(sums, columns, out);
  } else if (columns.stridedTaps == 3) {
    FinishThreeTaps(sums, columns, out);
  } else {
    FinishAny(sums, columns, out);
  }
}

template <class Sample, class Sum>
void AddAs(double null, const AreaSums& sums, const AreaRows& rows) {
  if (sums.weights) {
    AddWithNulls(static_cast<Sample>(null), static_cast<Sum*>(sums.sums), static_cast<Sum*>(sums.weights), rows);
  } else {
    AddPlain<Sample>(static_cast<Sum*>(sums.sums), rows);
  }
}

/// In images of usual sizes only samples of 32 bits need sums of 64-bit integers. In a huge image any integer may.
template <class Body>
void VisitSampleAndSum(int dataType, bool isInteger, Body&& body) {
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    if constexpr (std::is_integral_v<Sample>) {
      if (isInteger) return body(zero, std::int64_t{});
    }
    body(zero, double{});
  });
}

void Add(int dataType, double null, const AreaSums& sums, const AreaRows& rows) {
  VisitSampleAndSum(dataType, sums.isInteger,
                    [&](auto sample, auto sum) { AddAs<decltype(sample), decltype(sum)>(null, sums, rows); });
}

void Finish(int dataType, double null, const AreaSums& sums, const AreaColumns& columns, void* out) {
  VisitSampleAndSum(dataType, sums.isInteger, [&](auto sample, auto sum) {
    using Sample = decltype(sample);
    FinishAs<Sample, decltype(sum)>(null, sums, columns, static_cast<Sample*>(out));
  });
}

template <class Sample>
/// The mean at exactly half the size, which needs no weights. A double is quartered first, so that the sum can't
/// overflow. Integers shift, with one less for a negative sum, since a shift rounds down and halves go away from zero.
HWY_INLINE Sample MeanOfFour(Sample a, Sample b, Sample c, Sample d) {
  if constexpr (std::is_same_v<Sample, double>) {
    return (a * 0.25 + b * 0.25) + (c * 0.25 + d * 0.25);
  } else if constexpr (std::is_same_v<Sample, float>) {
    return static_cast<float>(((double{a} + double{b}) + (double{c} + double{d})) * 0.25);
  } else {
    using Sum = std::conditional_t<sizeof(Sample) < 4, std::int32_t, std::int64_t>;
    const Sum sum = static_cast<Sum>(a) + static_cast<Sum>(b) + static_cast<Sum>(c) + static_cast<Sum>(d);
    return static_cast<Sample>((sum + 2 - (std::is_signed_v<Sample> && sum < 0 ? 1 : 0)) >> 2);
  }
}

/// As `MeanOfFour`, with nulls left out. Gives the same where none of the four is null.
template <class Sample>
HWY_INLINE Sample MeanOfValid(Sample null, Sample a, Sample b, Sample c, Sample d) {
  constexpr double kPart = std::is_same_v<Sample, double> ? 0.25 : 1.0;
  const auto part = [&](Sample sample) { return sample == null ? 0.0 : static_cast<double>(sample) * kPart; };
  const auto weight = [&](Sample sample) { return sample == null ? 0.0 : kPart; };
  const double sum = (part(a) + part(b)) + (part(c) + part(d));
  const double weights = (weight(a) + weight(b)) + (weight(c) + weight(d));
  const Sample mean = Divide<Sample>(sum, weights == 0.0 ? 1.0 : weights);
  return weights == 0.0 ? null : mean;
}

void Halve(int dataType, const void* upperRow, const void* lowerRow, void* outRow, std::size_t count) {
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    const Sample* HWY_RESTRICT upper = SamplesOf<Sample>(upperRow);
    const Sample* HWY_RESTRICT lower = SamplesOf<Sample>(lowerRow);
    Sample* HWY_RESTRICT out = static_cast<Sample*>(outRow);
    for (std::size_t i = 0; i < count; ++i) {
      out[i] = MeanOfFour(upper[2 * i], upper[2 * i + 1], lower[2 * i], lower[2 * i + 1]);
    }
  });
}

void HalveWithNulls(int dataType, double nullValue, const void* upperRow, const void* lowerRow, void* outRow,
                    std::size_t count) {
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    const Sample* HWY_RESTRICT upper = SamplesOf<Sample>(upperRow);
    const Sample* HWY_RESTRICT lower = SamplesOf<Sample>(lowerRow);
    Sample* HWY_RESTRICT out = static_cast<Sample*>(outRow);
    const auto null = static_cast<Sample>(nullValue);
    for (std::size_t i = 0; i < count; ++i) {
      out[i] = MeanOfValid(null, upper[2 * i], upper[2 * i + 1], lower[2 * i], lower[2 * i + 1]);
    }
  });
}

/// Goes by blocks. Within a block there is no exit, so that vectors go through it; after a block that has a null the
/// search ends.
template <class Sample>
bool Contains(const Sample* row, std::size_t count, Sample null) {
  constexpr std::size_t kBlock = 1024;
  for (std::size_t at = 0; at < count; at += kBlock) {
    const std::size_t end = count - at < kBlock ? count : at + kBlock;
    unsigned char found = 0;
    for (std::size_t i = at; i < end; ++i) found |= static_cast<unsigned char>(row[i] == null);
    if (found) return true;
  }
  return false;
}

bool HasNull(int dataType, double null, const void* row, std::size_t count) {
  bool found = false;
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    found = Contains(SamplesOf<Sample>(row), count, static_cast<Sample>(null));
  });
  return found;
}

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {

HWY_EXPORT(Add);
HWY_EXPORT(Finish);
HWY_EXPORT(Halve);
HWY_EXPORT(HalveWithNulls);
HWY_EXPORT(HasNull);

void AddAreaRows(int dataType, double nullValue, const AreaSums& sums, const AreaRows& rows) {
  HWY_DYNAMIC_DISPATCH(Add)(dataType, nullValue, sums, rows);
}

void FinishAreaRow(int dataType, double nullValue, const AreaSums& sums, const AreaColumns& columns, void* out) {
  HWY_DYNAMIC_DISPATCH(Finish)(dataType, nullValue, sums, columns, out);
}

void HalveAreaRow(int dataType, const void* upper, const void* lower, void* out, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(Halve)(dataType, upper, lower, out, count);
}

void HalveAreaRowWithNulls(int dataType, double nullValue, const void* upper, const void* lower, void* out,
                           std::size_t count) {
  HWY_DYNAMIC_DISPATCH(HalveWithNulls)(dataType, nullValue, upper, lower, out, count);
}

bool AreaRowHasNull(int dataType, double nullValue, const void* row, std::size_t count) {
  return HWY_DYNAMIC_DISPATCH(HasNull)(dataType, nullValue, row, count);
}

}  // namespace zrk
#endif
