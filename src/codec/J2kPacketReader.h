#pragma once

#include "codec/J2kHeaderReader.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zrk {

/// The lengths of the packets of a tile-part, in their order, from the segments PLT of its header. Empty where there
/// are none, or they are damaged.
std::vector<std::uint32_t> ParsePacketLengths(std::span<const unsigned char> header,
                                              std::span<const J2kSegment> segments);

/// The packets of a tile: those that a level needs, which come first, and all.
struct J2kPacketCount {
  std::int64_t needed = 0;
  std::int64_t all = 0;
};
/// Nothing for a tile whose packets are not ordered by resolution throughout, or begin with marks of their own.
std::optional<J2kPacketCount> CountPackets(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile,
                                           int level);

}  // namespace zrk
