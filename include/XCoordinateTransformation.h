#pragma once

#include "XExport.h"

#include <memory>

class XSpatialReference;

/// Takes places from one coordinate reference system to another. Coordinates are x (longitude, easting) before y in
/// both, geographic ones in degrees. One object may be used from several threads at once.
class ZRKIO_API XCoordinateTransformation {
 public:
  ~XCoordinateTransformation();
  XCoordinateTransformation(const XCoordinateTransformation&) = delete;
  XCoordinateTransformation& operator=(const XCoordinateTransformation&) = delete;

  /// Replaces a place by the same place in the other system. 1, or 0 with both as they were where there is none.
  int TransformPt(double& x, double& y) const;

 private:
  friend ZRKIO_API std::unique_ptr<XCoordinateTransformation> XfnCreateCoordTrans(const XSpatialReference& from,
                                                                                  const XSpatialReference& to);
  class Impl;
  explicit XCoordinateTransformation(std::unique_ptr<Impl> impl);

  std::unique_ptr<Impl> impl_;
};

/// The transformation from one system to another; null where either is empty or nothing is known that leads across.
ZRKIO_API std::unique_ptr<XCoordinateTransformation> XfnCreateCoordTrans(const XSpatialReference& from,
                                                                         const XSpatialReference& to);
