#include "ReferenceJpeg.h"

#include <cstdio>

#include <jpeglib.h>

ReferenceJpeg DecodeReference(const std::vector<unsigned char>& bytes) {
  jpeg_decompress_struct decoder{};
  jpeg_error_mgr errors{};
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_mem_src(&decoder, bytes.data(), static_cast<unsigned long>(bytes.size()));
  jpeg_read_header(&decoder, TRUE);
  jpeg_start_decompress(&decoder);

  ReferenceJpeg image;
  image.width = static_cast<int>(decoder.output_width);
  image.height = static_cast<int>(decoder.output_height);
  image.components = decoder.output_components;
  const std::size_t rowBytes = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.components);
  image.samples.resize(rowBytes * static_cast<std::size_t>(image.height));
  while (decoder.output_scanline < decoder.output_height) {
    JSAMPROW row = image.samples.data() + decoder.output_scanline * rowBytes;
    jpeg_read_scanlines(&decoder, &row, 1);
  }
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  return image;
}
