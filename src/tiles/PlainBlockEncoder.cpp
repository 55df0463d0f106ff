// The encoder of one block, step by step: the form that says what the bytes are. All of it is single precision, and no
// product and sum are fused into one operation, so that the bytes are the same on every machine.
//
// A block is four by four pixels. Its two colours are the ends of a line through the mean colour of its opaque pixels.
// The line's direction, the axis, is found in rounds: each difference from the mean is turned to the side of the axis,
// and their sum is the next axis. A pixel's code is its place on the line, in thirds between the ends, or in halves
// where one code is needed for transparent pixels. Blocks whose pixels give no line have one colour.

#include "tiles/BlockEncoder.h"

#include <cmath>
#include <cstdint>

namespace zrk {
namespace {

constexpr int kNumPixels = 16;
constexpr int kMaxRounds = 20;
constexpr float kStillAxis = 1e-05f;
constexpr float kFar = 3.4e+38f;  // beyond every place on a line

struct Vector {
  float red = 0.0f;
  float green = 0.0f;
  float blue = 0.0f;
};

float Dot(const Vector& a, const Vector& b) {
  return a.red * b.red + a.green * b.green + a.blue * b.blue;
}

struct Pixel {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
  bool isOpaque;
};

/// The pixels in the order of their codes: from the lowest row up, and each row from right to left.
using Pixels = std::array<Pixel, kNumPixels>;

Pixels TakePixels(const BlockStrip& strip, std::size_t block) {
  Pixels pixels;
  for (std::size_t row = 0; row < 4; ++row) {
    for (std::size_t column = 0; column < 4; ++column) {
      const std::size_t x = 4 * block + column;
      pixels[4 * row + 3 - column] = {strip.red[row][x], strip.green[row][x], strip.blue[row][x],
                                      !strip.hasTransparent || strip.alpha[row][x] != 0};
    }
  }
  return pixels;
}

/// A number from 0 to `most` as an integer; larger and smaller numbers become these.
int Quantise(float value, int most) {
  if (!(value > 0.0f)) return 0;
  return value > static_cast<float>(most) ? most : static_cast<int>(value);
}

/// The colour word of the place `at` on the line.
int WordAt(const Vector& axis, float at, const Vector& mean) {
  const int red = Quantise((axis.red * at + mean.red + 4.0f) * 0.125f, 31);
  const int green = Quantise((axis.green * at + mean.green + 2.0f) * 0.25f, 63);
  const int blue = Quantise((axis.blue * at + mean.blue + 4.0f) * 0.125f, 31);
  return red * 2048 + green * 32 + blue;
}

class Block {
 public:
  explicit Block(const Pixels& pixels) : pixels_(pixels) {
    for (const Pixel& pixel : pixels_) numOpaque_ += pixel.isOpaque ? 1 : 0;
  }

  /// The eight bytes: colour 0, colour 1 and the codes, the least significant byte first.
  std::uint64_t Encode() {
    FindMean();
    if (HasOneColour() || !FindAxis()) return OneColour();
    FindEnds();
    const int low = WordAt(axis_, smallest_, mean_);
    const int high = WordAt(axis_, largest_, mean_);
    if (low == high) return OneColour();
    return IsWhole() ? FourColours(low, high) : ThreeColours(low, high);
  }

 private:
  bool IsWhole() const { return numOpaque_ == kNumPixels; }

  bool HasOneColour() const {
    const Pixel* first = nullptr;
    for (const Pixel& pixel : pixels_) {
      if (!pixel.isOpaque) continue;
      if (!first) first = &pixel;
      if (pixel.red != first->red || pixel.green != first->green || pixel.blue != first->blue) return false;
    }
    return true;
  }

  /// Black where no pixel is opaque. The sums are exact, and so the mean of equal colours is that colour.
  void FindMean() {
    if (numOpaque_ == 0) return;
    for (const Pixel& pixel : pixels_) {
      if (!pixel.isOpaque) continue;
      mean_.red += static_cast<float>(pixel.red);
      mean_.green += static_cast<float>(pixel.green);
      mean_.blue += static_cast<float>(pixel.blue);
    }
    const auto count = static_cast<float>(numOpaque_);
    mean_ = {mean_.red / count, mean_.green / count, mean_.blue / count};
  }

  Vector DifferenceOf(const Pixel& pixel) const {
    return {static_cast<float>(pixel.red) - mean_.red, static_cast<float>(pixel.green) - mean_.green,
            static_cast<float>(pixel.blue) - mean_.blue};
  }

