// libjpeg reports a failure by a function that must not return, so that ours jumps back. A jump runs no destructors:
// between it and libjpeg's calls nothing may own anything. The bytes come into memory of libjpeg's own making, which is
// copied in the end.

#include "codec/JpegEncoder.h"

#include "XLimits.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <new>

#include <jpeglib.h>

namespace zrk {

namespace {

/// A compressor whose ways out of the process are closed. For one thread.
class JpegCompressor {
 public:
  JpegCompressor() {
    compressor_.err = jpeg_std_error(&errors_);
    errors_.error_exit = [](j_common_ptr common) {
      auto& self = *static_cast<JpegCompressor*>(common->client_data);
      common->err->format_message(common, self.error_);
      std::longjmp(self.escape_, 1);
    };
    errors_.emit_message = [](j_common_ptr, int) {};
    errors_.output_message = [](j_common_ptr) {};
    compressor_.client_data = this;
  }
  ~JpegCompressor() {
    jpeg_destroy_compress(&compressor_);
    std::free(bytes_);  // libjpeg has it from malloc
  }
  JpegCompressor(const JpegCompressor&) = delete;
  JpegCompressor& operator=(const JpegCompressor&) = delete;

  bool Run(const JpegPixels& pixels, int quality) {
    if (setjmp(escape_)) return false;
    jpeg_create_compress(&compressor_);
    compressor_.client_data = this;
    // The environment may ask for a limit of its own.
    compressor_.mem->max_memory_to_use = static_cast<long>(XfnGetLimits().decodedTileBytes);
    jpeg_mem_dest(&compressor_, &bytes_, &numBytes_);
    compressor_.image_width = static_cast<JDIMENSION>(pixels.width);
    compressor_.image_height = static_cast<JDIMENSION>(pixels.height);
    compressor_.input_components = 3;
    compressor_.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&compressor_);
    jpeg_set_quality(&compressor_, quality, TRUE);
    jpeg_start_compress(&compressor_, TRUE);
    while (compressor_.next_scanline < compressor_.image_height) {
      auto* row = const_cast<JSAMPROW>(pixels.firstRow + pixels.rowBytes * std::ptrdiff_t{compressor_.next_scanline});
      jpeg_write_scanlines(&compressor_, &row, 1);
    }
    jpeg_finish_compress(&compressor_);
    return true;
  }

  const unsigned char* GetBytes() const { return bytes_; }
  std::size_t CountBytes() const { return numBytes_; }
  const char* GetError() const { return error_; }

 private:
  jpeg_compress_struct compressor_{};
  jpeg_error_mgr errors_{};
  std::jmp_buf escape_;
  char error_[JMSG_LENGTH_MAX] = "";
  unsigned char* bytes_ = nullptr;
  unsigned long numBytes_ = 0;
};

}  // namespace

bool EncodeJpeg(const JpegPixels& pixels, int quality, std::vector<unsigned char>& file, XString& err) {
  if (!pixels.firstRow || pixels.width <= 0 || pixels.height <= 0) {
    err = "There are no pixels to encode";
    return false;
  }
  JpegCompressor compressor;
  if (!compressor.Run(pixels, quality)) {
    err = compressor.GetError();
    return false;
  }
  try {
    file.assign(compressor.GetBytes(), compressor.GetBytes() + compressor.CountBytes());
    return true;
  } catch (const std::bad_alloc&) {
    err = "Out of memory";
    return false;
  }
}

}  // namespace zrk
