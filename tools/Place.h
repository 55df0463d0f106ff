#pragma once

#include "XCoordinateTransformation.h"

#include <array>
#include <memory>
#include <string>

class ZRMBand;

/// Where the pixels of a band lie in the world, with rotation and rows that go north. Positions are columns and rows
/// with fractions: (0, 0) is the outer corner of the first pixel, and the whole parts are the pixel.
class Place {
 public:
  explicit Place(const ZRMBand& band);

  std::array<double, 2> ToWorld(double column, double row) const;
  /// The reverse. What is not finite comes out where pixels have no extent.
  std::array<double, 2> ToPixel(double x, double y) const;

  /// Whether pixels have an extent, so that every place in the world has its position.
  bool HasExtent() const;
  /// Whether columns or rows run across the axes of the world.
  bool IsTurned() const;
  /// The lengths of a pixel's edges. Where nothing is turned the first is negative for columns that go west, and the
  /// second for rows that go north.
  std::array<double, 2> GetPixelSize() const;
  /// As `ZRMBand::GetGeoTransform` has it.
  const std::array<double, 6>& GetTransform() const { return transform_; }

 private:
  double GetDeterminant() const;

  std::array<double, 6> transform_{};
};

/// The way from longitude and latitude on WGS 84 to the system of the band. Returns null where the system is not known,
/// or no way leads there.
std::unique_ptr<XCoordinateTransformation> FindWayFromLonLat(const ZRMBand& band);
