#pragma once

#include <string>
#include <vector>

/// A PNG decoded by libpng as it is stored.
struct DecodedPng {
  int width = 0;
  int height = 0;
  int channels = 0;
  int bits = 0;
  std::vector<unsigned char> samples;  ///< rows top-down, packed, 16-bit samples most significant byte first

  int At(int x, int y, int c) const {
    const std::size_t sample =
        (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) *
            static_cast<std::size_t>(channels) +
        static_cast<std::size_t>(c);
    return bits == 16 ? samples[2 * sample] << 8 | samples[2 * sample + 1] : samples[sample];
  }
};

/// An image without size where the file is no PNG.
DecodedPng DecodePng(const std::string& path);
