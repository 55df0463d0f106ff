#pragma once

#include "Window.h"
#include "ZRMBand.h"

#include <array>
#include <vector>

/// How far the pixels of a picture lie apart on the ground.
struct GroundSteps {
  double x = 1.0;  ///< east of a pixel to its right neighbour, in metres or in degrees
  double y = 1.0;  ///< north of a pixel to its upper neighbour
  bool areDegrees = false;
  double topLatitude = 0.0;  ///< of the middle of the first row, where steps are degrees
  double xDown = 0.0;        ///< east of a pixel to its lower neighbour, where the image is turned
  double yAcross = 0.0;      ///< north of a pixel to its right neighbour
};

/// The steps of a picture of so many pixels of a window of the band. They are degrees where the band's system is
/// geographic, and for an elevation cell, which may have a datum that no system is known for.
GroundSteps FindGroundSteps(const ZRMBand& band, const Window& window, int width, int height);

/// Metres in a degree of longitude and of latitude on the ellipsoid of WGS 84.
struct MetresPerDegree {
  double longitude;
  double latitude;
};
/// By the radii of curvature as J. P. Snyder has them in Map Projections: A Working Manual, U.S. Geological Survey
/// Professional Paper 1395, 1987, in the chapter on the characteristics of projections. Near the poles, where a degree
/// of longitude has no length, those of 89.9 degrees.
MetresPerDegree FindMetresPerDegree(double latitude);

/// The light on ground that rises by so much to the east and to the north, from the north-west and 45 degrees above the
/// horizon: the cosine between the normal and the way to the light. 1 is darkest and 255 the brightest, and level
/// ground is 181.
unsigned char ShadeSlope(double eastward, double northward);

/// Shades heights, row by row from the top, by `ShadeSlope`. The slope is that of B. K. P. Horn, Hill Shading and the
/// Reflectance Map, Proceedings of the IEEE 69 (1), 1981: differences over three by three pixels, those of the middle
/// row and column counted twice.
///
/// Beyond its edges the ground goes on as it comes there. A height that is not a number is black, and level with each
/// of its neighbours.
class Hillshade {
 public:
  /// Heights times `zFactor` are in metres, or in the unit of the steps where these are not degrees.
  Hillshade(int width, int height, const GroundSteps& steps, double zFactor);

  /// Takes the next row of heights and appends the rows of pixels that are whole with it: none, one, or with the last
  /// row two.
  void Add(const std::vector<double>& heights, std::vector<unsigned char>& pixels);

 private:
  using Line = std::vector<double>;

  Line Extend(const std::vector<double>& heights) const;
  static Line Beyond(const Line& edge, const Line& inner);
  void ShadeMiddle(std::vector<unsigned char>& pixels);
  unsigned char ShadeAt(std::size_t x, const GroundSteps& metres) const;

  int width_;
  int height_;
  GroundSteps steps_;
  double zFactor_;
  std::array<Line, 3> lines_;  // above, middle and below, each a pixel longer either way
  int numTaken_ = 0;
  int numShaded_ = 0;
};
