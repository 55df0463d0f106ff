#pragma once

#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// An image as GDAL reads it, palettes of bytes applied: one plane of samples in their own type a channel.
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

/// Reads a BMP, JPEG, JPEG 2000, TIFF, NITF, HFA or DTED file, or an HDF4 file of one image.
OracleImage ReadWithGdal(const std::string& path);

/// A file as GDAL reads it, palettes left aside.
struct StoredImage {
  struct Plane {
    int dataType = 0;  ///< GDAL's
    int numBits = 0;   ///< of a sample as it is stored
    int sampleBytes = 0;
    bool hasSignedBytes = false;
    std::optional<double> nullValue;
    std::vector<unsigned char> bytes;
  };

  bool isOpen = false;
  int width = 0;
  int height = 0;
  int blockWidth = 0;
  int blockHeight = 0;
  std::vector<Plane> planes;
  std::set<int> missingBlocks;  ///< of the first plane, counted row by row
  bool isPlaced = false;
  std::array<double, 6> transform{};    ///< corner x, pixel width, row shear, corner y, column shear, pixel height
  int epsg = 0;                         ///< 0 where GDAL finds no code
  std::string wkt;                      ///< of the coordinate system; empty where the file has no system
  std::vector<std::string> complaints;  ///< warnings and errors
};

StoredImage ReadStoredWithGdal(const std::string& path);

/// Whether two texts describe the same system, by the rules of GDAL's library; two empty ones do.
bool AreSameSystems(const std::string& one, const std::string& other);

/// Of samples in the same place; 256 where the planes have different sizes.
int LargestDifference(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b);
