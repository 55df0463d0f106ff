#pragma once

#include "XExport.h"

#include <memory>

class XSpatialReference;

/// Takes places from one coordinate reference system to another. Coordinates are x (longitude, easting) before y in
/// both, geographic ones in degrees. The object keeps copies of the systems, so that theirs may change or go. One
/// object may be used from several threads at once, which then wait for each other. Nothing is fetched from a network,
/// and nothing is thrown.
class ZRKIO_API XCoordinateTransformation {
 public:
  ~XCoordinateTransformation();
  XCoordinateTransformation(const XCoordinateTransformation&) = delete;
  XCoordinateTransformation& operator=(const XCoordinateTransformation&) = delete;

  /// Replaces a place by the same place in the other system; 1. A place that has no finite coordinates there gives 0,
  /// and both numbers stay as they were.
  int TransformPt(double& x, double& y) const;

 private:
  friend ZRKIO_API std::unique_ptr<XCoordinateTransformation> XfnCreateCoordTrans(const XSpatialReference& from,
                                                                                  const XSpatialReference& to);
  class Impl;
  explicit XCoordinateTransformation(std::unique_ptr<Impl> impl);

  std::unique_ptr<Impl> impl_;
};

/// The transformation from one system to another, which belongs to the caller. Returns null for an empty system, and
/// for two systems between which no way is known. Making one takes much longer than using it: keep it for many places.
ZRKIO_API std::unique_ptr<XCoordinateTransformation> XfnCreateCoordTrans(const XSpatialReference& from,
                                                                         const XSpatialReference& to);
