// A sample goes through stretch, lookup table, cut, null and transparent value. Samples of up to 16 bits are looked up
// in a table of all of them, which has all of that in it, so that the loop over pixels does the same for every setting.
// Wider samples are worked out one by one.
//
// All stretches are made alike: a straight scale takes samples to 256 steps, and each step has its byte. For an even
// histogram the steps are its bins. The lookup table is part of the steps.

#include "display/BandLook.h"

#include "base/DataTypeVisit.h"
#include "display/BandSamples.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <type_traits>

namespace zrk {

BandLook::BandLook(const BandSettings& settings, int dataType, double nullValue, const tagXSubsetStatistics& statistics)
    : dataType_(dataType), nullValue_(nullValue), transparentValue_(settings.transparentValue), steps_(settings.lut) {
  SetScale(settings, statistics);
  SetCut(settings);
  MakeTables();
}

/// Deviations may reach beyond the samples that there are, and would waste bytes on those.
void BandLook::SetScale(const BandSettings& settings, const tagXSubsetStatistics& statistics) {
  const double low = statistics.minValue, high = statistics.maxValue;
  switch (settings.stretchType) {
    case kStretchMinMax:
      SetRange(low, high, settings.coverage);
      break;
    case kStretchDeviations: {
      const double reach = 2.0 * statistics.stdDev;
      SetRange(std::max(low, statistics.mean - reach), std::min(high, statistics.mean + reach), settings.coverage);
      break;
    }
    case kStretchHistogram:
      Equalise(statistics, settings.coverage);
      break;
    case kStretchCut:
      SetRange(settings.cutMin, settings.cutMax, settings.coverage);
      break;
    default:
      break;
  }
}

/// A range without an inside makes every sample 0.
void BandLook::SetRange(double low, double high, double coverage) {
  const double off = (high - low) * (1.0 - coverage / 100.0) / 2.0;
  low_ = low + off;
  const double width = high - off - low_;
  factor_ = width > 0.0 ? 255.0 / width : 0.0;
  // A half that lacks the last bits counts as one.
  rounding_ = factor_ > 0.0 ? 0.5 + 1e-9 : 0.0;
}

/// Each bin of the histogram gets the byte of the share of samples up to its middle.
void BandLook::Equalise(const tagXSubsetStatistics& statistics, double coverage) {
  const double width = statistics.maxValue - statistics.minValue;
  low_ = statistics.minValue;
  factor_ = width > 0.0 ? 256.0 / width : 0.0;
  rounding_ = 0.0;
  const std::array<unsigned char, 256> lut = steps_;
  const auto& counts = statistics.histogram;
  const auto total = static_cast<double>(std::accumulate(std::begin(counts), std::end(counts), std::int64_t{0}));
  const double off = (1.0 - coverage / 100.0) / 2.0;
  double before = 0.0;
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    const auto count = static_cast<double>(counts[i]);
    const double share = total > 0.0 ? (before + 0.5 * count) / total : 0.0;
    const double inside = coverage > 0.0 ? (share - off) / (1.0 - 2.0 * off) : 0.0;
    steps_[i] = lut[static_cast<std::size_t>(std::clamp(inside, 0.0, 1.0) * 255.0 + 0.5)];
    before += count;
  }
}

/// All kinds of cuts become two ranges, one to keep and one to drop, so that a sample is compared in one way.
void BandLook::SetCut(const BandSettings& settings) {
  const int type = settings.cutType;
  if (type == kCutBelow || type == kCutOutside) keepMin_ = settings.cutMin;
  if (type == kCutAbove || type == kCutOutside) keepMax_ = settings.cutMax;
  if (type == kCutInside) {
    dropMin_ = settings.cutMin;
    dropMax_ = settings.cutMax;
  }
}

/// What the table holds tells whether anything can be empty, and whether samples are the bytes already. Both spare
/// work.
void BandLook::MakeTables() {
  VisitDataType(dataType_, [&](auto zero) {
    if constexpr (sizeof(zero) <= 2) FillTables<decltype(zero)>();
  });
  if (bytes_.empty()) return;
  hasEmpty_ = std::find(shown_.begin(), shown_.end(), 0) != shown_.end();
  isIdentity_ = dataType_ == kPint08 && !hasEmpty_;
  for (std::size_t i = 0; isIdentity_ && i < bytes_.size(); ++i) isIdentity_ = bytes_[i] == i;
}

