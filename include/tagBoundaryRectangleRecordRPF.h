#pragma once

#include <cstdint>

/// One boundary rectangle of a table of contents: a product with a scale and a zone, where it lies, and the grid of its
/// frames. Texts stand as the file has them, with the spaces that fill them up, and end in zero.
struct tagBoundaryRectangleRecordRPF {
  char productDataType[6];
  char compressionRatio[6];
  char scale[13];
  char zone[2];
  char producer[6];
  // The corners, in degrees.
  double nwLatitude, nwLongitude;
  double swLatitude, swLongitude;
  double neLatitude, neLongitude;
  double seLatitude, seLongitude;
  double verticalResolution;    ///< of a pixel, in metres
  double horizontalResolution;  ///< of a pixel, in metres
  double verticalInterval;      ///< of a pixel, in degrees of latitude
  double horizontalInterval;    ///< of a pixel, in degrees of longitude
  std::int32_t numFramesNorthSouth;
  std::int32_t numFramesEastWest;
};
