// A bitmap file is a file header of 14 bytes, an info header of 40 bytes, a palette of 4 bytes an entry, and the rows.
// Of the file header only the magic counts: the rows begin right behind the palette, whatever offset it names. Longer
// info headers are read as if they had 40 bytes.
//
// Pixels of 1 and 4 bits are refused. The compression is not looked at, so rows are taken as plain pixels.

#include "bands/bmp/BmpHeader.h"

#include "base/Checked.h"
#include "base/Cursor.h"

#include <optional>

namespace zrk {

namespace {

constexpr int kInfoHeaderBytes = 40;
constexpr int kMinBits = 8;
constexpr int kMaxBits = 39;  // four whole bytes at the most

BITMAPINFOHEADER ReadInfoHeader(Cursor& cursor) {
  BITMAPINFOHEADER header{};
  header.biSize = cursor.U32LE();
  header.biWidth = cursor.I32LE();
  header.biHeight = cursor.I32LE();
  header.biPlanes = cursor.U16LE();
  header.biBitCount = cursor.U16LE();
  header.biCompression = cursor.U32LE();
  header.biSizeImage = cursor.U32LE();
  header.biXPelsPerMeter = cursor.I32LE();
  header.biYPelsPerMeter = cursor.I32LE();
  header.biClrUsed = cursor.U32LE();
  header.biClrImportant = cursor.U32LE();
  return header;
}

/// A negative height would turn the rows around in other programs; here it is refused.
std::optional<std::int64_t> CalcImageBytes(const BITMAPINFOHEADER& header) {
  if (header.biWidth < 0 || header.biHeight < 0) return std::nullopt;
  return CheckedMultiply(XfnCalcDIBWidthBytes(header.biWidth, header.biBitCount), header.biHeight);
}

/// What stands before the palette. The cursor is behind it then.
bool ReadHeads(std::span<const unsigned char> bytes, Cursor& cursor, BITMAPINFOHEADER& info, XString& err) {
  if (bytes.size() < kBmpFileHeaderBytes) {
    err = "Can't read bitmap file header.";
    return false;
  }
  if (cursor.U16LE() != kBmpMagic) {
    err = "Not a valid BMP format";
    return false;
  }
  if (bytes.size() < kBmpFileHeaderBytes + kInfoHeaderBytes) {
    err = "Can't read bitmap info header";
    return false;
  }
  cursor.Seek(kBmpFileHeaderBytes);
  info = ReadInfoHeader(cursor);
  if (info.biBitCount >= kMinBits && info.biBitCount <= kMaxBits) return true;
  err.Format("Not supported bit count: %d", info.biBitCount);
  return false;
}

}  // namespace

bool IsServableDib(const BITMAPINFOHEADER& header, std::int64_t offset) {
  if (header.biBitCount < kMinBits || header.biBitCount > kMaxBits || offset < 0) return false;
  const std::optional<std::int64_t> imageBytes = CalcImageBytes(header);
  return imageBytes && CheckedAdd(*imageBytes, offset).has_value();
}

int ParseBmpHeader(std::span<const unsigned char> bytes, BmpHeader& header, XString& err) {
  Cursor cursor(bytes);
  BITMAPINFOHEADER& info = header.info.bmiHeader;
  if (!ReadHeads(bytes, cursor, info, err)) return 0;
  const int paletteSize = XfnGetDIBPaletteSize(info);
  for (int i = 0; i < paletteSize; ++i) {
    RGBQUAD& colour = header.info.bmiColors[i];
    colour = {cursor.U8(), cursor.U8(), cursor.U8(), cursor.U8()};
  }
  // A cursor that ran out gives zeros, so one question behind the palette is enough.
  if (cursor.HasFailed()) {
    err = "Can't read palette";
    return 0;
  }
  const std::optional<std::int64_t> imageBytes = CalcImageBytes(info);
  if (!imageBytes) {
    err = "Can't allocate memory";
    return 0;
  }
  header.pixelOffset = kBmpFileHeaderBytes + kInfoHeaderBytes + 4 * paletteSize;
  header.rowBytes = XfnCalcDIBWidthBytes(info.biWidth, info.biBitCount);
  header.imageBytes = *imageBytes;
  return 1;
}

}  // namespace zrk
