#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

/// The bytes of a file that are read first, so that damage there tells most.
struct HeaderRange {
  std::size_t begin = 0;
  std::size_t count = 0;
};

/// Calls `tryBytes(bytes)` with one byte of the file changed, `count` times, the same in every run; every other change
/// hits the header. Ends with the first failure.
template <class TryBytes>
void FlipBytes(std::vector<unsigned char> bytes, int count, const HeaderRange& header, TryBytes tryBytes) {
  std::mt19937 random(20240229);
  const std::size_t inHeader = std::min(bytes.size() - header.begin, header.count);
  for (int i = 0; i < count && !testing::Test::HasFailure(); ++i) {
    const std::size_t place = i % 2 ? random() % bytes.size() : header.begin + random() % inHeader;
    const auto flip = static_cast<unsigned char>(1 + random() % 255);
    bytes[place] ^= flip;
    SCOPED_TRACE(testing::Message() << "byte " << place << " xor " << int{flip});
    tryBytes(bytes);
    bytes[place] ^= flip;
  }
}
