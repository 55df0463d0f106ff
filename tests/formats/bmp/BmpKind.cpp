// Builds bitmaps of all kinds. Every kind shows the same picture as far as its colours allow: stripes on the left,
// which make runs, and a pattern without runs on the right.

#include "BmpKind.h"

#include <bit>
#include <cmath>

namespace {

constexpr std::array<std::uint32_t, 4> k555 = {0x7C00, 0x03E0, 0x001F, 0};
constexpr std::array<std::uint32_t, 4> k565 = {0xF800, 0x07E0, 0x001F, 0};
constexpr std::array<std::uint32_t, 4> k888 = {0xFF0000, 0xFF00, 0xFF, 0};
constexpr std::array<std::uint32_t, 4> kRgbFirst = {0xFF, 0xFF00, 0xFF0000, 0};
constexpr std::array<std::uint32_t, 4> k8888 = {0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr std::array<std::uint32_t, 4> k4444 = {0xF000, 0x0F00, 0x00F0, 0x000F};
constexpr std::array<std::uint32_t, 4> kUneven = {0x3F, 0x1FC0, 0x2000, 0x78000000};

void PutNumber(std::vector<unsigned char>& bytes, std::uint32_t value, int numBytes) {
  for (int i = 0; i < numBytes; ++i) bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

/// Without runs, and with every value of a byte.
int Scatter(int x, int y, int salt) {
  return (x * 37 + y * 91 + x * y * 5 + salt * 53) & 0xFF;
}

/// The colours of a palette, blue first.
int PaletteAt(int channel, int entry) {
  return (entry * (7 + 4 * channel) + 60 * channel + (entry == 0 ? 11 : 0)) & 0xFF;
}

}  // namespace

int BmpKind::IndexAt(int x, int y) const {
  if (skipsColour0 && (y % 7 == 3 || (x > 20 && x < 50))) return 0;
  return (x < width / 2 ? x / 9 + y / 3 : Scatter(x, y, 0)) % numColours;
}

int BmpKind::ColourAt(int channel, int x, int y) const {
  if (numColours > 0) return PaletteAt(channel, IndexAt(x, y));
  const int bitsOfField = bits == 24 ? 8 : std::popcount(masks[static_cast<std::size_t>(channel)]);
  if (bitsOfField == 0) return 0;
  const int most = (1 << bitsOfField) - 1;
  return static_cast<int>(std::lround(255.0 * (Scatter(x, y, channel) & most) / most));
}

/// Bits outside all masks are set, since they must not matter.
std::uint32_t BmpKind::PixelAt(int x, int y) const {
  const std::array<std::uint32_t, 4>& fields = bits == 24 ? k888 : masks;
  std::uint32_t pixel = ~(fields[0] | fields[1] | fields[2] | fields[3]);
  for (std::size_t c = 0; c < 4; ++c) {
    if (fields[c] == 0) continue;
    const auto value = static_cast<std::uint32_t>(Scatter(x, y, static_cast<int>(c)));
    pixel |= (value << std::countr_zero(fields[c])) & fields[c];
  }
  return pixel;
}

int BmpKind::PixelOffset() const {
  const int numMasks = headerBytes != 40 ? 0 : compression == kBitFields ? 3 : compression == kAlphaBitFields ? 4 : 0;
  return 14 + headerBytes + 4 * numMasks + (headerBytes == 12 ? 3 : 4) * writtenColours + gap;
}

void BmpKind::WriteHeader(std::vector<unsigned char>& bytes) const {
  bytes = {'B', 'M'};
  PutNumber(bytes, static_cast<std::uint32_t>(PixelOffset()), 4);  // the length, which nobody believes
  PutNumber(bytes, 0, 4);
  PutNumber(bytes, static_cast<std::uint32_t>(PixelOffset()), 4);
  PutNumber(bytes, static_cast<std::uint32_t>(headerBytes), 4);
  const int sizeBytes = headerBytes == 12 ? 2 : 4;
  PutNumber(bytes, static_cast<std::uint32_t>(width), sizeBytes);
  PutNumber(bytes, static_cast<std::uint32_t>(isTopDown ? -height : height), sizeBytes);
  PutNumber(bytes, 1, 2);
  PutNumber(bytes, static_cast<std::uint32_t>(bits), 2);
  if (headerBytes > 12) {
    for (const int field : {compression, 0, 2835, 2835, clrUsed, 0})
      PutNumber(bytes, static_cast<std::uint32_t>(field), 4);
    const bool hasMasks = headerBytes >= 52 || compression == kBitFields || compression == kAlphaBitFields;
    const std::size_t numMasks = headerBytes >= 56 || compression == kAlphaBitFields ? 4 : 3;
    for (std::size_t i = 0; i < numMasks && hasMasks && headerBytes != 64; ++i) PutNumber(bytes, masks[i], 4);
  }
  const bool areMasksBehind = headerBytes == 40;
  if (!areMasksBehind) bytes.resize(static_cast<std::size_t>(14 + headerBytes), 0);
  for (int entry = 0; entry < writtenColours; ++entry) {
    for (const int channel : {2, 1, 0}) PutNumber(bytes, static_cast<std::uint32_t>(PaletteAt(channel, entry)), 1);
    if (headerBytes > 12) PutNumber(bytes, 0, 1);
  }
  bytes.resize(static_cast<std::size_t>(PixelOffset()), 0xEE);
}

void BmpKind::WriteRow(int y, std::vector<unsigned char>& bytes) const {
  const std::size_t begin = bytes.size();
  if (bits >= 16) {
    for (int x = 0; x < width; ++x) PutNumber(bytes, PixelAt(x, y), bits / 8);
  } else {
    bytes.resize(begin + static_cast<std::size_t>(RowBytes()), 0);
    for (int x = 0; x < width; ++x) {
      const int bit = x * bits;
      bytes[begin + static_cast<std::size_t>(bit / 8)] |=
          static_cast<unsigned char>(IndexAt(x, y) << (8 - bits - bit % 8));
    }
  }
  bytes.resize(begin + static_cast<std::size_t>(RowBytes()), 0);
}

/// Runs where colours repeat, steps over colour 0 where the kind has them, and plain pixels elsewhere.
void BmpKind::WriteRunLengths(int y, std::vector<unsigned char>& bytes) const {
  const auto put = [&](int first, int second) {
    bytes.push_back(static_cast<unsigned char>(first));
    bytes.push_back(static_cast<unsigned char>(second));
  };
  for (int x = 0; x < width;) {
    const int index = IndexAt(x, y);
    int end = x + 1;
    while (end < width && IndexAt(end, y) == index) ++end;
    if (skipsColour0 && index == 0 && end < width) {
      put(0, 2);
      put(end - x, 0);
      x = end;
    } else if (skipsColour0 && index == 0) {
      return;  // the end of the row comes early
    } else if (end - x >= 3 || width - x < 3) {
      put(end - x, bits == 4 ? index << 4 | index : index);
      x = end;
    } else {
      const int count = std::min(width - x, 13);
      put(0, count);
      const std::size_t begin = bytes.size();
      for (int i = 0; i < count; i += bits == 4 ? 2 : 1) {
        const int next = i + 1 < count ? IndexAt(x + i + 1, y) : 0;
        bytes.push_back(static_cast<unsigned char>(bits == 4 ? IndexAt(x + i, y) << 4 | next : IndexAt(x + i, y)));
      }
      if ((bytes.size() - begin) % 2 != 0) bytes.push_back(0);
      x += count;
    }
  }
}

/// A row of nothing but colour 0 is stepped over too.
void BmpKind::WriteRunLengths(std::vector<unsigned char>& bytes) const {
  for (int y = height - 1; y >= 0; --y) {
    if (skipsColour0 && y % 7 == 3 && y > 0) {
      for (const int byte : {0, 2, 0, 1}) bytes.push_back(static_cast<unsigned char>(byte));
      continue;
    }
    WriteRunLengths(y, bytes);
    for (const int byte : {0, y == 0 ? 1 : 0}) bytes.push_back(static_cast<unsigned char>(byte));
  }
}

std::vector<unsigned char> BmpKind::Build() const {
  std::vector<unsigned char> bytes;
  WriteHeader(bytes);
  if (numColours > 0 && (compression == kRle8 || compression == kRle4)) {
    WriteRunLengths(bytes);
    return bytes;
  }
  for (int i = 0; i < height; ++i) WriteRow(isTopDown ? i : height - 1 - i, bytes);
  return bytes;
}

std::ostream& operator<<(std::ostream& stream, const BmpKind& kind) {
  return stream << kind.name;
}

std::vector<BmpKind> GoodBmpKinds() {
  using Kind = BmpKind;
  const auto indexed = [](const char* name, int bits, int numColours) {
    return Kind{
        .name = name, .bits = bits, .numColours = numColours, .writtenColours = numColours, .clrUsed = numColours};
  };
  const auto with = [](Kind kind, auto change) {
    change(kind);
    return kind;
  };
  const auto direct = [](const char* name, int bits, int compression, const std::array<std::uint32_t, 4>& masks) {
    return Kind{.name = name, .bits = bits, .compression = compression, .masks = masks};
  };
  return {
      indexed("pal1", 1, 2),
      indexed("pal1wb", 1, 2),
      with(indexed("pal1p1", 1, 1), [](Kind& kind) { kind.writtenColours = kind.clrUsed = 1; }),
      indexed("pal2", 2, 4),
      indexed("pal4", 4, 12),
      with(indexed("pal4of16", 4, 16), [](Kind& kind) { kind.clrUsed = 0; }),
      with(indexed("pal4rle", 4, 12), [](Kind& kind) { kind.compression = Kind::kRle4; }),
      with(indexed("pal4rletrns", 4, 13), [](Kind& kind) { kind.compression = Kind::kRle4, kind.skipsColour0 = true; }),
      indexed("pal8", 8, 252),
      with(indexed("pal8_0", 8, 256), [](Kind& kind) { kind.clrUsed = 0; }),
      with(indexed("pal8gap", 8, 252), [](Kind& kind) { kind.gap = 46; }),
      with(indexed("pal8nonsquare", 8, 252), [](Kind& kind) { kind.height = 32; }),
      with(indexed("pal8rle", 8, 252), [](Kind& kind) { kind.compression = Kind::kRle8; }),
      with(indexed("pal8rletrns", 8, 253),
           [](Kind& kind) { kind.compression = Kind::kRle8, kind.skipsColour0 = true; }),
      with(indexed("pal8topdown", 8, 252), [](Kind& kind) { kind.isTopDown = true; }),
      with(indexed("pal8os2", 8, 256), [](Kind& kind) { kind.headerBytes = 12; }),
      with(indexed("pal8os2sp", 8, 252), [](Kind& kind) { kind.headerBytes = 12; }),
      with(indexed("pal8os2v2", 8, 252), [](Kind& kind) { kind.headerBytes = 64; }),
      with(indexed("pal8os2v2_16", 8, 256), [](Kind& kind) { kind.headerBytes = 16; }),
      with(indexed("pal1os2", 1, 2), [](Kind& kind) { kind.headerBytes = 12; }),
      with(indexed("pal4os2", 4, 16), [](Kind& kind) { kind.headerBytes = 12; }),
      with(indexed("pal8v4", 8, 252), [](Kind& kind) { kind.headerBytes = 108; }),
      with(indexed("pal8v5", 8, 252), [](Kind& kind) { kind.headerBytes = 124; }),
      with(indexed("pal8w126", 8, 252), [](Kind& kind) { kind.width = 126; }),
      with(indexed("pal8w125", 8, 252), [](Kind& kind) { kind.width = 125; }),
      with(indexed("pal8w124", 8, 252), [](Kind& kind) { kind.width = 124; }),
      direct("rgb16", 16, Kind::kNone, k555),
      direct("rgb16bfdef", 16, Kind::kBitFields, k555),
      direct("rgb16_565", 16, Kind::kBitFields, k565),
      with(direct("rgb16_565pal", 16, Kind::kBitFields, k565),
           [](Kind& kind) { kind.writtenColours = kind.clrUsed = 256; }),
      with(direct("rgb16_565topdown", 16, Kind::kBitFields, k565), [](Kind& kind) { kind.isTopDown = true; }),
      direct("rgba16_4444", 16, Kind::kAlphaBitFields, k4444),
      Kind{.name = "rgb24"},
      Kind{.name = "rgb24pal", .writtenColours = 256, .clrUsed = 256},
      Kind{.name = "rgb24os2", .headerBytes = 12},
      Kind{.name = "rgb24topdown", .isTopDown = true},
      direct("rgb32", 32, Kind::kNone, k888),
      direct("rgb32bfdef", 32, Kind::kBitFields, k888),
      direct("rgb32bf", 32, Kind::kBitFields, kRgbFirst),
      with(direct("rgb32v3", 32, Kind::kBitFields, kRgbFirst), [](Kind& kind) { kind.headerBytes = 52; }),
      with(direct("rgba32v3", 32, Kind::kBitFields, k8888), [](Kind& kind) { kind.headerBytes = 56; }),
      with(direct("rgba32", 32, Kind::kBitFields, k8888), [](Kind& kind) { kind.headerBytes = 108; }),
      with(direct("rgba32v5", 32, Kind::kBitFields, k8888), [](Kind& kind) { kind.headerBytes = 124; }),
      with(direct("rgba32uneven", 32, Kind::kBitFields, kUneven), [](Kind& kind) { kind.headerBytes = 124; }),
  };
}
