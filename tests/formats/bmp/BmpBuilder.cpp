#include "BmpBuilder.h"

#include <utility>

namespace {

void Put(std::vector<unsigned char>& bytes, std::uint64_t value, int numBytes) {
  for (int i = 0; i < numBytes; ++i) bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

std::uint32_t DefaultPixel(int x, int y) {
  return BmpBuilder::Blue(x, y) | BmpBuilder::Green(x, y) << 8 | BmpBuilder::Red(x, y) << 16 |
         static_cast<std::uint32_t>(BmpBuilder::Fourth(x, y)) << 24;
}

}  // namespace

BmpBuilder& BmpBuilder::Size(int width, int height) {
  width_ = width;
  height_ = height;
  return *this;
}

BmpBuilder& BmpBuilder::Bits(int bits) {
  bits_ = bits;
  return *this;
}

BmpBuilder& BmpBuilder::Palette(int entries) {
  paletteEntries_ = entries;
  return *this;
}

BmpBuilder& BmpBuilder::ClrUsed(std::uint32_t clrUsed) {
  clrUsed_ = clrUsed;
  return *this;
}

BmpBuilder& BmpBuilder::TopDown() {
  topDown_ = true;
  return *this;
}

BmpBuilder& BmpBuilder::OffBits(std::uint32_t offBits) {
  offBits_ = offBits;
  return *this;
}

BmpBuilder& BmpBuilder::Compression(std::uint32_t compression) {
  compression_ = compression;
  return *this;
}

BmpBuilder& BmpBuilder::Claim(std::int32_t width, std::int32_t height) {
  claims_ = true;
  claimedWidth_ = width;
  claimedHeight_ = height;
  return *this;
}

BmpBuilder& BmpBuilder::Pixel(PixelFunction pixel) {
  pixel_ = std::move(pixel);
  return *this;
}

int BmpBuilder::HeaderBytes() const {
  return 54 + 4 * NumPaletteEntries();
}

std::int64_t BmpBuilder::RowBytes() const {
  return (std::int64_t{width_} * bits_ + 31) / 32 * 4;
}

void BmpBuilder::WriteHeader(std::vector<unsigned char>& bytes) const {
  const auto imageBytes = static_cast<std::uint32_t>(RowBytes() * height_);
  bytes.push_back('B');
  bytes.push_back('M');
  Put(bytes, static_cast<std::uint32_t>(HeaderBytes()) + imageBytes, 4);
  Put(bytes, 0, 4);
  Put(bytes, offBits_ >= 0 ? static_cast<std::uint32_t>(offBits_) : static_cast<std::uint32_t>(HeaderBytes()), 4);
  Put(bytes, 40, 4);
  Put(bytes, static_cast<std::uint32_t>(claims_ ? claimedWidth_ : width_), 4);
  Put(bytes, static_cast<std::uint32_t>(claims_ ? claimedHeight_ : topDown_ ? -height_ : height_), 4);
  Put(bytes, 1, 2);
  Put(bytes, static_cast<std::uint32_t>(bits_), 2);
  Put(bytes, compression_, 4);
  Put(bytes, imageBytes, 4);
  Put(bytes, 2835, 4);
  Put(bytes, 2835, 4);
  Put(bytes, clrUsed_, 4);
  Put(bytes, 0, 4);
  for (int i = 0; i < NumPaletteEntries(); ++i) {
    for (const unsigned char byte : {PaletteBlue(i), PaletteGreen(i), PaletteRed(i), std::uint8_t{0}})
      bytes.push_back(byte);
  }
}

std::vector<unsigned char> BmpBuilder::Build() const {
  std::vector<unsigned char> bytes;
  bytes.reserve(static_cast<std::size_t>(HeaderBytes() + RowBytes() * height_));
  WriteHeader(bytes);
  for (int y = height_ - 1; y >= 0; --y) {
    const std::size_t rowStart = bytes.size();
    for (int x = 0; x < width_; ++x) Put(bytes, pixel_ ? pixel_(x, y) : DefaultPixel(x, y), bits_ / 8);
    bytes.resize(rowStart + static_cast<std::size_t>(RowBytes()), 0);
  }
  return bytes;
}
