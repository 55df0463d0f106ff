// The headers of a bitmap, all versions of them. A file header of 14 bytes names the offset of the pixels. The info
// header behind it begins with its own length, which tells the version. 12 bytes have sizes of 16 bits. 16 to 64 bytes
// may end after any field. 108 or 124 bytes have masks, opacity and colour space. Three or four masks follow a header
// of 40 bytes where its pixels are bit fields. Then comes the palette, of 3 bytes an entry behind a header of 12 bytes
// and of 4 bytes behind all others.
//
// Nothing is taken for granted here that a field of the file says otherwise. What no reader could show is refused with
// a sentence that names it.

#include "bands/bmp/BmpLayout.h"

#include "bands/bmp/BmpHeader.h"
#include "base/Checked.h"
#include "base/Cursor.h"
#include "XLimits.h"

#include <algorithm>
#include <bit>
#include <climits>

namespace zrk {
namespace {

constexpr std::uint32_t kCoreHeader = 12, kShortestHeader = 16, kPlainHeader = 40, kMaskHeader = 52, kAlphaHeader = 56;
constexpr std::uint32_t kOs2Header = 64, kHeader4 = 108, kHeader5 = 124;

enum Compression : std::uint32_t { kNone, kRle8, kRle4, kBitFields, kJpegInside, kPngInside, kAlphaBitFields };

/// The fields as they stand in the file. Those that a short header lacks are 0.
struct Fields {
  std::uint32_t pixelOffset = 0;
  std::uint32_t headerBytes = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;
  int bits = 0;
  std::uint32_t compression = kNone;
  std::uint32_t numColours = 0;
  std::array<std::uint32_t, 4> masks{};
  std::int64_t paletteOffset = 0;

