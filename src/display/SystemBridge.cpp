#include "display/SystemBridge.h"

#include "XSpatialReference.h"

namespace zrk {

/// Images without a system are drawn by their own coordinates. Refusing them would leave nothing to show of pictures
/// that were never placed.
std::shared_ptr<const SystemBridge> SystemBridge::Make(const XSpatialReference& from, const XSpatialReference& to) {
  auto bridge = std::make_shared<SystemBridge>();
  if (from.IsEmpty() || to.IsEmpty() || from.IsSame(to)) return bridge;
  bridge->transformation = XfnCreateCoordTrans(from, to);
  bridge->isPossible = bridge->transformation != nullptr;
  return bridge;
}

/// Edges bend, and a pole may lie within. So places all over the extent are taken, in a grid that has its edges.
Extent SystemBridge::TakeExtent(const Extent& extent) const {
  if (!transformation) return extent;
  constexpr int kSteps = 32;
  Extent taken;
  for (int j = 0; j <= kSteps; ++j) {
    for (int i = 0; i <= kSteps; ++i) {
      double x = extent.minX + (extent.maxX - extent.minX) * i / kSteps;
      double y = extent.minY + (extent.maxY - extent.minY) * j / kSteps;
      if (Take(x, y)) taken.GrowTo(x, y);
    }
  }
  return taken;
}

}  // namespace zrk
