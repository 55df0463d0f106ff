#pragma once

#include "XExport.h"

#include <cstdint>

/// The 40-byte information header of a device-independent bitmap, as it lies in a file: little-endian, without gaps.
/// The struct holds the numbers that a file claims. Nothing is checked here; the loader of bitmaps refuses impossible
/// numbers.
struct BITMAPINFOHEADER {
  /// Bytes of this header: 40.
  std::uint32_t biSize;
  /// In pixels. A negative height stands for rows from the top down, a positive one for rows from the bottom up.
  std::int32_t biWidth;
  std::int32_t biHeight;
  /// Always 1 in a valid file, whatever the number of channels.
  std::uint16_t biPlanes;
  /// Bits of a pixel, all channels together.
  std::uint16_t biBitCount;
  /// How the pixels are coded; 0 for pixels that are stored plainly.
  std::uint32_t biCompression;
  /// Bytes of all rows with their padding; 0 is allowed for plain pixels.
  std::uint32_t biSizeImage;
  /// Resolution for printing, in pixels a metre; 0 for an unknown one. It is no georeference.
  std::int32_t biXPelsPerMeter;
  std::int32_t biYPelsPerMeter;
  /// Colours in the palette; 0 for as many as the bits of a pixel can tell apart.
  std::uint32_t biClrUsed;
  /// Colours that a display should keep; 0 for all of them.
  std::uint32_t biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40);

/// One colour of a palette, 0 to 255 each. The order of the bytes is that of the file: blue first. The fourth byte is
/// not opacity and has no meaning.
struct RGBQUAD {
  std::uint8_t rgbBlue;
  std::uint8_t rgbGreen;
  std::uint8_t rgbRed;
  std::uint8_t rgbReserved;
};

/// The information header with the palette behind it. Only the first `XfnGetDIBPaletteSize` colours count; what is
/// behind them is undefined.
struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[256];
};

/// The number of colours in the palette, 0 to 256. It is the number that the header names, cut to 256. A header that
/// names 0 has 2, 16 and 256 for 1, 4 and 8 bits, and no palette for any other number of bits.
ZRKIO_API int XfnGetDIBPaletteSize(const BITMAPINFOHEADER& header);
/// As above; 0 for null.
ZRKIO_API int XfnGetDIBPaletteSize(const BITMAPINFO* info);

/// Bytes of a row in the file, rounded up to a multiple of 4. The result can't overflow. It is 0 for a width or a
/// number of bits that is not positive.
ZRKIO_API std::int64_t XfnCalcDIBWidthBytes(int width, int bitCount);
/// As above, for the width and the bits of the header; 0 for null.
ZRKIO_API std::int64_t XfnCalcDIBWidthBytes(const BITMAPINFO* info);
