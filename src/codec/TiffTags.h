#pragma once

#include <cstdint>
#include <vector>

#include <tiffio.h>

namespace zrk {

/// What the first directory of a TIFF file says of its pixels. A tag that is missing counts as 1.
struct TiffTags {
  std::uint32_t width = 0;  ///< in pixels; 0 where the tag is missing
  std::uint32_t height = 0;
  int samplesPerPixel = 1;
  int bitsPerSample = 1;
  int planarConfiguration = 1;  ///< 1 pixel by pixel, 2 plane by plane
  int photometric = 1;
  int sampleFormat = 1;  ///< 1 unsigned, 2 signed, 3 real, 5 complex integer, 6 complex real
  int compression = 1;
  int fillOrder = 1;              ///< 2 where the lowest bit of a byte comes first
  bool isTiled = false;           ///< otherwise in strips
  std::uint32_t blockWidth = 0;   ///< of a tile, or the image's
  std::uint32_t blockHeight = 0;  ///< of a tile, or the rows of a strip, which are not more than the image's
  bool isSwapped = false;         ///< whether the bytes of the file are in the other order than the machine's

  bool IsPlanar() const { return planarConfiguration == PLANARCONFIG_SEPARATE; }
  friend bool operator==(const TiffTags&, const TiffTags&) = default;
};

TiffTags ReadTiffTags(TIFF* tiff);

/// The side of an image or of a block as an int. A longer side is cut to the largest int, and nothing of that size can
/// be read.
int ToSide(std::uint32_t numPixels);

/// The colour map as it is stored. Each list has a component of 16 bits for each sample value. All are empty where the
/// file has no map.
struct TiffColourMap {
  std::vector<std::uint16_t> red;
  std::vector<std::uint16_t> green;
  std::vector<std::uint16_t> blue;
};

/// Reads the colour map, whose lists have 2^bitsPerSample entries each. All are empty where memory ran out, too.
TiffColourMap ReadTiffColourMap(TIFF* tiff, int bitsPerSample);

}  // namespace zrk
