#include "base/PixelStorage.h"

#include <cstdint>
#include <limits>
#include <new>
#include <utility>

namespace zrk {

namespace {

/// A cache line, and as much as any vector instruction asks for.
constexpr std::size_t kAlignment = 64;

}  // namespace

void PixelStorage::Release::operator()(unsigned char* taken) const {
  ::operator delete(taken);
}

/// The new memory is taken before the old goes, so that a request that fails changes nothing. Samples are not carried
/// over, since the contents are undefined after a request. A few bytes more than asked leave room for the alignment:
/// allocators that are asked for an alignment cut pieces in three, and many small blocks then cost more than decoding.
bool PixelStorage::Reserve(std::size_t bytes) {
  if (taken_ && bytes <= capacity_) return true;
  if (bytes > std::numeric_limits<std::size_t>::max() - kAlignment) return false;
  std::unique_ptr<unsigned char, Release> fresh(
      static_cast<unsigned char*>(::operator new(bytes + kAlignment - 1, std::nothrow)));
  if (!fresh) return false;
  taken_ = std::move(fresh);
  capacity_ = bytes;
  return true;
}

unsigned char* PixelStorage::Get() const {
  const auto place = reinterpret_cast<std::uintptr_t>(taken_.get());
  return taken_.get() + (kAlignment - place % kAlignment) % kAlignment;
}

void PixelStorage::Free() {
  taken_.reset();
  capacity_ = 0;
}

}  // namespace zrk
