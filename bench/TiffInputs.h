#pragma once

#include "Inputs.h"

#include <gdal_priv.h>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// How a TIFF lays its pixels out.
struct TiffKind {
  const char* key;
  const char* title;
  std::vector<std::string> options;  ///< of GDAL, which writes it
  bool isPlain;                      ///< not compressed
  int windowShare = 1;               ///< of so many windows one is read, where each takes long
};

/// Writes the picture of `PaintedBand` as TIFF, with these options of GDAL, unless the file is there.
void MakeTiff(const std::string& path, int side, int dataType, int numBands, const std::vector<std::string>& options);

/// Reads one band through GDAL. With `keepsBlocks` false, no window finds blocks that one before it decoded.
class GdalBand {
 public:
  GdalBand(const std::string& path, int channel, bool keepsBlocks);
  const std::vector<unsigned char>& Read(const Window& window);
  void Read(std::span<const Window> windows) {
    for (const Window& window : windows) Read(window);
  }

 private:
  std::unique_ptr<GDALDataset, void (*)(GDALDataset*)> dataset_;
  GDALRasterBand* band_;
  bool keepsBlocks_;
  std::vector<unsigned char> samples_;
};

/// Reads one band of a file of bytes through libtiff alone. Whole blocks are decoded, and the part that the window
/// wants is copied.
class LibtiffBand {
 public:
  LibtiffBand(const std::string& path, int channel);
  ~LibtiffBand();
  LibtiffBand(const LibtiffBand&) = delete;
  LibtiffBand& operator=(const LibtiffBand&) = delete;
  const std::vector<unsigned char>& Read(const Window& window);
  void Read(std::span<const Window> windows) {
    for (const Window& window : windows) Read(window);
  }

 private:
  struct Handle;
  void ReadBlock(const Window& window, int blockX, int blockY);

  std::unique_ptr<Handle> handle_;
  std::vector<unsigned char> samples_;
};
