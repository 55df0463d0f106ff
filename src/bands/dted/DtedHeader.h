#pragma once

#include "XString.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace zrk {

/// Where the parts of an elevation cell lie, which its first tag tells.
struct DtedLayout {
  std::int64_t dataStart = 0;  ///< of the first column
  std::size_t shift = 0;       ///< by how much the fields lie behind those of a cell without labels
};

struct DtedSize {
  int longitudeLines = 0;
  int latitudePoints = 0;
  XString productDesignator;  ///< as "DTED1"
};

/// The posts at the corners, in degrees, and the system that they are of.
struct DtedPlace {
  double south = 0.0;
  double west = 0.0;
  double north = 0.0;
  double east = 0.0;
  XString datum;  ///< in capitals
};

/// As far as the fields of any layout reach.
inline constexpr std::int64_t kDtedLeaderBytes = 160 + 329;

// The parsers take the first bytes of a file. A field that these do not hold whole is as if it ended where they do.

/// Whether one of the three places has the word that tells an elevation cell.
bool HasDtedMark(std::span<const unsigned char> leader);
/// Nothing for a file that begins with a record that must not come first.
std::optional<DtedLayout> FindDtedLayout(std::span<const unsigned char> leader);
/// Sizes are as the file has them, and may be negative or 0.
DtedSize ParseDtedSize(std::span<const unsigned char> leader, std::size_t shift);
DtedPlace ParseDtedPlace(std::span<const unsigned char> leader, std::size_t shift);

}  // namespace zrk
