// libpng reports errors by a jump. Every call of it runs inside a step that the jump returns to, and a step owns
// nothing that a jump would leave behind.

#include "output/PngWriter.h"

#include <csetjmp>

namespace {

int ColourTypeOf(int channels) {
  return channels == 4 ? PNG_COLOR_TYPE_RGB_ALPHA : channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY;
}

}  // namespace

PngWriter::~PngWriter() {
  png_destroy_write_struct(&png_, &info_);
}

/// The reason of a failed write is kept, and libpng is told only that it has to end.
void PngWriter::OnWrite(png_structp png, png_bytep data, std::size_t count) {
  auto* writer = static_cast<PngWriter*>(png_get_io_ptr(png));
  if (!writer->output_.Write(data, count, writer->error_)) png_error(png, "");
}

/// The first reason counts.
void PngWriter::OnError(png_structp png, png_const_charp text) {
  auto* writer = static_cast<PngWriter*>(png_get_error_ptr(png));
  if (writer->error_.empty()) writer->error_ = text;
  png_longjmp(png, 1);
}

/// Runs calls of libpng, which jump back here where they fail. The step must own nothing.
template <class Step>
bool PngWriter::Run(Step step, std::string& err) {
  if (setjmp(png_jmpbuf(png_))) {
    err = error_;
    return false;
  }
  step();
  return true;
}

bool PngWriter::Begin(const PngShape& shape, std::string& err) {
  png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, &OnError, [](png_structp, png_const_charp) {});
  info_ = png_ ? png_create_info_struct(png_) : nullptr;
  if (!info_) {
    err = "out of memory";
    return false;
  }
  png_set_write_fn(png_, this, &OnWrite, nullptr);
  return Run(
      [&] {
        // The limits of libpng guard readers. Images of this family may be wider.
        png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(shape.width), static_cast<png_uint_32>(shape.height),
                     shape.bits, ColourTypeOf(shape.channels), PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png_, info_);
        // A PNG has the high byte first, and samples in memory have the low one.
        if (shape.bits == 16) png_set_swap(png_);
      },
      err);
}

bool PngWriter::WriteRow(const unsigned char* row, std::string& err) {
  return Run([&] { png_write_row(png_, row); }, err);
}

bool PngWriter::End(std::string& err) {
  return Run([&] { png_write_end(png_, info_); }, err);
}
