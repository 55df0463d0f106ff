// The planes of a frame take 7 MB. A system that gives them fresh to each run spends more time on that than the run
// spends on its input. So large blocks of aligned memory, which is where pixels lie, are kept for the next run.
//
// A block that is kept is poisoned, so that a use after the end of its life is still seen. A step beyond a block is
// seen as ever.

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <mutex>
#include <new>

namespace {

constexpr std::size_t kLargeBytes = 1 << 20;
constexpr std::size_t kMaxKeptBytes = 64 << 20;

class LargeBlocks {
 public:
  void* Take(std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    const auto hit = kept_.find(bytes);
    if (hit == kept_.end()) return nullptr;
    void* block = hit->second;
    kept_.erase(hit);
    keptBytes_ -= bytes;
    ASAN_UNPOISON_MEMORY_REGION(block, bytes);
    used_[block] = bytes;
    return block;
  }
  void Use(void* block, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    used_[block] = bytes;
  }
  /// Whether the block is kept, and must not be freed.
  bool Keep(void* block) {
    const std::lock_guard lock(mutex_);
    const auto hit = used_.find(block);
    if (hit == used_.end()) return false;
    const std::size_t bytes = hit->second;
    used_.erase(hit);
    if (keptBytes_ + bytes > kMaxKeptBytes) return false;
    ASAN_POISON_MEMORY_REGION(block, bytes);
    kept_.emplace(bytes, block);
    keptBytes_ += bytes;
    return true;
  }

 private:
  std::mutex mutex_;
  std::map<void*, std::size_t> used_;
  std::multimap<std::size_t, void*> kept_;
  std::size_t keptBytes_ = 0;
};

LargeBlocks& Blocks() {
  static auto* const blocks = new LargeBlocks;
  return *blocks;
}

void* Allocate(std::size_t bytes, std::align_val_t alignment) {
  const bool isLarge = bytes >= kLargeBytes && static_cast<std::size_t>(alignment) <= 64;
  void* block = isLarge ? Blocks().Take(bytes) : nullptr;
  if (block) return block;
  if (posix_memalign(&block, std::max<std::size_t>(static_cast<std::size_t>(alignment), 64), bytes) != 0)
    return nullptr;
  if (isLarge) Blocks().Use(block, bytes);
  return block;
}

void Free(void* block) {
  if (block && !Blocks().Keep(block)) std::free(block);
}

}  // namespace

void* operator new(std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return Allocate(bytes, alignment);
}

void* operator new(std::size_t bytes, std::align_val_t alignment) {
  if (void* block = Allocate(bytes, alignment)) return block;
  throw std::bad_alloc();
}

void operator delete(void* block, std::align_val_t) noexcept {
  Free(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
  Free(block);
}

void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  Free(block);
}
