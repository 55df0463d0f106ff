#pragma once

#include <cstddef>

namespace zrk {

/// Makes class values, one byte each, of a band's samples. If the statistics of the band are known and go beyond 0 to
/// 255, samples are scaled to that range. Otherwise samples are cut to whole numbers, and of a number beyond a byte the
/// lowest byte counts. No number and "no value" (1.7e+308) are 0, and so is every sample of a type that is not a
/// scalar.
class PaletteBytes {
 public:
  /// A code of `XDataType`, and the band's statistics, of which +-1.7e+308 stands for not known.
  PaletteBytes(int dataType, double min, double max);
  void Convert(const void* samples, std::size_t count, unsigned char* bytes) const;

 private:
  unsigned char ByteOf(double value) const;

  int dataType_;
  double min_;
  double max_;
  bool isSpread_;
};

}  // namespace zrk
