#include "PngReader.h"

#include <cstdio>
#include <memory>

#include <png.h>

DecodedPng DecodePng(const std::string& path) {
  DecodedPng image;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) return image;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_read_struct(&png, &info, nullptr);
    return {};
  }
  png_init_io(png, file.get());
  png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  image.width = static_cast<int>(png_get_image_width(png, info));
  image.height = static_cast<int>(png_get_image_height(png, info));
  image.channels = png_get_channels(png, info);
  image.bits = png_get_bit_depth(png, info);
  for (int y = 0; y < image.height; ++y) {
    const png_bytep row = png_get_rows(png, info)[y];
    image.samples.insert(image.samples.end(), row, row + png_get_rowbytes(png, info));
  }
  png_destroy_read_struct(&png, &info, nullptr);
  return image;
}
