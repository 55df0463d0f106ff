// The plan of exact reads: samples as the file has them, in a type that holds each of their values.
//
// Samples narrower than a type are widened to the next one with their sign. Integers of 64 bits become doubles, where
// each of them has one. An image in which 0 is white is left as it is stored. A palette makes colours of the first
// sample, where the tags say that the image is one of a palette and the samples are narrow enough for it. Samples that
// no type holds are refused when the file is opened.
//
// Colour spaces that only libtiff knows become red, green, blue and alpha, as in the other plan.

#include "bands/tiff/TiffExactPlan.h"

#include "base/DataTypeVisit.h"
#include "XDataType.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace zrk {
namespace {

/// The smallest of three types of 8, 16 and 32 bits that holds so many.
int TypeOfInteger(int bits, int type8, int type16, int type32) {
  if (bits > 32) return bits == 64 ? kReal64 : kDataTypeNone;
  if (bits > 16) return type32;
  return bits > 8 ? type16 : type8;
}

int TypeOfReal(int bits) {
  if (bits == 16 || bits == 24 || bits == 32) return kReal32;
  return bits == 64 ? kReal64 : kDataTypeNone;
}

int TypeOfSample(const TiffTags& tags) {
  const int bits = tags.bitsPerSample;
  switch (tags.sampleFormat) {
    case SAMPLEFORMAT_IEEEFP:
      return TypeOfReal(bits);
    case SAMPLEFORMAT_COMPLEXINT:
      return bits == 32 ? kCint16 : bits == 64 ? kCint32 : kDataTypeNone;
    case SAMPLEFORMAT_COMPLEXIEEEFP:
      return bits == 64 ? kCreal32 : bits == 128 ? kCreal64 : kDataTypeNone;
    case SAMPLEFORMAT_INT:
      return TypeOfInteger(bits, kSint08, kSint16, kSint32);
    default:
      return TypeOfInteger(bits, kPint08, kPint16, kPint32);
  }
}

bool IsInteger(const TiffTags& tags) {
  return tags.sampleFormat != SAMPLEFORMAT_IEEEFP && tags.sampleFormat != SAMPLEFORMAT_COMPLEXINT &&
         tags.sampleFormat != SAMPLEFORMAT_COMPLEXIEEEFP;
}

/// A colour map counts where the image is said to be one of a palette. Its entries are numbered from 0, so that the
/// samples are taken as unsigned.
bool UsesPalette(const TiffTags& tags, const TiffColourMap& map) {
  constexpr int kMaxBits = 16;
  return tags.photometric == PHOTOMETRIC_PALETTE && tags.bitsPerSample <= kMaxBits && IsInteger(tags) &&
         !map.red.empty();
}

TiffFinish FinishOf(const TiffTags& tags) {
  const int bits = tags.bitsPerSample;
  if (!IsInteger(tags)) return TiffFinish::kNone;
  const bool isSigned = tags.sampleFormat == SAMPLEFORMAT_INT;
  if (bits == 64) return isSigned ? TiffFinish::kSignedInteger : TiffFinish::kUnsignedInteger;
  // Three bytes are packed with the highest one first, in files of either order.
  if (bits == 24 && tags.isSwapped) return isSigned ? TiffFinish::kSignedTriple : TiffFinish::kTriple;
  return isSigned && !IsWholeWidth(bits) ? TiffFinish::kSign : TiffFinish::kNone;
}

/// What a band of the type makes of a number, or nothing where it has no such sample. A single is the nearest one, and
/// numbers that were rounded a little beyond the largest single mean that one.
template <class Sample>
std::optional<double> FitSample(double number) {
  using Limits = std::numeric_limits<Sample>;
  if constexpr (std::is_floating_point_v<Sample>) {
    constexpr double kLargest = static_cast<double>(Limits::max());
    if (!std::isfinite(number) || std::abs(number) <= kLargest) return static_cast<double>(static_cast<Sample>(number));
    const bool isRounded = std::abs(number) <= kLargest * (1.0 + 1e-7);
    return isRounded ? std::optional(std::copysign(kLargest, number)) : std::nullopt;
  } else {
    const bool fits = number >= static_cast<double>(Limits::lowest()) && number <= static_cast<double>(Limits::max());
    return fits && number == std::floor(number) ? std::optional(number) : std::nullopt;
  }
}

/// Doubles that stand for integers of 64 bits have their range, and no fractions.
bool IsInRange(const TiffLayout& layout, double number) {
  const bool isWhole = number == std::floor(number);
  if (layout.finish == TiffFinish::kSignedInteger) return isWhole && number >= -0x1p63 && number < 0x1p63;
  if (layout.finish == TiffFinish::kUnsignedInteger) return isWhole && number >= 0.0 && number < 0x1p64;
  return true;
}

/// The type of the numbers that samples are made of: of one, or of a real and an imaginary one.
int TypeOfNumber(int dataType) {
  switch (dataType) {
    case kCint16:
      return kSint16;
    case kCint32:
      return kSint32;
    case kCreal32:
      return kReal32;
    case kCreal64:
      return kReal64;
    default:
      return dataType;
  }
}

}  // namespace