  bool HasMasks() const { return compression == kBitFields || compression == kAlphaBitFields; }
};

int Refuse(XString& err, const char* sentence) {
  err = sentence;
  return 0;
}

bool IsHeaderLength(std::uint32_t length) {
  return length == kCoreHeader || (kShortestHeader <= length && length <= kOs2Header) || length == kHeader4 ||
         length == kHeader5;
}

/// A number of a header that may end before it.
std::uint32_t OptionalU32(Cursor& header) {
  return header.Remaining() >= 4 ? header.U32LE() : 0;
}

void ReadLongFields(Cursor& header, Fields& fields) {
  fields.width = header.I32LE();
  fields.height = header.I32LE();
  header.Skip(2);  // planes, always 1
  fields.bits = header.U16LE();
  fields.compression = OptionalU32(header);
  for (int i = 0; i < 3; ++i) OptionalU32(header);  // bytes of the rows, and resolution
  fields.numColours = OptionalU32(header);
}

void ReadCoreFields(Cursor& header, Fields& fields) {
  fields.width = header.U16LE();
  fields.height = header.U16LE();
  header.Skip(2);
  fields.bits = header.U16LE();
}

/// Masks stand in a header that is long enough for them, and behind one of 40 bytes. An opacity mask counts only where
/// the header has it or the compression says so.
bool ReadMasks(std::span<const unsigned char> bytes, Fields& fields) {
  const bool areInside = fields.headerBytes >= kMaskHeader && fields.headerBytes != kOs2Header;
  const bool hasAlpha = areInside ? fields.headerBytes >= kAlphaHeader : fields.compression == kAlphaBitFields;
  const std::size_t numMasks = hasAlpha ? 4 : 3;
  Cursor cursor(bytes);
  cursor.Seek(static_cast<std::size_t>(kBmpFileHeaderBytes) + kPlainHeader);
  for (std::size_t i = 0; i < numMasks; ++i) fields.masks[i] = cursor.U32LE();
  if (!areInside) fields.paletteOffset += static_cast<std::int64_t>(4 * numMasks);
  return !cursor.HasFailed();
}

int ReadFields(std::span<const unsigned char> bytes, Fields& fields, XString& err) {
  Cursor cursor(bytes);
  if (bytes.size() < kBmpFileHeaderBytes) return Refuse(err, "Can't read bitmap file header.");
  if (cursor.U16LE() != kBmpMagic) return Refuse(err, "Not a valid BMP format");
  cursor.Skip(8);
  fields.pixelOffset = cursor.U32LE();
  fields.headerBytes = cursor.U32LE();
  if (cursor.HasFailed() || bytes.size() < kBmpFileHeaderBytes + std::size_t{fields.headerBytes}) {
    return Refuse(err, "Can't read bitmap info header");
  }
  if (!IsHeaderLength(fields.headerBytes)) {
    err.Format("Not supported bitmap header of %u bytes", fields.headerBytes);
    return 0;
  }
  Cursor header(bytes.subspan(kBmpFileHeaderBytes + 4, fields.headerBytes - 4));
  fields.headerBytes == kCoreHeader ? ReadCoreFields(header, fields) : ReadLongFields(header, fields);
  fields.paletteOffset = kBmpFileHeaderBytes + fields.headerBytes;
  if (fields.headerBytes == kOs2Header && fields.HasMasks()) {
    return Refuse(err, "Not supported: a bitmap of another system with Huffman or 24-bit run-length codes");
  }
  if (fields.HasMasks() && !ReadMasks(bytes, fields)) return Refuse(err, "Can't read the masks of the bitmap");
  return 1;
}

int CheckSize(const Fields& fields, BmpLayout& layout, XString& err) {
  if (fields.width < 1 || fields.height == 0 || fields.height < -INT_MAX) {
    err.Format("Not a valid size of a bitmap: %lld x %lld", static_cast<long long>(fields.width),
               static_cast<long long>(fields.height));
    return 0;
  }
  layout.width = static_cast<int>(fields.width);
  layout.isTopDown = fields.height < 0;
  layout.height = static_cast<int>(layout.isTopDown ? -fields.height : fields.height);
  if (std::int64_t{layout.width} * layout.height > XfnGetLimits().imagePixels) return Refuse(err, "Image is too large");
  return 1;
}

/// Bits of a mask lie together, and a channel has at most a byte of them, so that its samples need no narrowing.
int TakeMasks(const Fields& fields, BmpLayout& layout, XString& err) {
  for (std::size_t i = 0; i < fields.masks.size(); ++i) {
    const std::uint32_t mask = fields.masks[i];
    if (mask == 0) continue;
    const int shift = std::countr_zero(mask), bits = std::popcount(mask);
    if (std::uint64_t{mask} >> shift != (std::uint64_t{1} << bits) - 1) {
      return Refuse(err, "Not supported: a bit field of a bitmap with gaps");
    }
    if (bits > CHAR_BIT) return Refuse(err, "Not supported: a bit field of a bitmap with more than 8 bits");
    layout.fields[i] = {shift, bits};
  }
  layout.coding = BmpLayout::Coding::kMasked;
  layout.numChannels = fields.masks[3] != 0 ? 4 : 3;
  return 1;
}

/// Pixels of 16 bits without masks have 5 bits a channel. The fourth byte of 32 bits without masks has no meaning.
int TakeDirect(const Fields& fields, BmpLayout& layout, XString& err) {
  if (fields.HasMasks() && layout.bits != 24) return TakeMasks(fields, layout, err);
  if (fields.compression != kNone) return Refuse(err, "Not a valid compression for the bits of the bitmap");
  layout.coding = BmpLayout::Coding::kBytes;
  layout.numChannels = 3;
  if (layout.bits == 16) {
    layout.coding = BmpLayout::Coding::kMasked;
    layout.fields = {BmpLayout::Field{10, 5}, BmpLayout::Field{5, 5}, BmpLayout::Field{0, 5}, BmpLayout::Field{}};
  }
  return 1;
}

/// A palette ends where the pixels begin, though the header may promise more of it.
int TakePalette(std::span<const unsigned char> bytes, const Fields& fields, BmpLayout& layout, XString& err) {
  const std::int64_t most = std::int64_t{1} << layout.bits;
  const std::int64_t entryBytes = fields.headerBytes == kCoreHeader ? 3 : 4;
  std::int64_t count = fields.numColours == 0 ? most : std::min<std::int64_t>(fields.numColours, most);
  if (fields.pixelOffset != 0) {
    const std::int64_t room = std::max<std::int64_t>(fields.pixelOffset - fields.paletteOffset, 0);
    count = std::min(count, room / entryBytes);
  }
  Cursor cursor(bytes);
  cursor.Seek(static_cast<std::size_t>(fields.paletteOffset));
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    for (const std::size_t channel : {2u, 1u, 0u}) layout.palette[channel][i] = cursor.U8();
    if (entryBytes == 4) cursor.Skip(1);
  }
  if (cursor.HasFailed()) return Refuse(err, "Can't read palette");
  layout.numColours = static_cast<int>(count);
  layout.numChannels = 3;
  return 1;
}

int TakeIndexed(std::span<const unsigned char> bytes, const Fields& fields, BmpLayout& layout, XString& err) {
  const std::uint32_t runLengths = layout.bits == 8 ? kRle8 : layout.bits == 4 ? kRle4 : kNone;
  if (fields.compression != kNone && fields.compression != runLengths) {
    return Refuse(err, "Not a valid compression for the bits of the bitmap");
  }
  layout.coding = fields.compression == kNone ? BmpLayout::Coding::kIndexed : BmpLayout::Coding::kRunLengths;
  if (layout.coding == BmpLayout::Coding::kRunLengths && layout.isTopDown) {
    return Refuse(err, "Not supported: run-length codes of rows from the top down");
  }
  return TakePalette(bytes, fields, layout, err);
}

int TakePixels(std::span<const unsigned char> bytes, const Fields& fields, BmpLayout& layout, XString& err) {
  layout.bits = fields.bits;
  switch (fields.bits) {
    case 1:
    case 2:
    case 4:
    case 8:
      return TakeIndexed(bytes, fields, layout, err);
    case 16:
    case 24:
    case 32:
      return TakeDirect(fields, layout, err);
    default:
      err.Format("Not supported bit count: %d", fields.bits);
      return 0;
  }
}

/// A file header that names no offset leaves the pixels behind all that comes before them. A palette of direct pixels
/// is for displays of few colours.
std::int64_t FindPixels(const Fields& fields, const BmpLayout& layout) {
  if (fields.pixelOffset != 0) return fields.pixelOffset;
  const bool isDirect = layout.numColours == 0;
  const std::int64_t count = isDirect ? fields.numColours : layout.numColours;
  return fields.paletteOffset + count * (fields.headerBytes == kCoreHeader ? 3 : 4);
}

}  // namespace

