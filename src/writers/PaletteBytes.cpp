#include "writers/PaletteBytes.h"

#include "base/DataTypeVisit.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace zrk {
namespace {

/// Both signs stand for "not known": a search for the largest value begins with the negative one.
bool IsUnset(double statistic) {
  return std::abs(statistic) == kNotSet;
}

/// The conversion to a whole number is undefined beyond 64 bits. The test is written so that a value that is not a
/// number also fails it.
unsigned char LowestByte(double value) {
  constexpr double kBeyond = 9.2e18;  // just within 64 bits
  if (!(std::abs(value) < kBeyond)) return 0;
  return static_cast<unsigned char>(static_cast<std::int64_t>(value));
}

}  // namespace

/// Values are spread only where both ends are known and a byte would not hold them all. Classes that fit in a byte keep
/// their numbers, by which the table of colours knows them.
PaletteBytes::PaletteBytes(int dataType, double min, double max)
    : dataType_(dataType),
      min_(min),
      max_(max),
      isSpread_(!IsUnset(min) && !IsUnset(max) && !(min >= 0.0 && max <= 255.0)) {}

/// A range of one value can't be spread: its only value becomes class 0.
unsigned char PaletteBytes::ByteOf(double value) const {
  if (value == kNotSet) return 0;
  if (!isSpread_) return LowestByte(value);
  return min_ == max_ ? 0 : LowestByte((value - min_) * 255.0 / (max_ - min_));
}

/// Complex samples and the like have no order and make no class. The loop stands inside the visit, so that the type is
/// looked up once for all samples.
void PaletteBytes::Convert(const void* samples, std::size_t count, unsigned char* bytes) const {
  const bool isScalar = VisitDataType(dataType_, [&](auto zero) {
    using Sample = decltype(zero);
    const auto* source = static_cast<const Sample*>(samples);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = ByteOf(static_cast<double>(source[i]));
  });
  if (!isScalar) std::memset(bytes, 0, count);
}

}  // namespace zrk
