#pragma once

#include "XCoordinateTransformation.h"
#include "XRSFile.h"
#include "XThread.h"

#include <memory>
#include <string>
#include <vector>

/// What a simulated flight sees on the ground, in shades of grey.
class GroundTexture {
 public:
  virtual ~GroundTexture() = default;

  /// The shades of `count` places near to each other, in degrees. Places that the texture does not have are 0, and so
  /// are those that are not a number. False with the reason in `err`.
  virtual bool Shade(const double* lon, const double* lat, int count, unsigned char* shades, XThread& thread,
                     std::string& err) = 0;
};

/// Spots of many sizes with roads between them, about a target. Its finest spots are some `pixel` metres long.
std::unique_ptr<GroundTexture> MakeFormulaTexture(double lon, double lat, double pixel);

/// The first channel of an image that has a place. Samples of other types than bytes are stretched between the least
/// and the greatest of the image. Returns null with the reason in `err`.
std::unique_ptr<GroundTexture> OpenImageTexture(const std::string& path, XThread& thread, std::string& err);
