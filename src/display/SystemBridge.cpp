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

}  // namespace zrk
