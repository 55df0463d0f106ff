#pragma once

#include <concepts>
#include <cstddef>
#include <vector>

namespace zrk {

/// Puts the bytes of a whole number over those at a place, the most significant first.
template <std::unsigned_integral Value>
void PutBig(Value value, unsigned char* place) {
  for (std::size_t i = 0; i < sizeof(Value); ++i) {
    place[i] = static_cast<unsigned char>(value >> (8 * (sizeof(Value) - 1 - i)));
  }
}

/// Appends them.
template <std::unsigned_integral Value>
void AppendBig(std::vector<unsigned char>& bytes, Value value) {
  bytes.resize(bytes.size() + sizeof(Value));
  PutBig(value, bytes.data() + bytes.size() - sizeof(Value));
}

}  // namespace zrk
