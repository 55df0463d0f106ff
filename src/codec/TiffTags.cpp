#include "codec/TiffTags.h"

#include <algorithm>
#include <new>

namespace zrk {
namespace {

/// A value of a tag, or `missing` where the directory does not have it or libtiff can't read it.
template <class Value>
Value GetTag(TIFF* tiff, ttag_t tag, Value missing) {
  Value value = missing;
  return TIFFGetField(tiff, tag, &value) ? value : missing;
}

}  // namespace

TiffTags ReadTiffTags(TIFF* tiff) {
  constexpr std::uint16_t kOne = 1;
  TiffTags tags;
  tags.width = GetTag(tiff, TIFFTAG_IMAGEWIDTH, std::uint32_t{0});
  tags.height = GetTag(tiff, TIFFTAG_IMAGELENGTH, std::uint32_t{0});
  tags.samplesPerPixel = GetTag(tiff, TIFFTAG_SAMPLESPERPIXEL, kOne);
  tags.bitsPerSample = GetTag(tiff, TIFFTAG_BITSPERSAMPLE, kOne);
  tags.planarConfiguration = GetTag(tiff, TIFFTAG_PLANARCONFIG, kOne);
  tags.photometric = GetTag(tiff, TIFFTAG_PHOTOMETRIC, kOne);
  tags.sampleFormat = GetTag(tiff, TIFFTAG_SAMPLEFORMAT, kOne);
  tags.compression = GetTag(tiff, TIFFTAG_COMPRESSION, kOne);
  tags.fillOrder = GetTag(tiff, TIFFTAG_FILLORDER, kOne);
  tags.isTiled = TIFFIsTiled(tiff) != 0;
  if (tags.isTiled) {
    tags.blockWidth = GetTag(tiff, TIFFTAG_TILEWIDTH, std::uint32_t{0});
    tags.blockHeight = GetTag(tiff, TIFFTAG_TILELENGTH, std::uint32_t{0});
  } else {
    tags.blockWidth = tags.width;
    // A file in one strip may give any number of rows for it, or none.
    tags.blockHeight = std::min(GetTag(tiff, TIFFTAG_ROWSPERSTRIP, tags.height), tags.height);
  }
  tags.isSwapped = TIFFIsByteSwapped(tiff) != 0;
  return tags;
}

int ToSide(std::uint32_t numPixels) {
  return static_cast<int>(std::min<std::uint32_t>(numPixels, INT32_MAX));
}

TiffColourMap ReadTiffColourMap(TIFF* tiff, int bitsPerSample) try {
  TiffColourMap map;
  std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
  // libtiff takes maps for samples of up to 24 bits only, and its lists have just so many entries.
  if (bitsPerSample > 24 || !TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue)) return map;
  if (!red || !green || !blue) return map;
  const std::size_t count = std::size_t{1} << bitsPerSample;
  map.red.assign(red, red + count);
  map.green.assign(green, green + count);
  map.blue.assign(blue, blue + count);
  return map;
} catch (const std::bad_alloc&) {
  return {};
}

}  // namespace zrk
