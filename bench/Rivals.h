#pragma once

#include "Inputs.h"

#include <memory>
#include <span>
#include <vector>

class GDALDataset;

/// Three planes of one window, red first.
using Pixels = std::vector<unsigned char>;

/// Reads the same pixels through GDAL, which wants one handle for each thread.
class GdalReader {
 public:
  explicit GdalReader(const std::string& path);
  ~GdalReader();

  /// The three channels of the window, plane by plane, in one call.
  void Read(const Window& window, Pixels& pixels);
  void Read(std::span<const Window> windows);

 private:
  struct Closer {
    void operator()(GDALDataset* dataset) const;
  };
  std::unique_ptr<GDALDataset, Closer> dataset_;
};

/// Makes GDAL ready, with a block cache that holds all that is read here.
void SetUpGdal();

/// Decodes a JPEG file by libjpeg-turbo alone, row by row in its own order of channels, and copies the result once.
Pixels DecodeByLibjpeg(const std::string& path);
