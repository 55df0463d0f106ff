#pragma once

#include <cstddef>

namespace zrk {

/// The bytes of a large page, on the usual kinds of processor.
inline constexpr std::size_t kLargePage = std::size_t{1} << 21;

/// Asks the system to back memory that is about to be filled by large pages, where it has some: handing out small ones
/// takes longer than filling them. Only whole large pages within the range are asked for, so that no more memory is
/// used. A range without a whole large page is left alone. The system may ignore the request.
void PreferLargePages(void* bytes, std::size_t count);

}  // namespace zrk
