#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zrk {

/// The bits of packed bytes, the lowest one first. Behind the last byte come zeros, which are counted.
struct InflateSource {
  const unsigned char* next;
  const unsigned char* end;
  std::uint64_t bits = 0;     ///< those above `numBits` are 0, or as they will be
  std::uint32_t numBits = 0;  ///< of bytes before `next`
  int numMissing = 0;         ///< bytes of zeros

  void Skip(std::uint32_t count) {
    bits >>= count;
    numBits -= count;
  }
  /// Gets 56 bits or more, where eight bytes are left.
  void FillQuickly() {
    std::uint64_t word;
    std::memcpy(&word, next, sizeof word);
    bits |= word << numBits;
    next += 7 - (numBits >> 3 & 7);
    numBits |= 56;
  }
  /// The same wherever the bytes end.
  void Fill() {
    if (end - next >= 8) return FillQuickly();
    for (; numBits < 56; numBits += 8) {
      if (next == end) {
        ++numMissing;
      } else {
        bits |= std::uint64_t{*next++} << numBits;
      }
    }
  }
  std::uint32_t Take(std::uint32_t count) {
    Fill();
    const auto value = static_cast<std::uint32_t>(bits & ((std::uint64_t{1} << count) - 1));
    Skip(count);
    return value;
  }
  /// Whether all bits that were taken are there.
  bool HasEnough() const { return 8 * numMissing <= static_cast<int>(numBits); }
  /// Goes on with the next whole byte. Bytes that were read too early are given back. False where they are not there.
  bool AlignToByte() {
    if (!HasEnough()) return false;
    next -= static_cast<int>(numBits / 8) - numMissing;
    bits = 0, numBits = 0, numMissing = 0;
    return true;
  }
  std::size_t CountBytes() const { return static_cast<std::size_t>(end - next); }
};

/// The bytes that are unpacked.
struct InflateTarget {
  unsigned char* begin;
  unsigned char* next;
  unsigned char* end;
  std::size_t numLiterals = 0;

  std::size_t CountDone() const { return static_cast<std::size_t>(next - begin); }
  std::size_t CountLeft() const { return static_cast<std::size_t>(end - next); }
};

}  // namespace zrk
