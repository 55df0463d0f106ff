#pragma once

#include "codec/TiffTags.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace zrk {

/// Colours of sample values, 0 to 255 each.
struct TiffPalette {
  int GetSize() const { return static_cast<int>(red.size()); }
  /// Whether red, green and blue are the same in every entry, as in an empty palette.
  bool IsGrey() const { return red == green && green == blue; }

  std::vector<short> red;
  std::vector<short> green;
  std::vector<short> blue;
};

/// The palette of a colour map: the high bytes of its components, or the components where all are below 256.
TiffPalette MakeTiffPalette(const TiffColourMap& map);
/// A grey ramp that falls from 255 to 0 over all sample values, for an image in which 0 is white.
TiffPalette MakeFallingRamp(int bitsPerSample);

/// Who makes samples of a block's bytes.
enum class TiffReader { kRaster, kOddBits, kRgba, kSplitBitmap };

/// What is left to do where a sample has been taken out of its block. It has its size then.
enum class TiffFinish {
  kNone,
  kSign,           ///< its highest bit is repeated up to the size of its type
  kTriple,         ///< its three bytes, which libtiff has turned around, are turned back
  kSignedTriple,   ///< and then it gets its sign
  kSignedInteger,  ///< an integer of 64 bits becomes a double
  kUnsignedInteger
};

/// How the pixels of a file become bands.
struct TiffLayout {
  TiffTags tags;         ///< as in the file, but photometric 3 where a ramp is the palette
  bool isExact = false;  ///< made by `PlanTiffExactly`
  bool isBilevel = false;
  bool isOddBits = false;
  bool isSplitBitmap = false;
  bool isRgba = false;
  TiffPalette palette;
  int numChannels = 1;
  int dataType = 1;
  // Of exact plans alone.
  TiffFinish finish = TiffFinish::kNone;
  std::optional<double> nullSample;  ///< as it is stored, before any palette; empty where no sample stands for no data

  TiffReader GetReader() const;
  /// The sample behind a channel: of a coloured palette each sample makes three channels. By an exact plan only the
  /// first one does, since a colour map is of one sample.
  int SampleOf(int channel) const;
  /// The channels from the first one on that are colours of the palette.
  int CountColours() const;
};

/// `map` is empty for a file without a colour map. `rgbaIsOk` tells whether libtiff can make red, green, blue and alpha
/// of the samples.
TiffLayout PlanTiff(const TiffTags& tags, const TiffColourMap& map, bool rgbaIsOk);

/// Colour spaces that are left to libtiff.
bool IsForeignColour(const TiffTags& tags);
/// Samples of other widths are packed bit by bit.
bool IsWholeWidth(int bits);

/// Blocks across and down an image, both 0 where the sizes make no sense together.
struct TiffGrid {
  int across = 0;
  int down = 0;
};
TiffGrid CountTiffBlocks(const TiffTags& tags, int dataType);

}  // namespace zrk
