// The three buffer records. Their offsets are ints, so a buffer is refused beyond INT_MAX bytes.

#include "base/Checked.h"
#include "base/PixelStorage.h"
#include "tagXArr1.h"
#include "tagXArr2.h"
#include "tagXArr3.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace {

/// Bytes of a buffer of that shape, or nothing where it can't be one.
std::optional<std::size_t> BufferBytes(int width, int height, int sampleBytes) {
  if (width <= 0 || height <= 0 || sampleBytes <= 0) return std::nullopt;
  const std::optional<std::int64_t> samples = zrk::CheckedMultiply(width, height);
  const std::optional<std::int64_t> bytes = samples ? zrk::CheckedMultiply(*samples, sampleBytes) : std::nullopt;
  if (!bytes || *bytes > INT_MAX) return std::nullopt;
  return static_cast<std::size_t>(*bytes);
}

}  // namespace

// What a record hides is made with its first buffer and kept until `Free`.

struct tagXArr1::Impl {
  zrk::PixelStorage storage;
};

tagXArr1::tagXArr1() = default;
tagXArr1::~tagXArr1() = default;

tagXArr1::tagXArr1(int count, int sampleBytes) {
  Alloc(count, sampleBytes);
}

tagXArr1::tagXArr1(tagXArr1&& other) noexcept {
  *this = std::move(other);
}

tagXArr1& tagXArr1::operator=(tagXArr1&& other) noexcept {
  if (this == &other) return *this;
  impl_ = std::move(other.impl_);
  data = std::exchange(other.data, nullptr);
  size = std::exchange(other.size, 0);
  elementSize = std::exchange(other.elementSize, 0);
  return *this;
}

int tagXArr1::Alloc(int count, int sampleBytes) {
  const std::optional<std::size_t> bytes = BufferBytes(count, 1, sampleBytes);
  if (!bytes) return 0;
  if (!impl_) impl_.reset(new (std::nothrow) Impl);
  if (!impl_ || !impl_->storage.Reserve(*bytes)) return 0;
  data = impl_->storage.Get();
  size = count;
  elementSize = sampleBytes;
  return 1;
}

void tagXArr1::Free() {
  *this = tagXArr1();
}

struct tagXArr2::Impl {
  zrk::PixelStorage storage;
  std::vector<int> offsets;
};

tagXArr2::tagXArr2() = default;
tagXArr2::~tagXArr2() = default;

tagXArr2::tagXArr2(int width, int height, int sampleBytes) {
  Alloc(width, height, sampleBytes);
}

tagXArr2::tagXArr2(tagXArr2&& other) noexcept {
  *this = std::move(other);
}

tagXArr2& tagXArr2::operator=(tagXArr2&& other) noexcept {
  if (this == &other) return *this;
  impl_ = std::move(other.impl_);
  data = std::exchange(other.data, nullptr);
  xSize = std::exchange(other.xSize, 0);
  ySize = std::exchange(other.ySize, 0);
  elementSize = std::exchange(other.elementSize, 0);
  rowOffsets = std::exchange(other.rowOffsets, nullptr);
  colOffsets = std::exchange(other.colOffsets, nullptr);
  isLent = std::exchange(other.isLent, false);
  return *this;
}

int tagXArr2::Alloc(int width, int height, int sampleBytes) {
  if (data && width == xSize && height == ySize && sampleBytes == elementSize) return 1;
  const std::optional<std::size_t> bytes = BufferBytes(width, height, sampleBytes);
  if (!bytes) return 0;
  std::vector<int> offsets;
  try {
    offsets.resize(static_cast<std::size_t>(width) + static_cast<std::size_t>(height));
  } catch (const std::bad_alloc&) {
    return 0;
  }
  if (!impl_) impl_.reset(new (std::nothrow) Impl);
  if (!impl_ || !impl_->storage.Reserve(*bytes)) return 0;

  impl_->offsets = std::move(offsets);
  data = impl_->storage.Get();
  xSize = width;
  ySize = height;
  elementSize = sampleBytes;
  rowOffsets = impl_->offsets.data();
  colOffsets = rowOffsets + height;
  for (int y = 0; y < height; ++y) rowOffsets[y] = y * width * sampleBytes;
  for (int x = 0; x < width; ++x) colOffsets[x] = x * sampleBytes;
  return 1;
}

void tagXArr2::Free() {
  *this = tagXArr2();
}

tagXArr3::tagXArr3() = default;

tagXArr3::tagXArr3(int width, int height, int sampleBytes) {
  Alloc(width, height, sampleBytes);
}

int tagXArr3::Alloc(int width, int height, int sampleBytes) {
  const tagXArr2& first = planes[0];
  if (first.data && first.xSize == width && first.ySize == height && first.elementSize == sampleBytes) return 1;
  tagXArr2 fresh[3];
  for (tagXArr2& plane : fresh) {
    if (!plane.Alloc(width, height, sampleBytes)) return 0;
  }
  std::move(std::begin(fresh), std::end(fresh), std::begin(planes));
  return 1;
}

void tagXArr3::Free() {
  for (tagXArr2& plane : planes) plane.Free();
}
