#pragma once

#include <memory>
#include <string>
#include <vector>

#include <tiffio.h>

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPointer = std::unique_ptr<TIFF, TiffCloser>;

/// libtiff over the bytes of a file, which must outlive it; null where it can't be opened. `mode` is as for `TIFFOpen`:
/// with "w" the bytes are replaced. What it has to say is dropped.
TiffPointer OpenTiffInMemory(std::vector<unsigned char>& bytes, const std::string& mode);

/// The whole image as libtiff shows it: bytes of red, green, blue and alpha, from the top row down.
struct TiffRgba {
  int width = 0;
  std::vector<std::uint32_t> pixels;

  int At(int x, int y, int channel) const {
    const std::uint32_t pixel =
        pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    return static_cast<int>(pixel >> (8 * channel) & 255u);
  }
};

/// `bytes` must be a sound file.
TiffRgba DecodeTiffRgba(std::vector<unsigned char> bytes);
