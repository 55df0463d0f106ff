#pragma once

#include "XDib.h"
#include "XString.h"

#include <cstdint>
#include <span>

namespace zrk {

/// What comes before the rows of a bitmap file, and how much follows.
struct BmpHeader {
  BITMAPINFO info{};
  std::int64_t pixelOffset = 0;  ///< where the palette ends and the rows begin
  std::int64_t rowBytes = 0;
  std::int64_t imageBytes = 0;
};

/// "BM", as the first two bytes give it.
inline constexpr std::uint16_t kBmpMagic = 0x4D42;
inline constexpr std::int64_t kBmpFileHeaderBytes = 14;
/// The longest header: file header, info header and a palette of 256.
inline constexpr std::int64_t kBmpHeaderBytes = 14 + 40 + 4 * 256;

/// Whether the band can make pixels of that header: 8 to 39 bits, sizes that are not negative, and all rows before byte
/// 2^63 where the first lies at `offset`, which is not negative.
bool IsServableDib(const BITMAPINFOHEADER& header, std::int64_t offset);

/// Parses the first bytes of a file. Returns 1, or 0 with the reason in `err`.
int ParseBmpHeader(std::span<const unsigned char> bytes, BmpHeader& header, XString& err);

}  // namespace zrk
