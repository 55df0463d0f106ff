#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <random>
#include <string_view>
#include <vector>

/// Every how many places a suite about damage tries one. ZRK_TRIALS=tenth in the environment leaves nine out of ten,
/// for the sake of slow builds.
inline std::size_t TrialStep() {
  const char* trials = std::getenv("ZRK_TRIALS");
  return trials && std::string_view(trials) == "tenth" ? 10 : 1;
}

/// Every how many of its trials a suite makes that runs a program for each: all with ZRK_TRIALS=all.
inline std::size_t ProgramTrialStep() {
  const char* trials = std::getenv("ZRK_TRIALS");
  return trials && std::string_view(trials) == "all" ? 1 : 3;
}

/// How far a sweep goes on that fails each call to the disk, one after the other, from its call `nth`. The first calls
/// fail one by one. Of the others each third one does, or fewer with ZRK_TRIALS=tenth, or all with ZRK_TRIALS=all.
inline int CallStep(int nth) {
  const auto step = static_cast<int>(ProgramTrialStep() * TrialStep());
  const int numFirst = TrialStep() > 1 ? 8 : 32;
  return nth < numFirst ? 1 : step;
}

/// How many of `all` trials are made: `usual` of them, but all with ZRK_TRIALS=all.
inline int TrialCount(int all, int usual) {
  const char* trials = std::getenv("ZRK_TRIALS");
  if (trials && std::string_view(trials) == "all") return all;
  return std::max(usual / static_cast<int>(TrialStep()), 1);
}
inline int TrialCount(int all) {
  return TrialCount(all, all);
}

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
