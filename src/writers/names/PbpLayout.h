#pragma once

#include "tagPName.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace zrk {

// The bytes of a PBP file: a header, the records in the order in which they were added, then two tables of record
// numbers, the one by the first coordinate in front. Numbers are little-endian, as the machine has them, so that
// records and tables are written as they lie in memory.

static_assert(std::endian::native == std::endian::little);

inline constexpr std::size_t kPbpHeadBytes = 12;
inline constexpr std::int64_t kPbpRecordBytes = sizeof(tagPName);
inline constexpr std::int64_t kPbpNumberBytes = 4;

/// Which coordinate a table is sorted by.
enum class PbpAxis { kFirst = 0, kSecond = 1 };

struct PbpHead {
  std::array<char, 2> version{};
  std::int32_t count = 0;
};

/// The first bytes of a file. The three bytes without a meaning are 0.
std::array<unsigned char, kPbpHeadBytes> FormatPbpHead(const PbpHead& head);
/// Nothing where the bytes are not those of a PBP file. The count may be anything.
std::optional<PbpHead> ParsePbpHead(std::span<const unsigned char> bytes);

constexpr std::int64_t PbpRecordOffset(std::int64_t number) {
  return static_cast<std::int64_t>(kPbpHeadBytes) + number * kPbpRecordBytes;
}

/// Where the number of a rank stands in a table, in a file of so many records.
constexpr std::int64_t PbpRankOffset(std::int32_t count, PbpAxis axis, std::int64_t rank) {
  return PbpRecordOffset(count) + (static_cast<std::int64_t>(axis) * count + rank) * kPbpNumberBytes;
}

/// The length of a whole file.
constexpr std::int64_t PbpFileBytes(std::int32_t count) {
  return PbpRankOffset(count, PbpAxis::kSecond, count);
}

}  // namespace zrk
