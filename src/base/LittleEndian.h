#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrk {

/// The bytes of a whole number as files have them, the least significant first.
template <class Value>
std::array<unsigned char, sizeof(Value)> LittleEndian(Value value) {
  std::array<unsigned char, sizeof(Value)> bytes{};
  const auto bits = static_cast<std::uint64_t>(value);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
  return bytes;
}

}  // namespace zrk
