#include "PngWriter.h"

#include <csetjmp>

#include <png.h>

namespace {

struct Sink {
  OutputFile& output;
  std::string& err;
};

void OnWrite(png_structp png, png_bytep data, std::size_t count) {
  auto* sink = static_cast<Sink*>(png_get_io_ptr(png));
  if (!sink->output.Write(data, count, sink->err)) png_error(png, "");
}

void OnError(png_structp png, png_const_charp text) {
  auto* sink = static_cast<Sink*>(png_get_error_ptr(png));
  if (sink->err.empty()) sink->err = text;
  png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

/// The part that libpng may jump out of; it owns nothing.
bool Encode(png_structp png, png_infop info, const PngImage& image) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), image.bits,
               image.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  if (image.bits == 16) png_set_swap(png);
  for (int y = 0; y < image.height; ++y) {
    png_write_row(png, image.samples.data() + static_cast<std::size_t>(y) * image.RowBytes());
  }
  png_write_end(png, info);
  return true;
}

}  // namespace

bool WritePng(const PngImage& image, OutputFile& output, std::string& err) {
  Sink sink{output, err};
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, &OnError, &OnWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    err = "out of memory";
    return false;
  }
  png_set_write_fn(png, &sink, &OnWrite, nullptr);
  const bool isDone = Encode(png, info, image);
  png_destroy_write_struct(&png, &info);
  return isDone;
}
