#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

// LERC blobs begin with "Lerc2 ", their version and a checksum of all that follows it. Their length stands 16 or 20
// bytes behind the checksum, by version. A changed blob is refused at its checksum. So the code behind it is reached
// only where the checksum is set right.

namespace lerc {

inline constexpr std::string_view kMark = "Lerc2 ";
inline constexpr std::size_t kChecksumPlace = 10;
inline constexpr std::size_t kSumPlace = 14;

/// Fletcher's sum of bytes that are taken as words with the high byte first.
inline std::uint32_t Checksum(std::span<const std::uint8_t> bytes) {
  std::uint32_t sum1 = 0xFFFF, sum2 = 0xFFFF;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    sum1 += static_cast<std::uint32_t>(bytes[i] << 8) + (i + 1 < bytes.size() ? bytes[i + 1] : 0);
    sum1 = (sum1 & 0xFFFF) + (sum1 >> 16);
    sum2 += sum1;
    sum2 = (sum2 & 0xFFFF) + (sum2 >> 16);
  }
  return sum2 << 16 | sum1;
}

inline std::uint32_t Word(std::span<const std::uint8_t> bytes, std::size_t place) {
  std::uint32_t word = 0;
  if (place + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + place, sizeof word);
  return word;
}

}  // namespace lerc

/// Sets the checksum of every blob in the bytes right for the length that it claims, or for all bytes to the end.
inline void FixLercChecksums(std::span<std::uint8_t> bytes) {
  for (auto begin = bytes.begin(); begin != bytes.end();) {
    begin = std::search(begin, bytes.end(), lerc::kMark.begin(), lerc::kMark.end());
    const auto blob = bytes.subspan(static_cast<std::size_t>(begin - bytes.begin()));
    if (blob.size() < 38) return;
    const std::size_t claimed = lerc::Word(blob, lerc::Word(blob, 6) >= 4 ? 34 : 30);
    const std::size_t size = claimed > lerc::kSumPlace ? std::min(claimed, blob.size()) : blob.size();
    const std::uint32_t sum = lerc::Checksum(blob.subspan(lerc::kSumPlace, size - lerc::kSumPlace));
    std::memcpy(blob.data() + lerc::kChecksumPlace, &sum, sizeof sum);
    ++begin;
  }
}
