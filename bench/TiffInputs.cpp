// TIFF inputs, and the two rivals that read them. GDAL writes the files by its options, once. Its reader can be told to
// forget its blocks after each window, so that decoding is compared and not caching.
//
// The libtiff reader is what a program has without any library above libtiff: it finds the blocks under a window,
// decodes each as a whole, and copies its part. It is for samples of 8 bits and for one thread.

#include "TiffInputs.h"

#include "LevelInputs.h"
#include "XDataType.h"

#include <cpl_string.h>
#include <tiffio.h>
#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

void MakeTiff(const std::string& path, int side, int dataType, int numBands, const std::vector<std::string>& options) {
  if (fs::exists(path)) return;
  const std::string unfinished = path + ".part";
  CPLStringList list;
  for (const std::string& option : options) list.AddString(option.c_str());
  GDALDataset* tiff = GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      unfinished.c_str(), side, side, numBands, dataType == kPint16 ? GDT_UInt16 : GDT_Byte, list.List());
  Must(tiff != nullptr, "can't write " + path);
  // Bands come in turn, some rows each, so that GDAL's cache holds whole blocks of interleaved pixels.
  constexpr int kRows = 256;
  for (int y = 0; y < side; y += kRows) {
    for (int i = 0; i < numBands; ++i) WritePaintedRows(*tiff, path, dataType, i, y);
  }
  GDALClose(tiff);
  fs::rename(unfinished, path);
}

namespace {

std::size_t CountPixels(const Window& window) {
  return static_cast<std::size_t>(window.x1 - window.x0 + 1) * static_cast<std::size_t>(window.y1 - window.y0 + 1);
}

}  // namespace

GdalBand::GdalBand(const std::string& path, int channel, bool keepsBlocks)
    : dataset_(GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly)),
               [](GDALDataset* open) { GDALClose(open); }),
      keepsBlocks_(keepsBlocks) {
  Must(dataset_ != nullptr, "GDAL can't open " + path);
  band_ = dataset_->GetRasterBand(channel + 1);
}

const std::vector<unsigned char>& GdalBand::Read(const Window& window) {
  const int width = window.x1 - window.x0 + 1, height = window.y1 - window.y0 + 1;
  samples_.resize(CountPixels(window));
  const CPLErr error = band_->RasterIO(GF_Read, window.x0, window.y0, width, height, samples_.data(), width, height,
                                       GDT_Byte, 0, 0, nullptr);
  Must(error == CE_None, "GDAL failed to read a window");
  // The decoded blocks are dropped within what is timed.
  if (!keepsBlocks_) dataset_->FlushCache(false);
  return samples_;
}

struct LibtiffBand::Handle {
  TIFF* tiff = nullptr;
  int channel = 0;
  bool isTiled = false;
  bool isPlanar = false;
  std::uint32_t width = 0;
  std::uint32_t blockWidth = 0;
  std::uint32_t blockHeight = 0;
  int step = 1;  // samples of a pixel that lie together
  std::vector<unsigned char> block;
};

LibtiffBand::LibtiffBand(const std::string& path, int channel) : handle_(std::make_unique<Handle>()) {
  Handle& handle = *handle_;
  handle.tiff = TIFFOpen(path.c_str(), "rm");
  Must(handle.tiff != nullptr, "libtiff can't open " + path);
  handle.channel = channel;
  std::uint16_t planar = 1, samples = 1;
  int colour = 0;
  TIFFGetFieldDefaulted(handle.tiff, TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetFieldDefaulted(handle.tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetField(handle.tiff, TIFFTAG_IMAGEWIDTH, &handle.width);
  // libtiff gives luminance and chrominance unless it is asked for colour.
  if (TIFFGetField(handle.tiff, TIFFTAG_JPEGCOLORMODE, &colour)) {
    TIFFSetField(handle.tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  }
  handle.isPlanar = planar == PLANARCONFIG_SEPARATE;
  handle.step = handle.isPlanar ? 1 : samples;
  handle.isTiled = TIFFIsTiled(handle.tiff);
  handle.blockWidth = handle.width;
  if (handle.isTiled) TIFFGetField(handle.tiff, TIFFTAG_TILEWIDTH, &handle.blockWidth);
  TIFFGetField(handle.tiff, handle.isTiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, &handle.blockHeight);
  const tmsize_t numBytes = handle.isTiled ? TIFFTileSize(handle.tiff) : TIFFStripSize(handle.tiff);
  handle.block.resize(static_cast<std::size_t>(numBytes));
}

LibtiffBand::~LibtiffBand() {
  TIFFClose(handle_->tiff);
}

const std::vector<unsigned char>& LibtiffBand::Read(const Window& window) {
  samples_.resize(CountPixels(window));
  const auto width = static_cast<int>(handle_->blockWidth), height = static_cast<int>(handle_->blockHeight);
  for (int by = window.y0 / height; by <= window.y1 / height; ++by) {
    for (int bx = window.x0 / width; bx <= window.x1 / width; ++bx) ReadBlock(window, bx, by);
  }
  return samples_;
}

void LibtiffBand::ReadBlock(const Window& window, int blockX, int blockY) {
  Handle& handle = *handle_;
  const auto width = static_cast<int>(handle.blockWidth), height = static_cast<int>(handle.blockHeight);
  const auto left = static_cast<std::uint32_t>(blockX * width), top = static_cast<std::uint32_t>(blockY * height);
  const auto plane = static_cast<std::uint16_t>(handle.isPlanar ? handle.channel : 0);
  const auto numBytes = static_cast<tmsize_t>(handle.block.size());
  const tmsize_t got =
      handle.isTiled
          ? TIFFReadEncodedTile(handle.tiff, TIFFComputeTile(handle.tiff, left, top, 0, plane), handle.block.data(),
                                numBytes)
          : TIFFReadEncodedStrip(handle.tiff, TIFFComputeStrip(handle.tiff, top, plane), handle.block.data(), numBytes);
  Must(got > 0, "libtiff failed to read a block");
  // The part of the window that lies in this block.
  const int x0 = std::max(window.x0, blockX * width), x1 = std::min(window.x1, (blockX + 1) * width - 1);
  const int y0 = std::max(window.y0, blockY * height), y1 = std::min(window.y1, (blockY + 1) * height - 1);
  for (int y = y0; y <= y1; ++y) {
    const unsigned char* source =
        handle.block.data() +
        (static_cast<std::ptrdiff_t>(y - blockY * height) * width + (x0 - blockX * width)) * handle.step +
        (handle.isPlanar ? 0 : handle.channel);
    unsigned char* target =
        samples_.data() + static_cast<std::ptrdiff_t>(y - window.y0) * (window.x1 - window.x0 + 1) + (x0 - window.x0);
    for (int x = x0; x <= x1; ++x, source += handle.step) *target++ = *source;
  }
}
