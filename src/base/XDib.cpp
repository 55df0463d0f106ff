#include "XDib.h"

#include <algorithm>

/// A header that names a count is believed up to 256, the most that a sample of a byte can tell apart.
int XfnGetDIBPaletteSize(const BITMAPINFOHEADER& header) {
  constexpr std::uint32_t kMaxEntries = 256;
  if (header.biClrUsed != 0) return static_cast<int>(std::min(header.biClrUsed, kMaxEntries));
  switch (header.biBitCount) {
    case 1:
    case 4:
    case 8:
      return 1 << header.biBitCount;
    default:
      return 0;
  }
}

int XfnGetDIBPaletteSize(const BITMAPINFO* info) {
  return info ? XfnGetDIBPaletteSize(info->bmiHeader) : 0;
}

/// Rows begin at whole words of 32 bits. The product is made in 64 bits, which no width and count of bits can leave.
std::int64_t XfnCalcDIBWidthBytes(int width, int bitCount) {
  if (width <= 0 || bitCount <= 0) return 0;
  return (std::int64_t{width} * bitCount + 31) / 32 * 4;
}

std::int64_t XfnCalcDIBWidthBytes(const BITMAPINFO* info) {
  return info ? XfnCalcDIBWidthBytes(info->bmiHeader.biWidth, info->bmiHeader.biBitCount) : 0;
}
