#pragma once

#include "OutputFile.h"

#include <cstddef>
#include <string>
#include <vector>

/// An image of 8 or 16 bits a sample, one channel (grey) or three (red, green, blue interleaved), rows top-down,
/// packed; 16-bit samples in the machine's order.
struct PngImage {
  int width = 0;
  int height = 0;
  int channels = 1;
  int bits = 8;
  std::vector<unsigned char> samples;

  std::size_t RowBytes() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels) * static_cast<std::size_t>(bits / 8);
  }
};

/// Writes the image as PNG; false with the reason in `err`.
bool WritePng(const PngImage& image, OutputFile& output, std::string& err);
