#pragma once

#include "tagXTileLevel.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zrk {

/// What the tiles of a store hold. The headers differ in the second letter of the mark and in the length of a record.
enum class StoreKind { kImage, kElevation };

/// The header of every store is so long. Tiles begin behind it.
constexpr int kStoreHeaderBytes = 51200;

struct StoreHeader {
  double version = 0.0;
  double tileSize = 0.0;      ///< of level 0, in degrees
  int numStated = 0;          ///< levels that the file claims to have
  std::int64_t fileSize = 0;  ///< as the file claims
  int headerSize = 0;         ///< as the file claims
  std::vector<tagXTileLevel> levels;
};

/// How many level records a header has room for: 983 of an image store, 1,065 of an elevation store.
std::size_t CountLevelRecords(StoreKind kind, std::size_t headerBytes);

/// Reads the bytes of a header. Records that the bytes or a header have no room for are left out. The tile size of a
/// level is worked out from that of level 0, whatever its record says. Nothing else is checked: ranges may be inverted
/// and sizes be anything. Empty where the mark is not one of the kind, or the fields before the records are not there.
std::optional<StoreHeader> ParseStoreHeader(std::span<const unsigned char> bytes, StoreKind kind);

/// The bytes of a header, `headerSize` of them and zero behind the last record. Empty where the records do not fit, and
/// for a header of more bytes than a table may have.
std::vector<unsigned char> BuildStoreHeader(const StoreHeader& header, StoreKind kind);

}  // namespace zrk
