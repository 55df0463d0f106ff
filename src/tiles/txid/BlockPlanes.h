#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrk {

inline constexpr int kNumPlanes = 4;
inline constexpr int kBlockSide = 4;
inline constexpr int kBlockBytes = 8;
/// More than any machine's vector takes at once.
inline constexpr std::size_t kMaxBlocksAtOnce = 16;

/// Unpacks a row of DXT1 blocks to four planes, which are those of red, green, blue and alpha, in the colours of
/// `squish::DecompressImage`. Row r of plane k begins at `planes + (4 * k + r) * rowBytes`. Whole vectors are read and
/// written: there has to be room for a multiple of `kMaxBlocksAtOnce` blocks on both sides.
void UnpackToPlanes(const unsigned char* blocks, std::size_t numBlocks, unsigned char* planes, std::size_t rowBytes);

/// Pixel (x, y) of one block, without vector instructions.
std::array<unsigned char, kNumPlanes> UnpackPixel(const unsigned char* block, int x, int y);

}  // namespace zrk