int ParseBmpLayout(std::span<const unsigned char> bytes, BmpLayout& layout, XString& err) {
  Fields fields;
  layout = {};
  if (!ReadFields(bytes, fields, err)) return 0;
  if (fields.compression == kJpegInside || fields.compression == kPngInside) {
    err = "Not supported: a bitmap with a JPEG or PNG image inside";
    return 0;
  }
  if (!CheckSize(fields, layout, err) || !TakePixels(bytes, fields, layout, err)) return 0;
  layout.pixelOffset = FindPixels(fields, layout);
  layout.rowBytes = XfnCalcDIBWidthBytes(layout.width, layout.bits);
  const auto imageBytes = CheckedMultiply(layout.rowBytes, layout.height);
  if (imageBytes && CheckedAdd(*imageBytes, layout.pixelOffset)) return 1;
  err = "Image is too large";
  return 0;
}

BITMAPINFO MakeDibHeader(const BmpLayout& layout) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = layout.width;
  info.bmiHeader.biHeight = layout.height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = static_cast<std::uint16_t>(layout.bits);
  info.bmiHeader.biClrUsed = static_cast<std::uint32_t>(layout.numColours);
  for (std::size_t i = 0; i < static_cast<std::size_t>(layout.numColours); ++i) {
    info.bmiColors[i] = {layout.palette[2][i], layout.palette[1][i], layout.palette[0][i], 0};
  }
  return info;
}

}  // namespace zrk
