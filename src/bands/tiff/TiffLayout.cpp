// The plan of a file: what its tags make of its bands. It is worked out from the tags alone, so that tests try it
// without a file.
//
// Images of one bit come as bytes. Colour spaces that only libtiff knows become red, green, blue and alpha, where
// samples have up to 8 bits and libtiff says that it can. Samples of 8, 16, 32, 64 and 128 bits come as they are.
// Samples of other widths are unpacked into the next wider unsigned type, and reals of 16 and 24 bits into singles.
//
// A palette with colours makes three channels of each sample. An image in which 0 is white gets a grey ramp as its
// palette. Whole widths for which there is no data type, such as integers of 64 bits, come as their low byte.
//
// That is the plan of compatible reads. TiffExactPlan.cpp makes the other one.

#include "bands/tiff/TiffLayout.h"

#include "XDataType.h"

#include <algorithm>
#include <new>

namespace zrk {
namespace {

void ChooseReader(TiffLayout& layout, bool rgbaIsOk) {
  constexpr std::uint32_t kTallRows = 2000;
  const TiffTags& tags = layout.tags;
  if (tags.bitsPerSample == 1 && tags.samplesPerPixel == 1) {
    layout.isBilevel = true;
    // A whole image in one tall strip would be decoded as a whole for any row of it. Only its first row is served.
    layout.isSplitBitmap = !tags.isTiled && tags.blockHeight == tags.height && tags.height > kTallRows;
  } else {
    layout.isRgba = tags.bitsPerSample < 9 && IsForeignColour(tags) && rgbaIsOk;
  }
  if (tags.sampleFormat == SAMPLEFORMAT_IEEEFP) {
    layout.isOddBits = tags.bitsPerSample == 16 || tags.bitsPerSample == 24;
  } else {
    layout.isOddBits = !layout.isRgba && !layout.isBilevel && !IsWholeWidth(tags.bitsPerSample);
  }
}

int TypeOfOddBits(const TiffTags& tags) {
  if (tags.sampleFormat == SAMPLEFORMAT_IEEEFP) return kReal32;
  if (tags.bitsPerSample >= 9 && tags.bitsPerSample <= 15) return kPint16;
  return tags.bitsPerSample > 16 ? kPint32 : kPint08;
}

/// The sample format tells apart types of one width. What fits no type is served as bytes.
int TypeOfWholeWidth(const TiffTags& tags) {
  const int bits = tags.bitsPerSample, format = tags.sampleFormat;
  if (bits >= 9 && bits <= 16) return format == SAMPLEFORMAT_INT ? kSint16 : kPint16;
  if (bits == 32) {
    if (format == SAMPLEFORMAT_COMPLEXINT) return kCint16;
    if (format == SAMPLEFORMAT_IEEEFP) return kReal32;
    return format == SAMPLEFORMAT_INT ? kSint32 : kPint32;
  }
  if (bits == 64) {
    if (format == SAMPLEFORMAT_IEEEFP) return kReal64;
    if (format == SAMPLEFORMAT_COMPLEXIEEEFP) return kCreal32;
    if (format == SAMPLEFORMAT_COMPLEXINT) return kCint32;
  }
  if (bits == 128 && format == SAMPLEFORMAT_COMPLEXIEEEFP) return kCreal64;
  return kPint08;
}

int ChooseDataType(const TiffLayout& layout) {
  if (layout.isRgba || layout.isSplitBitmap || layout.isBilevel) return kPint08;
  return layout.isOddBits ? TypeOfOddBits(layout.tags) : TypeOfWholeWidth(layout.tags);
}

/// A ramp has an entry for each value, so wider samples are too many for one.
bool CanHaveRamp(const TiffTags& tags) {
  return tags.photometric == PHOTOMETRIC_MINISWHITE && tags.bitsPerSample >= 1 && tags.bitsPerSample <= 16;
}

/// An image is shown without its palette where there is no memory for it.
void FindPalette(TiffLayout& layout, const TiffColourMap& map) {
  if (layout.isRgba) return;
  try {
    if (!map.red.empty()) {
      layout.palette = MakeTiffPalette(map);
    } else if (CanHaveRamp(layout.tags)) {
      layout.palette = MakeFallingRamp(layout.tags.bitsPerSample);
      layout.tags.photometric = PHOTOMETRIC_PALETTE;
    }
  } catch (const std::bad_alloc&) {
    layout.palette = {};
  }
}

}  // namespace

TiffPalette MakeTiffPalette(const TiffColourMap& map) {
  std::uint16_t largest = 0;
  for (const auto* components : {&map.red, &map.green, &map.blue}) {
    for (const std::uint16_t component : *components) largest = std::max(largest, component);
  }
  // Some writers put 8-bit values into the words.
  const int shift = largest >= 1 && largest <= 255 ? 0 : 8;
  const auto convert = [shift](const std::vector<std::uint16_t>& components) {
    std::vector<short> values(components.size());
    std::ranges::transform(components, values.begin(),
                           [shift](std::uint16_t component) { return static_cast<short>(component >> shift); });
    return values;
  };
  return {convert(map.red), convert(map.green), convert(map.blue)};
}

TiffPalette MakeFallingRamp(int bitsPerSample) {
  const int numEntries = 1 << bitsPerSample;
  std::vector<short> ramp(static_cast<std::size_t>(numEntries));
  for (int i = 0; i < numEntries; ++i) {
    ramp[static_cast<std::size_t>(i)] = static_cast<short>((numEntries - 1 - i) * 255 / (numEntries - 1));
  }
  return {ramp, ramp, ramp};
}

TiffReader TiffLayout::GetReader() const {
  if (isRgba) return TiffReader::kRgba;
  if (isSplitBitmap) return TiffReader::kSplitBitmap;
  return isOddBits || isBilevel ? TiffReader::kOddBits : TiffReader::kRaster;
}

int TiffLayout::SampleOf(int channel) const {
  if (isExact) return std::max(channel - std::max(CountColours() - 1, 0), 0);
  return palette.IsGrey() ? channel : channel / 3;
}

int TiffLayout::CountColours() const {
  constexpr int kColours = 3;
  if (!isExact) return kColours;
  if (palette.GetSize() == 0) return 0;
  return palette.IsGrey() ? 1 : kColours;
}

TiffLayout PlanTiff(const TiffTags& tags, const TiffColourMap& map, bool rgbaIsOk) {
  TiffLayout layout;
  layout.tags = tags;
  ChooseReader(layout, rgbaIsOk);
  FindPalette(layout, map);
  layout.numChannels = layout.isRgba ? 4 : tags.samplesPerPixel;
  if (!layout.palette.IsGrey()) layout.numChannels *= 3;
  layout.dataType = ChooseDataType(layout);
  return layout;
}

bool IsForeignColour(const TiffTags& tags) {
  switch (tags.photometric) {
    case PHOTOMETRIC_CIELAB:
    case PHOTOMETRIC_LOGL:
    case PHOTOMETRIC_LOGLUV:
    case PHOTOMETRIC_SEPARATED:
      return true;
    case PHOTOMETRIC_YCBCR:
      return tags.compression != COMPRESSION_JPEG;
    default:
      return false;
  }
}

bool IsWholeWidth(int bits) {
  return bits == 8 || bits == 16 || bits == 32 || bits == 64 || bits == 128;
}

/// Blocks that are not long on any side pass unmeasured here. Their bytes are measured against the limits when the file
/// is opened.
TiffGrid CountTiffBlocks(const TiffTags& tags, int dataType) {
  constexpr std::int64_t kMaxPixels = std::int64_t{1} << 31;
  constexpr std::uint32_t kLongSide = 9999;
  const std::int64_t blockWidth = tags.blockWidth, blockHeight = tags.blockHeight;
  if (blockWidth == 0 || blockHeight == 0 || tags.width == 0 || tags.height == 0) return {};
  if (tags.blockWidth > kLongSide || tags.blockHeight > kLongSide) {
    const std::int64_t sampleBytes = std::max(XfnGetDataSize(std::max(dataType, int{kPint08})), 1);
    if (blockWidth > UINT32_MAX / sampleBytes / blockHeight) return {};
  }
  if (tags.width > kMaxPixels - blockWidth || tags.height > kMaxPixels - blockHeight) return {};
  return {static_cast<int>((tags.width + blockWidth - 1) / blockWidth),
          static_cast<int>((tags.height + blockHeight - 1) / blockHeight)};
}

}  // namespace zrk
