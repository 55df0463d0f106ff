#pragma once

#include <cstdint>

namespace zrk {

/// The height that a word of sign and magnitude stands for. Magnitudes of 16,000 and more below zero, among them the
/// one that stands for an unknown height, are 0; so would be heights below -30,000, of which none is left.
constexpr std::int16_t HeightOf(std::uint16_t word) {
  const int magnitude = word & 0x7FFF;
  if (word == magnitude) return static_cast<std::int16_t>(magnitude);
  return static_cast<std::int16_t>(magnitude < 16000 ? -magnitude : 0);
}

/// Columns of big-endian words of sign and magnitude, the southernmost first, to rows of heights, the northernmost
/// first. Column i begins at `columns` + i * `columnBytes`; row j goes to `rows` + j * `rowSamples`.
void TransposeHeights(const unsigned char* columns, std::int64_t columnBytes, int numColumns, int numPoints,
                      std::int16_t* rows, std::int64_t rowSamples);

/// Its twin without vector instructions.
void TransposeHeightsSingly(const unsigned char* columns, std::int64_t columnBytes, int numColumns, int numPoints,
                            std::int16_t* rows, std::int64_t rowSamples);

}  // namespace zrk
