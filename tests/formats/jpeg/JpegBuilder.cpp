#include "JpegBuilder.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

JpegBuilder& JpegBuilder::Size(int width, int height) {
  width_ = width;
  height_ = height;
  return *this;
}

JpegBuilder& JpegBuilder::Grey() {
  components_ = 1;
  return *this;
}

JpegBuilder& JpegBuilder::TwoComponents() {
  components_ = 2;
  return *this;
}

JpegBuilder& JpegBuilder::Cmyk(bool adobe) {
  components_ = 4;
  adobe_ = adobe;
  return *this;
}

JpegBuilder& JpegBuilder::Progressive() {
  progressive_ = true;
  return *this;
}

JpegBuilder& JpegBuilder::Arithmetic() {
  arithmetic_ = true;
  return *this;
}

JpegBuilder& JpegBuilder::Quality(int quality) {
  quality_ = quality;
  return *this;
}

unsigned char JpegBuilder::Sample(int x, int y, int c) {
  const int wave = c == 0 ? 2 * x + y : c == 1 ? x + 3 * y : c == 2 ? 3 * x + 20 : x + y;
  const int folded = wave % 400;
  return static_cast<unsigned char>(folded < 200 ? 20 + folded : 420 - folded);
}

std::vector<unsigned char> JpegBuilder::Build() const {
  jpeg_compress_struct encoder{};
  jpeg_error_mgr errors{};
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* output = nullptr;
  unsigned long outputBytes = 0;
  jpeg_mem_dest(&encoder, &output, &outputBytes);
  encoder.image_width = static_cast<JDIMENSION>(width_);
  encoder.image_height = static_cast<JDIMENSION>(height_);
  encoder.input_components = components_;
  constexpr J_COLOR_SPACE kSpaces[] = {JCS_UNKNOWN, JCS_GRAYSCALE, JCS_UNKNOWN, JCS_RGB, JCS_CMYK};
  encoder.in_color_space = kSpaces[components_];
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, quality_, TRUE);
  encoder.write_Adobe_marker = adobe_ ? TRUE : FALSE;
  encoder.arith_code = arithmetic_ ? TRUE : FALSE;
  if (progressive_) jpeg_simple_progression(&encoder);
  jpeg_start_compress(&encoder, TRUE);
  std::vector<JSAMPLE> row(static_cast<std::size_t>(width_ * components_));
  for (int y = 0; y < height_; ++y) {
    for (int x = 0; x < width_; ++x) {
      for (int c = 0; c < components_; ++c) {
        const JSAMPLE sample = Sample(x, y, c);
        row[static_cast<std::size_t>(x * components_ + c)] = adobe_ ? static_cast<JSAMPLE>(255 - sample) : sample;
      }
    }
    JSAMPROW rows = row.data();
    jpeg_write_scanlines(&encoder, &rows, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
  std::vector<unsigned char> bytes(output, output + outputBytes);
  std::free(output);  // NOLINT: the encoder allocates it
  return bytes;
}
