#pragma once

#include "XExport.h"

class XRSFile;
class ZRMBand;

/// The way from pixels to the ground and back for an image that no affine transform places, because the sensor moves
/// and the ground rises. A band whose format has such a model also derives from this class; `XfnFindSensorModel` finds
/// it.
///
/// Positions are columns and rows with fractions, whole numbers being the centres of pixels. Places are longitude and
/// latitude in degrees on WGS 84, heights in metres above its ellipsoid. Arrays belong to the caller and hold `count`
/// numbers each. A place without an answer becomes NaN in all its outputs. That is a ray that misses the earth, a place
/// that the sensor did not see, and in the exact policy a place where the terrain has no height. Each call answers how
/// many of `count` have an answer.
///
/// Nothing is allocated for a point. Any number of threads may ask at once, but the terrain is set before they do.
class ZRKIO_API XSensorModel {
 public:
  virtual ~XSensorModel();

  /// The ground under positions in the image, and its height.
  virtual int LocatePixels(const double* x, const double* y, int count, double* lon, double* lat,
                           double* height) const = 0;
  /// The positions in the image at which places in space are seen, also those hidden behind terrain. Positions that lie
  /// more than a pixel outside the image have no answer.
  virtual int FindPixels(const double* lon, const double* lat, const double* height, int count, double* x,
                         double* y) const = 0;
  /// The heights of the ground: terrain and geoid together, and 0.0 without terrain.
  virtual int FindHeights(const double* lon, const double* lat, int count, double* height) const = 0;

  /// Sets the terrain: the first band of a dataset, with heights in metres over longitude and latitude, above the geoid
  /// if one is set and otherwise above the ellipsoid. The model owns the dataset from now on, also after a 0; the
  /// dataset has to come from `new`. Null removes the terrain. Returns 1, or 0 if the dataset can't serve; the old
  /// terrain then stays.
  virtual int SetDemFile(XRSFile* demFile) = 0;
  /// The same for the geoid: its heights above the ellipsoid, in centimetres.
  virtual int SetGeoidFile(XRSFile* geoidFile) = 0;
};

/// The sensor model of a band, which lives as long as it; null for null and for a band without one.
ZRKIO_API XSensorModel* XfnFindSensorModel(ZRMBand* band);
