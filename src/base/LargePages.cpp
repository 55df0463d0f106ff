#include "base/LargePages.h"

#include <sys/mman.h>
#include <cstdint>

namespace zrk {

void PreferLargePages(void* bytes, std::size_t count) {
  // Only pages that lie wholly in the range are asked for: the bytes beside it belong to somebody else.
  const auto begin = reinterpret_cast<std::uintptr_t>(bytes);
  const std::uintptr_t first = (begin + kLargePage - 1) / kLargePage * kLargePage;
  const std::uintptr_t last = (begin + count) / kLargePage * kLargePage;
  if (first >= last) return;
  // It is a hint. A system without large pages refuses it, and all goes on as before.
  static_cast<void>(madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE));
}

}  // namespace zrk
