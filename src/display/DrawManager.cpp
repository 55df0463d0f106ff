#include "display/DrawManager.h"

#include "XThread.h"

namespace zrk {

/// A composite that fails does not hide the others: callers decide whether a picture without it will do.
int DrawManager(const ZRMCompManager& manager, XBackBuffer& buffer, const Extent& extent, int method, int* cancel) {
  ZRMComposite* first = nullptr;
  int result = kDrawNothing;
  for (int i = manager.GetNumberOfZRMComposite() - 1; i >= 0 && !XfnIsStopRequested(cancel); --i) {
    ZRMComposite* const composite = manager.GetZRMCompositeAt(i);
    const int drawn =
        composite->Draw(&buffer, extent.minX, extent.minY, extent.maxX, extent.maxY, method, first, cancel);
    if (drawn == kDrawDone && !first) first = composite;
    if (drawn == kDrawFailed || (drawn == kDrawDone && result == kDrawNothing)) result = drawn;
  }
  return result;
}

}  // namespace zrk
