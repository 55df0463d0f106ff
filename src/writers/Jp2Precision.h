#pragma once

#include "XString.h"

#include <cstddef>
#include <optional>
#include <span>

namespace zrk {

/// The bits that samples of a component are given in place of their own.
struct ForcedPrecision {
  int bits = 8;
  /// Whether samples move, so that their highest bit becomes the highest of these. Otherwise they keep their value.
  bool isAligned = true;
};

/// What a list says of a component, counted from 0: a positive number asks for so many bits with samples that move, a
/// negative one for as many with samples that stay, and 0 for none. The last number stands for all further components.
/// Nothing where the list is empty or the component below 0. More than 30 bits are taken for 30, which `err` tells.
std::optional<ForcedPrecision> FindForcedPrecision(std::span<const int> list, int component, XString& err);

/// Makes samples of other bits out of those of a band.
class SampleChanger {
 public:
  /// `forced` has 1 to 16 bits.
  SampleChanger(int sampleBytes, bool isSigned, const ForcedPrecision& forced);

  int GetSampleBytes() const { return bits_ > 8 ? 2 : 1; }
  /// Samples that keep their value, and don't fit, become the nearest that do.
  void Change(const unsigned char* samples, std::size_t count, unsigned char* changed) const;

 private:
  template <class From, class To>
  void ChangeAs(const unsigned char* samples, std::size_t count, unsigned char* changed) const;

  int sampleBytes_;
  bool isSigned_;
  int bits_;
  bool isAligned_;
};

}  // namespace zrk
