#pragma once

#include <cstdint>
#include <functional>
#include <vector>

/// Builds Windows bitmaps byte by byte: `BmpBuilder().Size(7, 5).Bits(24).Build()`. Rows are written bottom-up behind
/// the palette. Unless told otherwise the pixel at (x, y), y counted from the top, has the bytes that the static
/// functions give.
class BmpBuilder {
 public:
  using PixelFunction = std::function<std::uint32_t(int x, int y)>;

  static std::uint8_t Blue(int x, int y) { return static_cast<std::uint8_t>(3 * x + y); }
  static std::uint8_t Green(int x, int y) { return static_cast<std::uint8_t>(x + 5 * y); }
  static std::uint8_t Red(int x, int y) { return static_cast<std::uint8_t>(2 * x + 2 * y + 1); }
  static std::uint8_t Fourth(int x, int y) { return static_cast<std::uint8_t>(7 * x + 11 * y); }
  /// The first byte of an indexed pixel is its blue; entry i of the palette has these colours.
  static std::uint8_t PaletteRed(int i) { return static_cast<std::uint8_t>(255 - i); }
  static std::uint8_t PaletteGreen(int i) { return static_cast<std::uint8_t>(3 * i); }
  static std::uint8_t PaletteBlue(int i) { return static_cast<std::uint8_t>(i ^ 0x55); }

  BmpBuilder& Size(int width, int height);
  BmpBuilder& Bits(int bits);
  /// Entries written behind the header; 256 for 8 bits and 0 for others unless set.
  BmpBuilder& Palette(int entries);
  /// The header's number of colours; 0 unless set.
  BmpBuilder& ClrUsed(std::uint32_t clrUsed);
  /// Negates the height in the header; rows stay where they are.
  BmpBuilder& TopDown();
  /// The offset of the pixels that the file header claims; the true one unless set.
  BmpBuilder& OffBits(std::uint32_t offBits);
  BmpBuilder& Compression(std::uint32_t compression);
  /// Writes sizes into the header that the rows do not have.
  BmpBuilder& Claim(std::int32_t width, std::int32_t height);
  /// The bytes of a pixel, lowest first.
  BmpBuilder& Pixel(PixelFunction pixel);

  std::vector<unsigned char> Build() const;
  /// Bytes before the rows.
  int HeaderBytes() const;
  /// Bytes of a row, padding included.
  std::int64_t RowBytes() const;

 private:
  void WriteHeader(std::vector<unsigned char>& bytes) const;
  int NumPaletteEntries() const { return paletteEntries_ >= 0 ? paletteEntries_ : (bits_ == 8 ? 256 : 0); }

  int width_ = 7;
  int height_ = 5;
  int bits_ = 24;
  int paletteEntries_ = -1;
  std::uint32_t clrUsed_ = 0;
  bool topDown_ = false;
  bool claims_ = false;
  std::int32_t claimedWidth_ = 0;
  std::int32_t claimedHeight_ = 0;
  std::int64_t offBits_ = -1;
  std::uint32_t compression_ = 0;
  PixelFunction pixel_;
};
