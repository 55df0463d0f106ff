// Samples that do not fill whole bytes, and reals of 16 and 24 bits.
//
// A sample is cut out of the eight bytes that begin where it begins, taken as one number with the first byte highest. A
// shift of up to 7 bits and a sample of up to 32 always fit into these. Rows of single bits are spread eight pixels at
// a time instead.
//
// Reals are widened field by field: sign, exponent with another bias, and mantissa. Infinities and values that are not
// a number stay what they are.

#include "bands/tiff/TiffBits.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace zrk {
namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::int64_t kWordBytes = 8;

/// Eight bytes from `byte` on, the first one highest. Bytes beyond the row are 0.
std::uint64_t LoadWord(PackedRow row, std::int64_t byte) {
  std::uint64_t word = 0;
  const std::int64_t available = std::min(row.numBytes - byte, kWordBytes);
  if (available > 0) std::memcpy(&word, row.data + byte, static_cast<std::size_t>(available));
  return __builtin_bswap64(word);
}

template <class Sample>
void UnpackAs(PackedRow row, std::int64_t bit, std::int64_t bitStep, int numBits, int count, unsigned char* out) {
  for (int i = 0; i < count; ++i, bit += bitStep) {
    const std::uint64_t word = LoadWord(row, bit >> 3) << (bit & 7);
    const auto sample = static_cast<Sample>(word >> (64 - numBits));
    std::memcpy(out + i * static_cast<std::int64_t>(sizeof(Sample)), &sample, sizeof(Sample));
  }
}

/// Makes eight bytes of the eight pixels of a byte. The byte is repeated, and a mask leaves each copy the bit of its
/// own pixel. Adding 0x7f then carries that bit to the top of its byte, and never beyond it.
std::uint64_t SpreadByte(unsigned char byte) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  constexpr std::uint64_t kBitOfPixel = 0x0102040810204080;
  return (((byte * kEach) & kBitOfPixel) + 0x7f * kEach) >> 7 & kEach;
}

/// As `UnpackAs` for neighbours of one bit that begin with a byte; answers how many it took.
int UnpackWholeBytes(PackedRow row, std::int64_t firstByte, int count, unsigned char* out) {
  const auto numBytes = static_cast<int>(std::clamp<std::int64_t>(row.numBytes - firstByte, 0, count / 8));
  for (int i = 0; i < numBytes; ++i) {
    const std::uint64_t pixels = SpreadByte(row.data[firstByte + i]);
    std::memcpy(out + std::int64_t{8} * i, &pixels, sizeof pixels);
  }
  return 8 * numBytes;
}

/// Pixels before the first whole byte and behind the last one are cut out one by one.
void UnpackSingleBits(PackedRow row, std::int64_t bit, int count, unsigned char* out) {
  const int head = static_cast<int>(std::min<std::int64_t>(-bit & 7, count));
  UnpackAs<std::uint8_t>(row, bit, 1, 1, head, out);
  const int whole = UnpackWholeBytes(row, (bit + head) >> 3, count - head, out + head);
  UnpackAs<std::uint8_t>(row, bit + head + whole, 1, 1, count - head - whole, out + head + whole);
}

/// The sign bit is moved up to the type's own, and comes down again with copies of itself behind it.
template <class Sample>
void ExtendSignsAs(unsigned char* samples, std::int64_t count, int numBits) {
  const int shift = 8 * static_cast<int>(sizeof(Sample)) - numBits;
  for (std::int64_t i = 0; i < count; ++i, samples += sizeof(Sample)) {
    Sample sample;
    std::memcpy(&sample, samples, sizeof sample);
    sample = static_cast<Sample>(static_cast<Sample>(static_cast<std::uint32_t>(sample) << shift) >> shift);
    std::memcpy(samples, &sample, sizeof sample);
  }
}

/// A double has 53 bits from the highest one that is set to the lowest.
bool HasDouble(std::uint64_t size) {
  return size == 0 || size >> std::countr_zero(size) < std::uint64_t{1} << 53;
}

template <class Integer>
bool MakeDoublesOf(unsigned char* samples, std::int64_t count) {
  bool haveAll = true;
  for (std::int64_t i = 0; i < count; ++i, samples += sizeof(Integer)) {
    Integer integer;
    std::memcpy(&integer, samples, sizeof integer);
    const auto bits = static_cast<std::uint64_t>(integer);
    haveAll &= HasDouble(integer < 0 ? 0 - bits : bits);
    const auto real = static_cast<double>(integer);
    std::memcpy(samples, &real, sizeof real);
  }
  return haveAll;
}

