#include "XBits.h"

#include <bit>
#include <cstdint>

namespace {

/// Bit 0 is the highest bit of the first byte, as in bilevel images.
unsigned char MaskOf(int bit) {
  return static_cast<unsigned char>(0x80 >> (bit % 8));
}

}  // namespace

int XfnGetBitBuffer(unsigned char* buf, int bit) {
  return (buf[bit >> 3] & MaskOf(bit)) != 0;
}

void XfnSetBitBuffer(unsigned char* buf, int bit, int value) {
  unsigned char& byte = buf[bit >> 3];
  byte = static_cast<unsigned char>(value ? byte | MaskOf(bit) : byte & ~MaskOf(bit));
}

/// The power is the exponent of the value as a 32-bit float, whose 24 binary digits round large values up to the next
/// power.
int XfnGetNearest2nValue(int n) {
  if (n <= 0) return 0;
  const int exponent = static_cast<int>(std::bit_cast<std::uint32_t>(static_cast<float>(n)) >> 23) - 127;
  return static_cast<int>(std::uint32_t{1} << exponent);
}

/// In whole numbers, without the rounding of its neighbour above.
int XfnGetPowerOf2nValue(int n) {
  return n > 0 ? std::bit_width(static_cast<unsigned>(n)) - 1 : -1;
}
