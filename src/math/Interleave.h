#pragma once

#include <cstddef>

namespace zrk {

// Interleaved 8-bit pixels to planes. `source` holds `count` pixels of three or four bytes, and byte k of each goes to
// the k-th plane. Vector instructions are chosen at run time. Nothing is read or written beyond the last pixel.

void SplitPixels3(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                  unsigned char* plane2);
void SplitPixels4(const unsigned char* source, std::size_t count, unsigned char* plane0, unsigned char* plane1,
                  unsigned char* plane2, unsigned char* plane3);

/// The way back: the k-th of three planes becomes byte k of each pixel.
void JoinPixels3(const unsigned char* plane0, const unsigned char* plane1, const unsigned char* plane2,
                 std::size_t count, unsigned char* pixels);

/// Takes sample `index` of each of `count` pixels. A pixel has `numSamples` samples of `sampleBytes` bytes, and the
/// pixels lie one behind the other. Nothing beyond the last of them is read. Vectors serve pixels of 2 to 4 samples of
/// 1, 2 or 4 bytes.
void TakeSample(const unsigned char* source, std::size_t count, int numSamples, int sampleBytes, int index,
                unsigned char* plane);

/// Takes all samples of the pixels, and the k-th goes to the k-th plane. A sample has 1, 2, 4, 8 or 16 bytes.
void SplitSamples(const unsigned char* source, std::size_t count, int numSamples, int sampleBytes,
                  unsigned char* const* planes);

/// Takes `count` samples of `sampleBytes` bytes that lie `stride` bytes apart. Sizes are as with `SplitSamples`.
void GatherSamples(const unsigned char* source, std::size_t count, std::ptrdiff_t stride, int sampleBytes,
                   unsigned char* plane);

/// The way back: puts `count` samples of a plane `stride` bytes apart. A sample may have any size.
void ScatterSamples(const unsigned char* plane, std::size_t count, std::ptrdiff_t stride, int sampleBytes,
                    unsigned char* target);

/// Takes byte `byteIndex` of every `step`-th pixel of `pixelBytes` bytes. With a step of 1 it is the twin of
/// `SplitPixels3` and `SplitPixels4` without vector instructions, a plane at a time.
void TakeByte(const unsigned char* source, std::size_t count, int pixelBytes, int step, int byteIndex,
              unsigned char* plane);

}  // namespace zrk