  /// False where the differences cancel out, so that there is no direction.
  bool FindAxis() {
    axis_ = {0.57735f, 0.57735f, 0.57735f};
    for (int round = 0; round < kMaxRounds; ++round) {
      const Vector sum = SumAlongAxis();
      const auto length = static_cast<float>(
          std::sqrt(double{sum.red} * sum.red + double{sum.green} * sum.green + double{sum.blue} * sum.blue));
      if (length == 0.0f) return false;
      const Vector old = axis_;
      axis_ = {sum.red / length, sum.green / length, sum.blue / length};
      const float change =
          std::abs(axis_.red - old.red) + std::abs(axis_.green - old.green) + std::abs(axis_.blue - old.blue);
      if (change < kStillAxis) break;
    }
    return true;
  }

  Vector SumAlongAxis() const {
    Vector sum;
    for (const Pixel& pixel : pixels_) {
      if (!pixel.isOpaque) continue;
      const Vector d = DifferenceOf(pixel);
      const float sign = Dot(d, axis_) > 0.0f ? 1.0f : -1.0f;
      sum = {sum.red + sign * d.red, sum.green + sign * d.green, sum.blue + sign * d.blue};
    }
    return sum;
  }

  float PlaceOf(const Pixel& pixel) const { return Dot(DifferenceOf(pixel), axis_); }

  void FindEnds() {
    for (const Pixel& pixel : pixels_) {
      if (!pixel.isOpaque) continue;
      const float place = PlaceOf(pixel);
      if (place < smallest_) smallest_ = place;
      if (place > largest_) largest_ = place;
    }
  }

  /// 0 at the smaller end, 1 at the larger.
  float PartOf(const Pixel& pixel) const { return (PlaceOf(pixel) - smallest_) / (largest_ - smallest_); }

  template <class CodeOf>
  std::uint64_t Assemble(int colour0, int colour1, CodeOf&& codeOf) const {
    std::uint32_t codes = 0;
    for (const Pixel& pixel : pixels_) codes = codes << 2 | static_cast<std::uint32_t>(codeOf(pixel));
    return static_cast<std::uint64_t>(colour0) | static_cast<std::uint64_t>(colour1) << 16 | std::uint64_t{codes} << 32;
  }

  /// The larger word comes first, which is how a block has four colours.
  std::uint64_t FourColours(int low, int high) const {
    constexpr int kRising[] = {1, 3, 2, 0}, kFalling[] = {0, 2, 3, 1};
    const bool isRising = low <= high;
    return Assemble(isRising ? high : low, isRising ? low : high, [&](const Pixel& pixel) {
      const auto third = static_cast<int>(PartOf(pixel) * 3.0f + 0.5f);
      return isRising ? kRising[third] : kFalling[third];
    });
  }

  /// The smaller word comes first, and code 3 is transparent.
  std::uint64_t ThreeColours(int low, int high) const {
    constexpr int kFalling[] = {1, 2, 0}, kRising[] = {0, 2, 1};
    const bool isFalling = high <= low;
    return Assemble(isFalling ? high : low, isFalling ? low : high, [&](const Pixel& pixel) {
      if (!pixel.isOpaque) return 3;
      const auto half = static_cast<int>(2.0f * PartOf(pixel) + 0.5f);
      return isFalling ? kFalling[half] : kRising[half];
    });
  }

  /// With transparent pixels colour 1 is black. That makes a block of three colours only where colour 0 is black, too.
  std::uint64_t OneColour() const {
    const int word = WordAt({}, 0.0f, mean_);
    return Assemble(word, IsWhole() ? 0xFFFF : 0, [](const Pixel& pixel) { return pixel.isOpaque ? 0 : 3; });
  }

  const Pixels& pixels_;
  int numOpaque_ = 0;
  Vector mean_;
  Vector axis_;
  float smallest_ = kFar;
  float largest_ = -kFar;
};

}  // namespace

void EncodeStripPlainly(const BlockStrip& strip, std::uint8_t* blocks) {
  for (std::size_t i = 0; i < strip.numBlocks; ++i) {
    const Pixels pixels = TakePixels(strip, i);
    const std::uint64_t block = Block(pixels).Encode();
    for (std::size_t k = 0; k < 8; ++k) blocks[8 * i + k] = static_cast<std::uint8_t>(block >> 8 * k);
  }
}

}  // namespace zrk