/// A table is indexed by the bits of a sample, whose sign does not matter then.
template <class Sample>
void BandLook::FillTables() {
  using Index = std::make_unsigned_t<Sample>;
  constexpr std::size_t kSize = std::size_t{std::numeric_limits<Index>::max()} + 1;
  bytes_.resize(kSize);
  shown_.resize(kSize);
  for (std::size_t i = 0; i < kSize; ++i) {
    const auto sample = static_cast<double>(static_cast<Sample>(static_cast<Index>(i)));
    const bool isShown = IsShown(sample);
    bytes_[i] = isShown ? ByteOf(sample) : 0;
    shown_[i] = isShown ? 255 : 0;
  }
}

void BandLook::TakeRow(const unsigned char* samples, const int* places, int count, unsigned char* bytes,
                       unsigned char* shown) const {
  VisitDataType(dataType_, [&](auto zero) {
    using Sample = decltype(zero);
    const auto* const row = reinterpret_cast<const Sample*>(samples);
    if constexpr (sizeof(Sample) <= 2) {
      TakeFromTables<Sample>(row, places, count, bytes, shown);
    } else {
      TakeByNumbers<Sample>(row, places, count, bytes, shown);
    }
  });
}

template <class Sample>
void BandLook::TakeFromTables(const Sample* samples, const int* places, int count, unsigned char* __restrict bytes,
                              unsigned char* __restrict shown) const {
  using Index = std::make_unsigned_t<Sample>;
  const unsigned char* const byteTable = bytes_.data();
  const unsigned char* const shownTable = shown_.data();
  if (isIdentity_) {
    for (int i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(samples[places[i]]);
    return;
  }
  for (int i = 0; i < count; ++i) bytes[i] = byteTable[static_cast<Index>(samples[places[i]])];
  if (!hasEmpty_) return;
  for (int i = 0; i < count; ++i) shown[i] = shownTable[static_cast<Index>(samples[places[i]])];
}

/// Any real may be not a number, and so which samples are shown is always told.
template <class Sample>
void BandLook::TakeByNumbers(const Sample* samples, const int* places, int count, unsigned char* bytes,
                             unsigned char* shown) const {
  for (int i = 0; i < count; ++i) {
    const auto sample = static_cast<double>(samples[places[i]]);
    const unsigned char mask = IsShown(sample) ? 255 : 0;
    shown[i] = mask;
    bytes[i] = ByteOf(sample) & mask;
  }
}

namespace {

/// Statistics that were never made have this value or its negative.
bool IsKnown(double value) {
  return std::abs(value) < kNotSet;
}

/// Whether the band has what the stretch needs.
bool TakeBandStatistics(const ZRMBand& band, int stretchType, tagXSubsetStatistics& statistics) {
  statistics.minValue = band.GetBandMin();
  statistics.maxValue = band.GetBandMax();
  statistics.mean = band.GetBandMean();
  statistics.stdDev = band.GetBandStdDev();
  std::copy_n(band.GetHistogram(), 256, statistics.histogram);
  if (!IsKnown(statistics.minValue) || !IsKnown(statistics.maxValue)) return false;
  if (stretchType == kStretchDeviations) return IsKnown(statistics.mean) && IsKnown(statistics.stdDev);
  if (stretchType != kStretchHistogram) return true;
  return std::any_of(band.GetHistogram(), band.GetHistogram() + 256, [](std::int64_t count) { return count > 0; });
}

}  // namespace

/// The band's own fields stay as they are: other threads may be reading them.
bool FindStatistics(ZRMBand& band, int stretchType, const tagXSubsetStatistics* subset,
                    tagXSubsetStatistics& statistics) {
  if (stretchType == kStretchNone || stretchType == kStretchCut) return true;
  if (subset) {
    statistics = *subset;
    return true;
  }
  return TakeBandStatistics(band, stretchType, statistics) ||
         MeasureWindow(band, {0, band.GetXSize() - 1, 0, band.GetYSize() - 1}, statistics);
}

}  // namespace zrk