constexpr std::uint32_t kSingleInfinity = 0x7f800000;
constexpr std::uint32_t kSingleBias = 127;

}  // namespace

void UnpackBits(PackedRow row, std::int64_t firstBit, std::int64_t bitStep, int numBits, int count, int sampleBytes,
                unsigned char* out) {
  constexpr int kMaxBits = 32;
  if (numBits == 1 && bitStep == 1 && sampleBytes == 1) return UnpackSingleBits(row, firstBit, count, out);
  // The low bits of a sample are its last ones.
  if (numBits > kMaxBits) {
    firstBit += numBits - kMaxBits;
    numBits = kMaxBits;
  }
  switch (sampleBytes) {
    case 1:
      return UnpackAs<std::uint8_t>(row, firstBit, bitStep, numBits, count, out);
    case 2:
      return UnpackAs<std::uint16_t>(row, firstBit, bitStep, numBits, count, out);
    default:
      return UnpackAs<std::uint32_t>(row, firstBit, bitStep, numBits, count, out);
  }
}

std::uint32_t WidenHalf(std::uint16_t half) {
  constexpr std::uint32_t kBias = 15, kMantissaBits = 10, kHidden = 1u << kMantissaBits, kLargestExponent = 31;
  const std::uint32_t sign = (half & 0x8000u) << 16;
  std::uint32_t exponent = half >> kMantissaBits & kLargestExponent;
  std::uint32_t mantissa = half & (kHidden - 1);
  if (exponent == kLargestExponent) return sign | kSingleInfinity | mantissa << 13;
  if (exponent == 0) {
    if (mantissa == 0) return sign;
    // The mantissa is moved up to where the hidden bit would be, which gives the exponent.
    const auto shift = static_cast<std::uint32_t>(std::countl_zero(mantissa)) - (31 - kMantissaBits);
    mantissa = mantissa << shift & (kHidden - 1);
    exponent = 1 - shift;
  }
  return sign | (exponent + kSingleBias - kBias) << 23 | mantissa << 13;
}

std::uint32_t WidenReal24(std::uint32_t real) {
  constexpr std::uint32_t kBias = 63, kMantissaMask = 0xffff, kLargestExponent = 127, kNormalBit = 1u << 13;
  const std::uint32_t sign = (real & 0x800000u) << 8;
  std::uint32_t exponent = real >> 16 & kLargestExponent;
  std::uint32_t mantissa = real & kMantissaMask;
  if (exponent == kLargestExponent) return sign | kSingleInfinity | mantissa << 7;
  if (exponent == 0) {
    // Without any of the bits 0 to 13 there is nothing that could be shifted up to that bit.
    if ((mantissa & (2 * kNormalBit - 1)) == 0) return sign;
    for (; !(mantissa & kNormalBit); mantissa <<= 1) --exponent;
    ++exponent;
    mantissa &= ~kNormalBit;
  }
  return sign | (exponent + kSingleBias - kBias) << 23 | mantissa << 7;
}

void UnpackReals(const unsigned char* source, std::int64_t byteStep, int numBits, int count, unsigned char* out) {
  for (int i = 0; i < count; ++i, source += byteStep, out += sizeof(std::uint32_t)) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, source, static_cast<std::size_t>(numBits / 8));
    bits = numBits == 16 ? WidenHalf(static_cast<std::uint16_t>(bits)) : WidenReal24(bits);
    std::memcpy(out, &bits, sizeof bits);
  }
}

void ExtendSigns(unsigned char* samples, std::int64_t count, int numBits, int sampleBytes) {
  switch (sampleBytes) {
    case 1:
      return ExtendSignsAs<std::int8_t>(samples, count, numBits);
    case 2:
      return ExtendSignsAs<std::int16_t>(samples, count, numBits);
    default:
      return ExtendSignsAs<std::int32_t>(samples, count, numBits);
  }
}

bool MakeDoubles(unsigned char* samples, std::int64_t count, bool areSigned) {
  return areSigned ? MakeDoublesOf<std::int64_t>(samples, count) : MakeDoublesOf<std::uint64_t>(samples, count);
}

}  // namespace zrk
