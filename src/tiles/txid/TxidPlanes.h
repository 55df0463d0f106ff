#pragma once

#include "base/PixelStorage.h"
#include "tagXArr2.h"
#include "tiles/txid/BlockPlanes.h"

#include <array>
#include <cstddef>
#include <vector>

namespace zrk {

/// Red, green, blue and alpha of a window, as buffers that are handed out. All planes lie in one piece of memory, so
/// that the system can give it in large pages. With small pages a thread's first window would wait for its memory
/// longer than for its samples.
class TxidPlanes {
 public:
  /// Gives all planes a size; their contents are undefined. False, with the reason noted, where there is no memory or a
  /// plane would exceed `INT_MAX` bytes; the planes are then empty.
  bool Alloc(int width, int height);
  /// Gives up the planes. Their memory stays for the next ones.
  void Free();

  bool HasData() const;
  bool HasSize(int width, int height) const;
  tagXArr2& operator[](std::size_t plane) { return planes_[plane]; }
  const tagXArr2& operator[](std::size_t plane) const { return planes_[plane]; }
  auto begin() { return planes_.begin(); }
  auto end() { return planes_.end(); }

 private:
  std::array<tagXArr2, kNumPlanes> planes_;  // without memory of their own
  PixelStorage storage_;
  std::vector<int> offsets_;  // of the rows and columns of each plane
};

}  // namespace zrk
