#pragma once

#include <cstdint>

/// One boundary rectangle of a table of contents: a product with a scale and a zone, where it lies, and the grid of its
/// frames. Texts stand as the file has them, with the spaces that fill them up, and end in zero. Numbers stand as the
/// file has them too and are not checked: they may contradict each other. `XCIBtoc` owns the record.
struct tagBoundaryRectangleRecordRPF {
  /// The kind of product, such as "CADRG" or "CIB  "; `XCIBtoc::GetProductDataType` gives it as a number.
  char productDataType[6];
  /// As "55:1 ".
  char compressionRatio[6];
  /// The scale of the map, as "1:500K", or the resolution of an image, as "10M".
  char scale[13];
  /// One character: the zone of latitude that the frames are made for.
  char zone[2];
  /// Who made it, in the producer's own code.
  char producer[6];
  /// The corners, in degrees: latitudes are positive to the north, longitudes to the east. They are the outer edges.
  double nwLatitude, nwLongitude;
  double swLatitude, swLongitude;
  double neLatitude, neLongitude;
  double seLatitude, seLongitude;
  double verticalResolution;    ///< of a pixel, in metres
  double horizontalResolution;  ///< of a pixel, in metres
  double verticalInterval;      ///< of a pixel, in degrees of latitude
  double horizontalInterval;    ///< of a pixel, in degrees of longitude
  /// The grid of frames. Rows are counted by `tagFrameFileIndexRecordRPF::frameRow` and columns by `frameColumn`. A
  /// place of the grid may have no frame.
  std::int32_t numFramesNorthSouth;
  std::int32_t numFramesEastWest;
};
