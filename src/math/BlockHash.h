#pragma once

#include <cstdint>

namespace zrk {

/// How many bytes `HashBlock` takes.
inline constexpr std::int64_t kHashBlock = 4096;

/// XXH3 of 64 bits with seed 0 of a block of `kHashBlock` bytes: a published function that is faster than memory. It
/// tells blocks apart that differ by chance, and not those that somebody made to look alike.
std::uint64_t HashBlock(const unsigned char* block);

}  // namespace zrk
