// The decoder of one block, pixel by pixel: the form that says what the pixels are. A block has two colours of 5, 6 and
// 5 bits, then two bits a pixel that choose one of them or one between them; the upper left pixel has the lowest bits.
// The larger kinds have 8 bytes of opacities before that, 4 bits a pixel, or two opacities and 3 bits a pixel.

#include "tiles/BlockDecoder.h"

#include <array>
#include <cstring>
#include <utility>

namespace zrk {
namespace {

using Colour = std::array<std::uint8_t, 4>;

int FillBits(int value, int numBits) {
  return value << (8 - numBits) | value >> (2 * numBits - 8);
}

Colour Expand(unsigned word, BlockColours colours) {
  const int red = static_cast<int>(word >> 11), green = static_cast<int>(word >> 5 & 63),
            blue = static_cast<int>(word & 31);
  const auto fill = [&](int value, int numBits) {
    return static_cast<std::uint8_t>(colours == BlockColours::kShifted ? value << (8 - numBits)
                                                                       : FillBits(value, numBits));
  };
  Colour colour = {fill(red, 5), fill(green, 6), fill(blue, 5), 255};
  if (colours == BlockColours::kSquishBgra) std::swap(colour[0], colour[2]);
  return colour;
}

std::array<Colour, 4> Palette(const std::uint8_t* block, _XDXTTYPE type, BlockColours colours) {
  const unsigned word0 = block[0] | block[1] << 8, word1 = block[2] | block[3] << 8;
  const bool hasFour = type != kDxt1 || word0 > word1 || (colours == BlockColours::kShifted && word0 == word1);
  std::array<Colour, 4> palette = {Expand(word0, colours), Expand(word1, colours), Colour{}, Colour{}};
  if (hasFour) palette[3][3] = 255;
  palette[2][3] = 255;
  for (std::size_t i = 0; i < 3; ++i) {
    const int a = palette[0][i], b = palette[1][i];
    palette[2][i] = static_cast<std::uint8_t>(hasFour ? (2 * a + b) / 3 : (a + b) / 2);
    palette[3][i] = static_cast<std::uint8_t>(hasFour ? (a + 2 * b) / 3 : 0);
  }
  return palette;
}

std::array<std::uint8_t, 8> AlphaScale(int a, int b) {
  std::array<std::uint8_t, 8> scale = {static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b), 0, 0, 0, 0, 0, 255};
  const int steps = a > b ? 7 : 5;
  for (int i = 1; i < steps; ++i) {
    scale[static_cast<std::size_t>(i + 1)] = static_cast<std::uint8_t>(((steps - i) * a + i * b) / steps);
  }
  return scale;
}

int AlphaOf(const std::uint8_t* block, _XDXTTYPE type, unsigned pixel) {
  std::uint64_t bits = 0;
  for (unsigned i = 0; i < 8; ++i) bits |= std::uint64_t{block[i]} << 8 * i;
  if (type == kDxt3) return static_cast<int>(bits >> 4 * pixel & 15) * 17;
  return AlphaScale(block[0], block[1])[bits >> (16 + 3 * pixel) & 7];
}

}  // namespace

void DecodeRunPlainly(const BlockRun& run, std::uint8_t* first, std::ptrdiff_t rowBytes) {
  const std::size_t blockBytes = run.type == kDxt1 ? 8 : 16;
  for (std::size_t i = 0; i < run.count; ++i) {
    const std::uint8_t* block = run.blocks + i * blockBytes;
    const std::uint8_t* colours = block + blockBytes - 8;
    const std::array<Colour, 4> palette = Palette(colours, run.type, run.colours);
    for (unsigned pixel = 0; pixel < 16; ++pixel) {
      std::uint8_t* out = first + static_cast<std::ptrdiff_t>(pixel / 4) * rowBytes + i * 16 + pixel % 4 * 4;
      std::memcpy(out, palette[colours[4 + pixel / 4] >> pixel % 4 * 2 & 3].data(), 4);
      if (run.type != kDxt1) out[3] = static_cast<std::uint8_t>(AlphaOf(block, run.type, pixel));
    }
  }
}

}  // namespace zrk
