#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <tiffio.h>

// TIFF files as others read and write them.

/// What libtiff tells of the tags of a file; -1 for a number that is not there.
struct TiffTags {
  explicit TiffTags(const std::string& path);

  bool isOpen = false;
  int width = -1;
  int height = -1;
  int rowsPerStrip = -1;
  int compression = -1;
  int planarConfig = -1;
  int photometric = -1;
  int bitsPerSample = -1;
  int sampleFormat = -1;
  int samplesPerPixel = -1;
  std::vector<int> extraSamples;
  std::array<std::vector<std::uint16_t>, 3> colourMap;
  std::vector<double> tiePoints;
  std::vector<double> pixelScale;
  bool isBig = false;
  std::vector<std::string> complaints;  ///< warnings and errors

 private:
  void ReadGeoTags(const std::string& path);
};

/// What GDAL reads of a file.
struct GdalImage {
  struct Band {
    int dataType = 0;  ///< a GDALDataType
    int interpretation = 0;
    std::vector<unsigned char> bytes;
    std::vector<std::array<int, 3>> colours;  ///< of the colour table
  };
  explicit GdalImage(const std::string& path);

  bool isOpen = false;
  int width = 0;
  int height = 0;
  std::vector<Band> bands;
  bool isPlaced = false;
  std::array<double, 6> transform = {};
  int epsg = 0;
  std::string pixelOrPoint;
  std::vector<std::string> complaints;
};

/// The samples of an image, plane by plane.
struct PlainImage {
  int width = 0;
  int height = 0;
  int sampleBytes = 1;
  bool isInterleaved = false;
  std::vector<std::vector<unsigned char>> planes;
};

/// The bytes of a file that libtiff writes to `path` row by row. `setTags` sets what describes the samples, after size,
/// strips of 32 rows and no compression are set.
std::vector<unsigned char> WriteWithLibtiff(const std::string& path, const PlainImage& image,
                                            const std::function<void(TIFF*)>& setTags);

/// The geokeys of a file that are numbers, and the text of those that are not: "1024=1".
std::vector<std::string> ReadGeoKeys(const std::string& path);
