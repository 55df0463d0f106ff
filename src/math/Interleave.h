#pragma once

#include <cstddef>

namespace zrk {

// Interleaved 8-bit pixels to planes. `source` holds `count` pixels of three or four bytes, byte k of each goes to the
// k-th plane. Vector instructions are chosen at run time; the ends of the planes are not overrun.

void SplitPixels3(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                  unsigned char* plane2);
void SplitPixels4(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                  unsigned char* plane2, unsigned char* plane3);

/// The way back: the k-th of three planes becomes byte k of each pixel.
void JoinPixels3(const unsigned char* plane0, const unsigned char* plane1, const unsigned char* plane2,
                 std::size_t count, unsigned char* pixels);

/// Sample `index` of each of `count` pixels that lie one behind the other, each of `numSamples` samples of
/// `sampleBytes` bytes; nothing beyond the last of these pixels is read. Vector instructions are for 2 to 4 samples of
/// 1, 2 or 4 bytes.
void TakeSample(const unsigned char* source, std::size_t count, int numSamples, int sampleBytes, int index,
                unsigned char* plane);

/// As above for all samples of the pixels, the k-th of which go to the k-th plane. Sizes are 1, 2, 4, 8 or 16 bytes.
void SplitSamples(const unsigned char* source, std::size_t count, int numSamples, int sampleBytes,
                  unsigned char* const* planes);

/// As for one sample, at every place: one sample of `sampleBytes` bytes at each of `count` places that are `stride`
/// bytes apart.
void GatherSamples(const unsigned char* source, std::size_t count, std::ptrdiff_t stride, int sampleBytes,
                   unsigned char* plane);

/// Its way back: `count` samples of a plane go to places that are `stride` bytes apart.
void ScatterSamples(const unsigned char* plane, std::size_t count, std::ptrdiff_t stride, int sampleBytes,
                    unsigned char* target);

/// The twin of the first two without vector instructions, for pixels of any size: byte `byteIndex` of every `step`-th
/// pixel of `pixelBytes` bytes.
void TakeByte(const unsigned char* source, std::size_t count, int pixelBytes, int step, int byteIndex,
              unsigned char* plane);

}  // namespace zrk
