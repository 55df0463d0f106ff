// A buffer that is taken and given back for each image would have the system hand out, clear and take back its pages
// each time, which can take longer than reading the image. Whether the allocator keeps such memory depends on what
// happens to lie behind it. So large buffers don't go through the allocator.
//
// A block begins within a page and not at its edge. The system copies bytes to a file at a tenth of its speed where
// their place in the file lies up to 15 bytes further behind the edge of a page than they do in memory. The samples of
// most files begin shortly after their start.
//
// A block of a large page and more that is given back is marked as free to take. Its pages, and what is in them, stay
// until the system needs them. It then takes them without writing them anywhere. Shorter blocks are kept without the
// mark, 32 MB of them at most.
//
// No thread waits for another. Whoever finds the kept blocks in use does without them. So does the child of a process
// that was forked just then, which would wait forever.

#include "base/LargeBlocks.h"

#include "base/LargePages.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>
#include <span>
#include <type_traits>
#include <utility>

namespace zrk {
namespace {

constexpr std::size_t kPages = std::size_t{64} << 10;  // whole pages, of whatever size a kind of processor has them
constexpr std::size_t kStart = 2048 + 64;              // of a block, from the edge of a page
constexpr std::size_t kLeastAsked = std::size_t{1} << 20;
constexpr std::size_t kMostAsked = PTRDIFF_MAX - 2 * kLargePage;
constexpr std::size_t kMostKept = std::size_t{64} << 20;
constexpr std::size_t kMostBlocks = 16;

#if defined(__has_feature)
#define ZRK_HAS_FEATURE(name) __has_feature(name)
#else
#define ZRK_HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || ZRK_HAS_FEATURE(address_sanitizer)
constexpr bool kIsAddressChecked = true;
#else
constexpr bool kIsAddressChecked = false;
#endif

void Unmap(unsigned char* begin, const unsigned char* end) {
  if (begin < end) munmap(begin, static_cast<std::size_t>(end - begin));
}

void Unmap(const LargeBlock& block) {
  if (block.bytes) Unmap(block.bytes - kStart, block.bytes + block.count);
}

/// More is asked for than is needed where a large page fits, and what lies outside of the aligned pages goes back.
LargeBlock Map(std::size_t pages) {
  const std::size_t spare = pages < kLargePage ? 0 : kLargePage;
  void* const mapped = mmap(nullptr, pages + spare, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return {};
  auto* const begin = static_cast<unsigned char*>(mapped);
  const std::size_t behindEdge = reinterpret_cast<std::uintptr_t>(begin) % kLargePage;
  unsigned char* const aligned = spare > 0 && behindEdge > 0 ? begin + (kLargePage - behindEdge) : begin;
  Unmap(begin, aligned);
  Unmap(aligned + pages, begin + pages + spare);
  PreferLargePages(aligned, pages);
  return {aligned + kStart, pages - kStart};
}

/// The blocks that are kept, the oldest first.
class SpareBlocks {
 public:
  using Blocks = std::array<LargeBlock, kMostBlocks>;

  /// The smallest block that is large enough, unless more than an eighth of it would lie idle.
  LargeBlock Take(std::size_t count) {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) return {};
    LargeBlock* best = nullptr;
    for (LargeBlock& block : Kept()) {
      if (block.count < count || block.count - count > block.count / 8) continue;
      if (!best || block.count < best->count) best = &block;
    }
    return best ? Remove(*best) : LargeBlock();
  }

  /// Keeps a block. The oldest ones are handed out for which there is no room then.
  Blocks Keep(const LargeBlock& block) {
    Blocks out;
    std::size_t numOut = 0;
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) {
      out[0] = block;
      return out;
    }
    while (numBlocks_ == kMostBlocks || numKept_ + block.count > kMostKept) out[numOut++] = Remove(blocks_.front());
    blocks_[numBlocks_++] = block;
    numKept_ += block.count;
    return out;
  }

  Blocks TakeAll() {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) return {};
    numBlocks_ = 0;
    numKept_ = 0;
    return std::exchange(blocks_, Blocks());
  }

 private:
  std::span<LargeBlock> Kept() { return std::span(blocks_).first(numBlocks_); }

  LargeBlock Remove(LargeBlock& block) {
    const LargeBlock removed = block;
    std::move(&block + 1, blocks_.data() + numBlocks_, &block);
    blocks_[--numBlocks_] = LargeBlock();
    numKept_ -= removed.count;
    return removed;
  }

  std::mutex mutex_;
  Blocks blocks_;
  std::size_t numBlocks_ = 0;
  std::size_t numKept_ = 0;  // in bytes
};

/// Never destroyed: buffers may go as late as the process ends.
constinit SpareBlocks spareBlocks;
static_assert(std::is_trivially_destructible_v<SpareBlocks>);

}  // namespace

bool IsLargeBlock(std::size_t bytes) {
  return !kIsAddressChecked && bytes >= kLeastAsked;
}

/// Blocks that are kept give their room in the process's range of addresses up before memory has run out.
LargeBlock TakeLargeBlock(std::size_t bytes) {
  if (bytes > kMostAsked) return {};
  LargeBlock block = spareBlocks.Take(bytes);
  const std::size_t pages = (kStart + bytes + kPages - 1) / kPages * kPages;
  if (!block.bytes) block = Map(pages);
  if (block.bytes) return block;
  for (const LargeBlock& spare : spareBlocks.TakeAll()) Unmap(spare);
  return Map(pages);
}

void GiveLargeBlockBack(const LargeBlock& block) {
  if (block.count > kMostKept) return Unmap(block);
  // Small pages cost time to give up and again to use. What is too short for a large page is kept without.
  if (kStart + block.count >= kLargePage) {
    static_cast<void>(madvise(block.bytes - kStart, kStart + block.count, MADV_FREE));
  }
  for (const LargeBlock& old : spareBlocks.Keep(block)) Unmap(old);
}

}  // namespace zrk
