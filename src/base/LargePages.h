#pragma once

#include <cstddef>

namespace zrk {

/// Asks the system to back memory that is about to be filled by large pages, where it has some: handing out small ones
/// takes longer than filling them. Only the whole large pages within the range are meant, so that no more memory is
/// used; a range that has none is left alone, as is one that the system knows better about.
void PreferLargePages(void* bytes, std::size_t count);

}  // namespace zrk
