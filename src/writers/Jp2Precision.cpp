#include "writers/Jp2Precision.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace zrk {

std::optional<ForcedPrecision> FindForcedPrecision(std::span<const int> list, int component, XString& err) {
  constexpr int kMaxBits = 30;
  if (list.empty() || component < 0) return {};
  const int entry = list[std::min(static_cast<std::size_t>(component), list.size() - 1)];
  if (entry == 0) return {};
  ForcedPrecision forced = {std::abs(std::max(entry, -INT32_MAX)), entry > 0};
  if (forced.bits > kMaxBits) {
    forced.bits = kMaxBits;
    err.Format("Attempting to force the precision of component %d beyond 30 bits; we will force to 30 bits only.",
               component);
  }
  return forced;
}

SampleChanger::SampleChanger(int sampleBytes, bool isSigned, const ForcedPrecision& forced)
    : sampleBytes_(sampleBytes), isSigned_(isSigned), bits_(forced.bits), isAligned_(forced.isAligned) {}

/// Nothing is lost to a shift to the left, since the bits that samples get are those of their new type at most.
template <class From, class To>
void SampleChanger::ChangeAs(const unsigned char* samples, std::size_t count, unsigned char* changed) const {
  const int shift = isAligned_ ? bits_ - 8 * sampleBytes_ : 0;
  const int most = (1 << (isSigned_ ? bits_ - 1 : bits_)) - 1, least = isSigned_ ? -most - 1 : 0;
  for (std::size_t i = 0; i < count; ++i) {
    From from;
    std::memcpy(&from, samples + i * sizeof from, sizeof from);
    const int moved = shift >= 0 ? from * (1 << shift) : from >> -shift;
    const To to = static_cast<To>(std::clamp(moved, least, most));
    std::memcpy(changed + i * sizeof to, &to, sizeof to);
  }
}

/// A sample of either sign has the same bytes in a number without one.
void SampleChanger::Change(const unsigned char* samples, std::size_t count, unsigned char* changed) const {
  const auto change = [&]<class From>(From) {
    if (GetSampleBytes() == 1) return ChangeAs<From, std::uint8_t>(samples, count, changed);
    ChangeAs<From, std::uint16_t>(samples, count, changed);
  };
  if (sampleBytes_ == 1) return isSigned_ ? change(std::int8_t{}) : change(std::uint8_t{});
  isSigned_ ? change(std::int16_t{}) : change(std::uint16_t{});
}

}  // namespace zrk
