#pragma once

#include <cstdint>
#include <vector>

/// The data of a GeoJP2 box: a TIFF file of one pixel with the tags and keys asked for. Lists that are empty make no
/// tag.
struct GeoBox {
  std::vector<double> pixelScale = {};
  std::vector<double> tiePoints = {};
  std::vector<double> matrix = {};
  int epsg = 0;  ///< of a projected system; 0 for no keys
  bool isPoint = false;

  std::vector<unsigned char> Build() const;
};

/// The data of an MSIG box with the six numbers in their places: x and y steps by column, then by row, then the place
/// of the first pixel's centre.
std::vector<unsigned char> MakeMsig(double columnX, double columnY, double rowX, double rowY, double x, double y,
                                    std::size_t numBytes = 70);
