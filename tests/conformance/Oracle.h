#pragma once

#include <string>
#include <vector>

/// An image as GDAL reads it, palettes applied: one plane of bytes a channel.
struct OracleImage {
  struct Statistics {
    double min = 0.0;
    double max = 0.0;
    double mean = 0.0;
    double stdDev = 0.0;  ///< over n - 1
  };

  bool isOpen = false;
  int width = 0;
  int height = 0;
  std::vector<std::vector<unsigned char>> channels;
  std::vector<Statistics> statistics;
};

/// Reads a BMP or JPEG file of 8 bits a sample.
OracleImage ReadWithGdal(const std::string& path);

/// Of samples in the same place; 256 where the planes have different sizes.
int LargestDifference(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b);
