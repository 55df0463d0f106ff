#include "writers/PaletteBytes.h"

#include "base/DataTypeVisit.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace zrk {
namespace {

bool IsUnset(double statistic) {
  return std::abs(statistic) == kNotSet;
}

unsigned char LowestByte(double value) {
  constexpr double kBeyond = 9.2e18;  // just within 64 bits
  if (!(std::abs(value) < kBeyond)) return 0;
  return static_cast<unsigned char>(static_cast<std::int64_t>(value));
}

}  // namespace

PaletteBytes::PaletteBytes(int dataType, double min, double max)
    : dataType_(dataType),
      min_(min),
      max_(max),
      isSpread_(!IsUnset(min) && !IsUnset(max) && !(min >= 0.0 && max <= 255.0)) {}

unsigned char PaletteBytes::ByteOf(double value) const {
  if (value == kNotSet) return 0;
  if (!isSpread_) return LowestByte(value);
  return min_ == max_ ? 0 : LowestByte((value - min_) * 255.0 / (max_ - min_));
}

void PaletteBytes::Convert(const void* samples, std::size_t count, unsigned char* bytes) const {
  const bool isScalar = VisitDataType(dataType_, [&](auto zero) {
    using Sample = decltype(zero);
    const auto* source = static_cast<const Sample*>(samples);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = ByteOf(static_cast<double>(source[i]));
  });
  if (!isScalar) std::memset(bytes, 0, count);
}

}  // namespace zrk
