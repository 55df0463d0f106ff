#pragma once

#include "base/Window.h"
#include "tagXArr2.h"

#include <span>
#include <vector>

class ZRMBand;

namespace zrk {

/// The samples of bands that are drawn one after the other, read together where they lie together in a file. They serve
/// as long as every band asks for the same window and nothing else is read. For one thread.
class JointSamples {
 public:
  /// Bands are about to be drawn in this order. What was read before is given up.
  void Begin(std::span<ZRMBand* const> bands);
  void Forget();
  /// The samples of a window of a band at full resolution. The first band has all of them read. Returns null where the
  /// band has to be read by itself.
  tagXArr2* Find(const ZRMBand& band, const Window& window, int* cancel);

 private:
  bool ReadAll(const Window& window, int* cancel);

  std::vector<ZRMBand*> bands_;     // none where they have nothing in common
  std::vector<tagXArr2*> samples_;  // of each, once they are read
  Window window_{0, -1, 0, -1};
};

}  // namespace zrk
