// LZW by references into the output. Most decoders keep a table with a byte and an earlier code for each code, and walk
// a string from its end, byte by byte. Here the string of a code is a range of the bytes that were decoded already. A
// new code stands for the string of the last code and one byte more, the first byte of the next string. These bytes lie
// behind each other in the output. So a string is copied at once, mostly by one move of 16 bytes.
//
// A code may be used right when it is made. Its string then reaches up to its own first byte, and the move reads one
// byte before that byte is written. The missing byte is known: it equals the first byte of the string.

#include "codec/LzwDecoder.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zrk {
namespace {

constexpr std::uint32_t kClear = 256, kFirst = 258;
constexpr int kMinBits = 9, kMaxBits = 12;
constexpr std::uint32_t kNumCodes = 1u << kMaxBits;

/// Codes out of bytes, the highest bit first. Behind the last byte come zeros.
class Codes {
 public:
  explicit Codes(std::span<const unsigned char> packed)
      : next_(packed.data()), end_(packed.data() + packed.size()), numLeft_(8 * std::ssize(packed)) {}

  std::uint32_t Take(int numBits) {
    if (numBits_ < numBits) Fill();
    numBits_ -= numBits;
    numLeft_ -= numBits;
    return static_cast<std::uint32_t>(bits_ >> numBits_) & ((1u << numBits) - 1);
  }
  /// Whether more bits were taken than there are.
  bool AreUsedUp() const { return numLeft_ < 0; }

 private:
  void Fill() {
    std::uint32_t word = 0;
    const std::ptrdiff_t numBytes = std::min<std::ptrdiff_t>(end_ - next_, sizeof word);
    if (numBytes > 0) std::memcpy(&word, next_, static_cast<std::size_t>(numBytes));
    next_ += numBytes;
    bits_ = bits_ << 32 | __builtin_bswap32(word);
    numBits_ += 32;
  }

  const unsigned char* next_;
  const unsigned char* end_;
  std::int64_t numLeft_;
  std::uint64_t bits_ = 0;
  int numBits_ = 0;
};

/// Copies a string to the end of what is decoded. It begins before `to`, and its bytes up to `to` are there.
void CopyString(const unsigned char* from, unsigned char* to, std::size_t size, std::size_t room) {
  constexpr std::size_t kMove = 16;
  if (size <= kMove && room >= kMove) {
    unsigned char moved[kMove];
    std::memcpy(moved, from, kMove);
    std::memcpy(to, moved, kMove);
  } else {
    std::memmove(to, from, size);
  }
  // Where the string ends with its own first byte, that was not there yet.
  if (from + size > to) to[size - 1] = *from;
}

}  // namespace

bool LzwDecoder::Decode(std::span<const unsigned char> packed, std::span<unsigned char> bytes) {
  strings_.resize(kNumCodes);
  Codes codes(packed);
  if (bytes.size() > UINT32_MAX || codes.Take(kMinBits) != kClear) return false;
  std::uint32_t numCodes = kFirst, at = 0;
  int numBits = kMinBits;
  String last{};  // nothing behind a clear code
  while (at < bytes.size()) {
    const std::uint32_t code = codes.Take(numBits);
    if (code == kClear) {
      numCodes = kFirst, numBits = kMinBits, last = {};
      continue;
    }
    if (last.size > 0) {
      if (numCodes == kNumCodes) return false;
      strings_[numCodes++] = {last.begin, last.size + 1};
      if (numCodes == (1u << numBits) - 1 && numBits < kMaxBits) ++numBits;
    }
    String string{at, 1};
    if (code < kClear) {
      bytes[at] = static_cast<unsigned char>(code);
    } else {
      if (code < kFirst || code >= numCodes || codes.AreUsedUp()) return false;
      string.size = strings_[code].size;
      const std::size_t room = bytes.size() - at;
      // The last string may reach beyond the block.
      if (string.size > room) return false;
      CopyString(bytes.data() + strings_[code].begin, bytes.data() + at, string.size, room);
    }
    last = string;
    at += string.size;
  }
  return !codes.AreUsedUp();
}

}  // namespace zrk
