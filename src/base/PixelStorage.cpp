#include "base/PixelStorage.h"

#include "base/LargeBlocks.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

namespace zrk {

namespace {

/// A cache line, and as much as any vector instruction asks for.
constexpr std::size_t kAlignment = 64;

}  // namespace

void PixelRelease::operator()(unsigned char* taken) const {
  if (blockBytes > 0) {
    GiveLargeBlockBack({taken, blockBytes});
  } else {
    ::operator delete(taken);
  }
}

/// A few bytes more than asked leave room for the alignment: allocators that are asked for an alignment cut pieces in
/// three, and many small blocks then cost more than decoding. The system limits how many pieces of memory a process
/// has, and the allocator may still have room where it refuses a large block.
PixelStorage::Taken PixelStorage::Take(std::size_t bytes) {
  const LargeBlock block = IsLargeBlock(bytes) ? TakeLargeBlock(bytes) : LargeBlock();
  if (block.bytes) return Taken(block.bytes, PixelRelease{block.count});
  return Taken(static_cast<unsigned char*>(::operator new(bytes + kAlignment - 1, std::nothrow)));
}

/// The new memory is taken before the old goes, so that a request that fails changes nothing. Samples are not carried
/// over, since the contents are undefined after a request.
bool PixelStorage::Reserve(std::size_t bytes) {
  if (taken_ && bytes <= capacity_) return true;
  if (bytes > std::numeric_limits<std::size_t>::max() - kAlignment) return false;
  Taken fresh = Take(bytes);
  if (!fresh) return false;
  taken_ = std::move(fresh);
  capacity_ = std::max(bytes, taken_.get_deleter().blockBytes);
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
