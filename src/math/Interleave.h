#pragma once

#include <cstddef>

namespace zrk {

// Interleaved 8-bit pixels to planes. `source` holds `count` pixels of three or four bytes, byte k of each goes to the
// k-th plane. Vector instructions are chosen at run time; the ends of the planes are not overrun.

void SplitPixels3(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                  unsigned char* plane2);
void SplitPixels4(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                  unsigned char* plane2, unsigned char* plane3);

/// The twin of the two above without vector instructions, for pixels of any size: byte `byteIndex` of every `step`-th
/// pixel of `pixelBytes` bytes.
void TakeByte(const unsigned char* source, std::size_t count, int pixelBytes, int step, int byteIndex,
              unsigned char* plane);

}  // namespace zrk
