#pragma once

#include "XExport.h"

#include <cstdint>

/// The 40-byte information header of a device-independent bitmap, as it lies in a file.
struct BITMAPINFOHEADER {
  std::uint32_t biSize;
  std::int32_t biWidth;
  std::int32_t biHeight;
  std::uint16_t biPlanes;
  std::uint16_t biBitCount;
  std::uint32_t biCompression;
  std::uint32_t biSizeImage;
  std::int32_t biXPelsPerMeter;
  std::int32_t biYPelsPerMeter;
  std::uint32_t biClrUsed;
  std::uint32_t biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40);

/// One colour of a palette.
struct RGBQUAD {
  std::uint8_t rgbBlue;
  std::uint8_t rgbGreen;
  std::uint8_t rgbRed;
  std::uint8_t rgbReserved;
};

/// The information header with the palette behind it; only the first `XfnGetDIBPaletteSize` colours count.
struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[256];
};

/// The entries of the colour table: what the header says, at most 256; where it says 0, 2, 16 and 256 for 1, 4
/// and 8 bits and none for more.
ZRKIO_API int XfnGetDIBPaletteSize(const BITMAPINFOHEADER& header);
ZRKIO_API int XfnGetDIBPaletteSize(const BITMAPINFO* info);

/// Bytes of a row, rounded up to a multiple of 4; not positive for a width that is not.
ZRKIO_API std::int64_t XfnCalcDIBWidthBytes(int width, int bitCount);
ZRKIO_API std::int64_t XfnCalcDIBWidthBytes(const BITMAPINFO* info);
