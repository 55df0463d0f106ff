#pragma once

#include <cstdint>

namespace zrk {

/// Samples of a row that is packed bit by bit, the highest bit of a byte first.
struct PackedRow {
  const unsigned char* data = nullptr;
  std::int64_t numBytes = 0;
};

/// Takes `count` samples of `numBits` bits as unsigned numbers of `sampleBytes` (1, 2 or 4) bytes. The first sample
/// begins at `firstBit`, and each further one `bitStep` bits behind the one before. Of wider samples the low bits are
/// taken. Bits beyond the row are 0.
void UnpackBits(PackedRow row, std::int64_t firstBit, std::int64_t bitStep, int numBits, int count, int sampleBytes,
                unsigned char* out);

/// The 32 bits of the single that has the same value as an IEEE 754 half.
std::uint32_t WidenHalf(std::uint16_t half);
/// The same of a real of 24 bits: 1 of sign, 7 of exponent with a bias of 63, and 16 of mantissa. A number without
/// exponent is normalised at bit 13 of its mantissa.
std::uint32_t WidenReal24(std::uint32_t real);

/// Takes `count` reals of 16 or 24 bits, `byteStep` bytes apart and in the machine's order, as singles.
void UnpackReals(const unsigned char* source, std::int64_t byteStep, int numBits, int count, unsigned char* out);

/// Gives `count` samples of `numBits` bits, which have been unpacked to `sampleBytes` (1, 2 or 4) bytes, their sign.
void ExtendSigns(unsigned char* samples, std::int64_t count, int numBits, int sampleBytes);
/// Replaces `count` integers of 64 bits by doubles of the same value. False where one has none; what stands in
/// `samples` then is of no use.
bool MakeDoubles(unsigned char* samples, std::int64_t count, bool areSigned);

}  // namespace zrk
