#pragma once

#include "bands/hawk/HawkGround.h"

namespace zrk {

/// The sensor over its ground, in one policy: pixels to places and back. One thread makes it for its own use, and the
/// sensor and the terrain have to outlive it. Functions answer null, or the sentence that tells why they failed. A
/// search for a pixel begins where the one before ended, if that can't change what is found.
class HawkModel {
 public:
  HawkModel(const HawkSensor& sensor, const HawkTerrain& terrain, bool isExact, int lines, int samples)
      : sensor_(sensor), ground_(terrain), isExact_(isExact), lines_(lines), samples_(samples) {}

  using Place = HawkGround::Place;

  const char* FindGround(double column, double line, Place& place) const;
  const char* FindPixel(double lon, double lat, double& column, double& line);
  const char* FindPixelAt(const Place& place, double& column, double& line);
  const char* FindHeight(double lon, double lat, double& height) const;
  /// The same for many places. An unknown height becomes NaN.
  void FindHeights(const double* lon, const double* lat, int count, double* heights) const;
  /// What `ConvWarpPixelToWorldCoord` does in the compatible policy.
  void Warp(double& x, double& y) const;

 private:
  bool IsInside(double column, double line) const;
  const char* FindPixelWithin(double margin, const Place& place, double& column, double& line);

  const HawkSensor& sensor_;
  HawkGround ground_;
  HawkSensor::Trace trace_;
  bool isExact_;
  int lines_;
  int samples_;
};

}  // namespace zrk
