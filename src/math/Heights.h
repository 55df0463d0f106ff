#pragma once

#include <cstdint>

namespace zrk {

/// The height that a word of sign and magnitude stands for. A height of -16,000 or below becomes 0, and the word for an
/// unknown height with it. The rule that heights below -30,000 become 0 has nothing left to do then.
constexpr std::int16_t HeightOf(std::uint16_t word) {
  const int magnitude = word & 0x7FFF;
  if (word == magnitude) return static_cast<std::int16_t>(magnitude);
  return static_cast<std::int16_t>(magnitude < 16000 ? -magnitude : 0);
}

/// The height that a word stands for, whatever it is. The word for an unknown height gives -32767.
constexpr std::int16_t ExactHeightOf(std::uint16_t word) {
  const int magnitude = word & 0x7FFF;
  return static_cast<std::int16_t>(word == magnitude ? magnitude : -magnitude);
}

/// Whether heights far below zero become 0, as `HeightOf` tells, or are kept.
enum class FarBelow { kZero, kKept };

/// Turns columns into rows. Columns are big-endian words of sign and magnitude, the southernmost first. Rows are
/// heights, the northernmost row first. Column i begins at `columns` + i * `columnBytes`, and row j goes to `rows` + j
/// * `rowSamples`.
void TransposeHeights(const unsigned char* columns, std::int64_t columnBytes, int numColumns, int numPoints,
                      std::int16_t* rows, std::int64_t rowSamples, FarBelow farBelow = FarBelow::kZero);

/// The twin of `TransposeHeights` without vector instructions.
void TransposeHeightsSingly(const unsigned char* columns, std::int64_t columnBytes, int numColumns, int numPoints,
                            std::int16_t* rows, std::int64_t rowSamples, FarBelow farBelow = FarBelow::kZero);

}  // namespace zrk
