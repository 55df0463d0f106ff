#pragma once

#include <cstdint>
#include <optional>

namespace zrk {

// The plausibility gate of all parsers: sizes that come from a file are put together with these, and an empty answer
// means that the request is impossible.

constexpr std::optional<std::int64_t> CheckedAdd(std::int64_t a, std::int64_t b) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) return std::nullopt;
  return sum;
}

constexpr std::optional<std::int64_t> CheckedMultiply(std::int64_t a, std::int64_t b) {
  std::int64_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) return std::nullopt;
  return product;
}

/// Whether `count` bytes from `offset` on lie within a file of `fileBytes` bytes.
constexpr bool FitsWithin(std::int64_t offset, std::int64_t count, std::int64_t fileBytes) {
  return offset >= 0 && count >= 0 && offset <= fileBytes && count <= fileBytes - offset;
}

}  // namespace zrk
