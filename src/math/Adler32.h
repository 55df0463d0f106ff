#pragma once

#include <cstdint>
#include <span>

namespace zrk {

/// The checksum of zlib's frame. Vector instructions are chosen at run time.
std::uint32_t Adler32(std::span<const unsigned char> bytes);

/// The same without vector instructions.
std::uint32_t Adler32ByBytes(std::span<const unsigned char> bytes);

}  // namespace zrk
