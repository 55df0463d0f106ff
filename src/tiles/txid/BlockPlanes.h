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

/// Rows of blocks that lie below each other in a tile, and which pixels of them are wanted.
struct BlockArea {
  const unsigned char* blocks;  ///< the block that has the first wanted pixel
  std::ptrdiff_t rowBytes;      ///< from a row of blocks to the next
  std::size_t numRows;          ///< of blocks; all their pixels are wanted
  std::size_t begin;            ///< the first wanted column of pixels, counted from that block: 0 to 3
  std::size_t end;              ///< behind the last wanted column
};

/// Where pixels go: the first wanted one of each plane, and the bytes from a row of pixels to the next.
struct PlaneArea {
  std::array<unsigned char*, kNumPlanes> first;
  std::ptrdiff_t rowBytes;
};

/// The same of an area. No pixels are written but those that are wanted. As many as `kMaxBlocksAtOnce` blocks may be
/// read of a row however few are needed.
void UnpackAreaToPlanes(const BlockArea& area, const PlaneArea& planes);

/// Pixel (x, y) of one block, without vector instructions.
std::array<unsigned char, kNumPlanes> UnpackPixel(const unsigned char* block, int x, int y);

}  // namespace zrk
