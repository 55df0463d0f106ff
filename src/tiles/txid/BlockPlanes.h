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

/// The four rows of each plane that a row of blocks has; row r of plane k is at 4 * k + r.
using BlockRows = std::array<unsigned char*, kNumPlanes * kBlockSide>;

/// Unpacks a row of DXT1 blocks to four planes, which are those of red, green, blue and alpha, in the colours of
/// `squish::DecompressImage`. Of fewer than `kMaxBlocksAtOnce` blocks as many may be read and written; more blocks are
/// read and written alone.
void UnpackToPlanes(const unsigned char* blocks, std::size_t numBlocks, const BlockRows& rows);

/// The same of a part of the row: its pixels from `begin`, which lies in the first block, up to `end`, without it. Row
/// r of plane k begins with pixel `begin`, and no other pixels are written. As many as `kMaxBlocksAtOnce` blocks may be
/// read however few are needed.
void UnpackPartToPlanes(const unsigned char* blocks, std::size_t begin, std::size_t end, const BlockRows& rows);

/// Pixel (x, y) of one block, without vector instructions.
std::array<unsigned char, kNumPlanes> UnpackPixel(const unsigned char* block, int x, int y);

}  // namespace zrk
