// The rivals for bitmaps and JPEG files. Each is used in the quickest way that its interface has: GDAL reads three
// bands in one call, and libjpeg decodes rows straight into their memory.

#include "Rivals.h"

#include <gdal_priv.h>
#include <jpeglib.h>
#include <cstdio>
#include <cstring>

void GdalReader::Closer::operator()(GDALDataset* dataset) const {
  GDALClose(dataset);
}

GdalReader::GdalReader(const std::string& path)
    : dataset_(GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly))) {
  Must(dataset_ != nullptr, "GDAL can't open " + path);
}

GdalReader::~GdalReader() = default;

void GdalReader::Read(const Window& window, Pixels& pixels) {
  const int width = window.x1 - window.x0 + 1, height = window.y1 - window.y0 + 1;
  const std::size_t planeBytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  pixels.resize(3 * planeBytes);
  const CPLErr error = dataset_->RasterIO(GF_Read, window.x0, window.y0, width, height, pixels.data(), width, height,
                                          GDT_Byte, 3, nullptr, 1, width, static_cast<GSpacing>(planeBytes), nullptr);
  Must(error == CE_None, "GDAL failed to read a window");
}

void GdalReader::Read(std::span<const Window> windows) {
  Pixels pixels;
  for (const Window& window : windows) Read(window, pixels);
}

void SetUpGdal() {
  GDALAllRegister();
  GDALSetCacheMax64(GIntBig{1} << 30);
}

Pixels DecodeByLibjpeg(const std::string& path) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  Must(file != nullptr, "can't open " + path);
  jpeg_decompress_struct decoder;
  jpeg_error_mgr errors;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_stdio_src(&decoder, file.get());
  jpeg_read_header(&decoder, TRUE);
  jpeg_start_decompress(&decoder);
  const std::size_t rowBytes = std::size_t{3} * decoder.output_width;
  Pixels decoded(rowBytes * decoder.output_height);
  while (decoder.output_scanline < decoder.output_height) {
    JSAMPROW rows[] = {decoded.data() + rowBytes * decoder.output_scanline};
    jpeg_read_scanlines(&decoder, rows, 1);
  }
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  // A caller of this library gets planes that it may keep. The rival's caller has to copy for that.
  Pixels copy(decoded.size());
  std::memcpy(copy.data(), decoded.data(), decoded.size());
  return copy;
}
