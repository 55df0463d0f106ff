#pragma once

#include "XCIBframe.h"

#include <array>
#include <cstddef>
#include <vector>

namespace zrk {

/// The fixed geometry of a frame: 6 x 6 subframes of 256 x 256 pixels, compressed as 64 rows of 64 codes.
inline constexpr std::size_t kFrameSide = XCIBframe::kSide;
inline constexpr std::size_t kFramePixels = kFrameSide * kFrameSide;
inline constexpr std::size_t kSubframeSide = 256;
inline constexpr std::size_t kSubframesAcross = 6;
inline constexpr std::size_t kSubframes = XCIBframe::kNumSubframes;
inline constexpr std::size_t kCodeRowBytes = 96;
inline constexpr std::size_t kCompressedSubframe = 64 * kCodeRowBytes;
inline constexpr std::size_t kPlainSubframe = kSubframeSide * kSubframeSide;
inline constexpr std::size_t kLookupTables = 4;
inline constexpr std::size_t kLookupTableBytes = 4096 * 4;

/// The bytes of each subframe, null for one that is not there, and what was read from the file to have them.
struct FrameSubframes {
  explicit FrameSubframes(bool areCompressed)
      : isCompressed(areCompressed), bytes(areCompressed ? kCompressedSubframe : kPlainSubframe) {}

  bool isCompressed;
  std::size_t bytes;  ///< of one subframe
  std::array<const unsigned char*, kSubframes> at{};
  std::vector<unsigned char> work;

  /// The room for one subframe; all of it is 0 at first.
  unsigned char* Slot(std::size_t subframe) {
    if (work.empty()) work.resize(kSubframes * bytes);
    return work.data() + subframe * bytes;
  }
};

/// What becomes of each byte of an image.
using FrameMap = std::array<unsigned char, 256>;

/// Two codes of 12 bits.
struct CodePair {
  unsigned first;
  unsigned second;
};

/// The two codes in three bytes.
inline CodePair SplitCodes(const unsigned char* bytes) {
  return {bytes[0] * 16u + (bytes[1] >> 4), (bytes[1] & 15u) * 256u + bytes[2]};
}

/// Puts 256 pixels in place of 96 bytes of codes, by a table of 4 pixels a code.
void DecodeRow(const unsigned char* codes, const unsigned char* table, unsigned char* target);

/// What the transparent code leaves of each code. It is one that no pixel has where the frame has none.
FrameMap MakeCodeMap(unsigned transparentCode);

/// Paints a plane of 1536 x 1536 bytes, each pixel as the map has it; null for the codes as they are. Absent subframes
/// are painted as code 0. `tables` are the four of a compressed image.
void Paint(const FrameSubframes& subframes, const unsigned char* tables, const FrameMap* map, unsigned char* plane);

/// The same with a value of its own for absent subframes.
void Paint(const FrameSubframes& subframes, const unsigned char* tables, const FrameMap* map, unsigned char absent,
           unsigned char* plane);

/// Which bytes the pixels of a subframe have, one that is there.
std::array<bool, 256> FindUsedBytes(const FrameSubframes& subframes, std::size_t subframe, const unsigned char* tables);

}  // namespace zrk