TiffLayout PlanTiffExactly(const TiffTags& tags, const TiffColourMap& map, bool rgbaIsOk) {
  constexpr int kColourChannels = 4, kPaletteChannels = 3;
  TiffLayout layout;
  layout.tags = tags;
  layout.isExact = true;
  layout.isRgba = tags.bitsPerSample < 9 && IsForeignColour(tags) && rgbaIsOk;
  layout.numChannels = layout.isRgba ? kColourChannels : tags.samplesPerPixel;
  layout.dataType = kPint08;
  if (layout.isRgba) return layout;
  TiffTags samples = tags;
  if (UsesPalette(tags, map)) {
    samples.sampleFormat = SAMPLEFORMAT_UINT;
    layout.palette = RoundTiffPalette(map);
    if (!layout.palette.IsGrey()) layout.numChannels += kPaletteChannels - 1;
  }
  const bool isReal = tags.sampleFormat == SAMPLEFORMAT_IEEEFP;
  layout.isOddBits = isReal ? tags.bitsPerSample == 16 || tags.bitsPerSample == 24 : !IsWholeWidth(tags.bitsPerSample);
  layout.dataType = TypeOfSample(samples);
  layout.finish = FinishOf(samples);
  return layout;
}

XString TellTiffObstacle(const TiffLayout& layout) {
  if (layout.dataType != kDataTypeNone) return {};
  const TiffTags& tags = layout.tags;
  const bool isReal = tags.sampleFormat == SAMPLEFORMAT_IEEEFP;
  const char* const kind = isReal ? "reals" : IsInteger(tags) ? "integers" : "complex numbers";
  XString text;
  text.Format("No data type holds samples that are %s of %d bits", kind, tags.bitsPerSample);
  return text;
}

TiffPalette RoundTiffPalette(const TiffColourMap& map) {
  constexpr int kMaxByte = 255, kMaxWord = 65535;
  const auto isByte = [](std::uint16_t component) { return component <= kMaxByte; };
  const bool areBytes = std::ranges::all_of(map.red, isByte) && std::ranges::all_of(map.green, isByte) &&
                        std::ranges::all_of(map.blue, isByte);
  const auto convert = [areBytes](const std::vector<std::uint16_t>& components) {
    std::vector<short> values(components.size());
    std::ranges::transform(components, values.begin(), [areBytes](int component) {
      return static_cast<short>(areBytes ? component : (component * kMaxByte + kMaxWord / 2) / kMaxWord);
    });
    return values;
  };
  return {convert(map.red), convert(map.green), convert(map.blue)};
}

std::optional<double> ParseNullSample(std::string_view text, const TiffLayout& layout) {
  constexpr std::string_view kBlank{" \t\r\n\0", 5};
  text.remove_prefix(std::min(text.find_first_not_of(kBlank), text.size()));
  if (text.starts_with('+')) text.remove_prefix(1);
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end == text.data() || !IsInRange(layout, number)) return std::nullopt;
  std::optional<double> sample;
  VisitDataType(TypeOfNumber(layout.dataType), [&](auto zero) { sample = FitSample<decltype(zero)>(number); });
  return sample;
}

/// A palette has colours in place of the samples. What is complex has an imaginary part of 0.
TiffSampleBytes MakeMissingSample(const TiffLayout& layout, int channel) {
  TiffSampleBytes bytes{};
  if (layout.isRgba) return bytes;
  double number = layout.nullSample.value_or(0.0);
  if (channel < layout.CountColours()) {
    const std::vector<short>* const colours[] = {&layout.palette.red, &layout.palette.green, &layout.palette.blue};
    const auto entry = static_cast<std::size_t>(number < layout.palette.GetSize() ? number : 0.0);
    number = (*colours[channel])[entry];
  }
  VisitDataType(TypeOfNumber(layout.dataType), [&](auto zero) {
    const auto sample = static_cast<decltype(zero)>(number);
    std::memcpy(bytes.data(), &sample, sizeof sample);
  });
  return bytes;
}

bool ShowsNullSample(const TiffLayout& layout) {
  return layout.nullSample && !layout.isRgba && layout.palette.GetSize() == 0;
}

}  // namespace zrk
