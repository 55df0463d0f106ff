#pragma once

#include <cstddef>
#include <vector>

/// A JPEG file decoded by plain libjpeg, scanline by scanline, into interleaved samples.
struct ReferenceJpeg {
  int width = 0;
  int height = 0;
  int components = 0;
  std::vector<unsigned char> samples;

  int At(int x, int y, int c) const {
    return samples[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) *
                       static_cast<std::size_t>(components) +
                   static_cast<std::size_t>(c)];
  }
};

/// `bytes` must be a sound file.
ReferenceJpeg DecodeReference(const std::vector<unsigned char>& bytes);
