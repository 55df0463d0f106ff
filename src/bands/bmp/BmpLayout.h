#pragma once

#include "XDib.h"
#include "XString.h"

#include <array>
#include <cstdint>
#include <span>

namespace zrk {

/// A bitmap as its headers describe it, of any version of them.
struct BmpLayout {
  enum class Coding { kIndexed, kMasked, kBytes, kRunLengths };

  /// Where a channel's bits lie in a pixel. Without bits the channel is 0 everywhere.
  struct Field {
    int shift = 0;
    int bits = 0;
  };

  Coding coding = Coding::kBytes;
  int width = 0;
  int height = 0;
  bool isTopDown = false;
  int bits = 0;         ///< of a pixel; 1, 2, 4, 8, 16, 24 or 32
  int numChannels = 0;  ///< 3, or 4 with opacity
  int numColours = 0;   ///< of the palette
  /// Red, green and blue of each entry.
  std::array<std::array<unsigned char, 256>, 3> palette{};
  /// Red, green, blue and opacity of masked pixels.
  std::array<Field, 4> fields{};
  bool HasPalette() const { return coding == Coding::kIndexed || coding == Coding::kRunLengths; }

  std::int64_t pixelOffset = 0;
  std::int64_t rowBytes = 0;  ///< padding included; of plain rows
};

/// As far as headers and palette of any version reach.
inline constexpr std::int64_t kBmpLayoutBytes = 14 + 124 + 16 + 4 * 256;

/// Parses the first bytes of a file by what all its fields say. Returns 1, or 0 with the reason in `err`: the file is
/// no bitmap, ends too soon, contradicts itself, or is of a kind that is not read.
int ParseBmpLayout(std::span<const unsigned char> bytes, BmpLayout& layout, XString& err);

/// The header of 40 bytes that says the same, as far as it can: rows from the bottom up, and no masks.
BITMAPINFO MakeDibHeader(const BmpLayout& layout);

}  // namespace zrk
