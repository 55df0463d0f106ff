#pragma once

#include "output/OutputFile.h"

#include <cstddef>
#include <string>

#include <png.h>

/// The shape of an image of 8 or 16 bits a sample, with one channel (grey), three (red, green, blue) or
/// four (and opacity).
struct PngShape {
  int width = 0;
  int height = 0;
  int channels = 1;
  int bits = 8;
};

/// Writes a PNG row by row. Operations answer false with the reason in `err`.
class PngWriter {
 public:
  /// The output must outlive this object; it is not committed.
  explicit PngWriter(OutputFile& output) : output_(output) {}
  ~PngWriter();
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;

  bool Begin(const PngShape& shape, std::string& err);
  /// The next row from the top: samples packed, channels interleaved, 16-bit ones in the machine's order.
  bool WriteRow(const unsigned char* row, std::string& err);
  /// After as many rows as the shape has.
  bool End(std::string& err);

 private:
  template <class Step>
  bool Run(Step step, std::string& err);
  static void OnWrite(png_structp png, png_bytep data, std::size_t count);
  static void OnError(png_structp png, png_const_charp text);

  OutputFile& output_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  std::string error_;
};
