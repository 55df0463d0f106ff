#include "tiles/txid/TxidPlanes.h"

#include "base/LargePages.h"
#include "base/ReadError.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>

namespace zrk {
namespace {

constexpr std::size_t kLargePage = std::size_t{1} << 21;
/// What planes begin at, as buffers of their own would.
constexpr std::size_t kAlignment = 64;

constexpr std::size_t RoundUp(std::size_t number, std::size_t step) {
  return (number + step - 1) / step * step;
}

}  // namespace

/// Memory that has room for a large page begins with one. What is left out before it is never touched.
unsigned char* TxidPlanes::Reserve(std::size_t bytes) {
  const std::size_t spare = bytes >= kLargePage ? kLargePage : 0;
  const unsigned char* const before = storage_.Get();
  if (!storage_.Reserve(bytes + spare)) return nullptr;
  const auto at = reinterpret_cast<std::uintptr_t>(storage_.Get());
  unsigned char* const begin = storage_.Get() + (spare > 0 ? RoundUp(at, kLargePage) - at : 0);
  if (storage_.Get() != before) PreferLargePages(begin, bytes);
  return begin;
}

bool TxidPlanes::Alloc(int width, int height) {
  if (HasSize(width, height)) return true;
  Free();
  const std::int64_t pixels = std::int64_t{width} * height;
  if (width <= 0 || height <= 0 || pixels > INT_MAX) return FailRead(kReadNoMemory) != 0;
  const std::size_t planeBytes = RoundUp(static_cast<std::size_t>(pixels), kAlignment);
  unsigned char* data = Reserve(kNumPlanes * planeBytes);
  if (!data) return FailRead(kReadNoMemory) != 0;
  try {
    offsets_.resize(static_cast<std::size_t>(width) + static_cast<std::size_t>(height));
  } catch (const std::bad_alloc&) {
    return FailRead(kReadNoMemory) != 0;
  }
  int* const columns = offsets_.data() + height;
  for (int y = 0; y < height; ++y) offsets_[static_cast<std::size_t>(y)] = y * width;
  for (int x = 0; x < width; ++x) columns[x] = x;
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
