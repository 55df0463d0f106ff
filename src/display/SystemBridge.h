#pragma once

#include "XCoordinateTransformation.h"

#include <memory>

class XSpatialReference;

namespace zrk {

/// The way from the world of one system to that of another.
struct SystemBridge {
  bool isPossible = true;
  std::unique_ptr<XCoordinateTransformation> transformation;  ///< null where both worlds are the same

  /// Two worlds are the same where the systems are, and where either is unknown.
  static std::shared_ptr<const SystemBridge> Make(const XSpatialReference& from, const XSpatialReference& to);
  /// Takes a place over; false where it has no coordinates there.
  bool Take(double& x, double& y) const { return !transformation || transformation->TransformPt(x, y) != 0; }
};

}  // namespace zrk
