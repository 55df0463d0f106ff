#include "tiles/txid/TxidPlanes.h"

#include "base/ReadError.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>

namespace zrk {
namespace {

/// What planes begin at, as buffers of their own would.
constexpr std::size_t kAlignment = 64;

constexpr std::size_t RoundUp(std::size_t number, std::size_t step) {
  return (number + step - 1) / step * step;
}

}  // namespace

bool TxidPlanes::Alloc(int width, int height) {
  if (HasSize(width, height)) return true;
  Free();
  const std::int64_t pixels = std::int64_t{width} * height;
  if (width <= 0 || height <= 0 || pixels > INT_MAX) return FailRead(kReadNoMemory) != 0;
  const std::size_t planeBytes = RoundUp(static_cast<std::size_t>(pixels), kAlignment);
  if (!storage_.Reserve(kNumPlanes * planeBytes)) return FailRead(kReadNoMemory) != 0;
  try {
    offsets_.resize(static_cast<std::size_t>(width) + static_cast<std::size_t>(height));
  } catch (const std::bad_alloc&) {
    return FailRead(kReadNoMemory) != 0;
  }
  int* const columns = offsets_.data() + height;
  for (int y = 0; y < height; ++y) offsets_[static_cast<std::size_t>(y)] = y * width;
  for (int x = 0; x < width; ++x) columns[x] = x;
  unsigned char* data = storage_.Get();
  for (tagXArr2& plane : planes_) {
    plane.data = data;
    plane.xSize = width;
    plane.ySize = height;
    plane.elementSize = 1;
    plane.rowOffsets = offsets_.data();
    plane.colOffsets = columns;
    plane.isLent = true;
    data += planeBytes;
  }
  return true;
}

void TxidPlanes::Free() {
  for (tagXArr2& plane : planes_) plane.Free();
}

bool TxidPlanes::HasData() const {
  return std::ranges::all_of(planes_, [](const tagXArr2& plane) { return plane.data != nullptr; });
}

bool TxidPlanes::HasSize(int width, int height) const {
  return std::ranges::all_of(
      planes_, [=](const tagXArr2& plane) { return plane.data && plane.xSize == width && plane.ySize == height; });
}

}  // namespace zrk
