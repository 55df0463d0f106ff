// A tile's data is a row of packets, one for each precinct of each resolution of each component in each layer. If they
// are ordered by resolution, a reduced level needs the first packets alone. The header may list the lengths of all
// packets (PLT). A length has seven bits in each byte, the highest first, and its last byte has the highest bit clear.

#include "codec/J2kPacketReader.h"

#include "base/Cursor.h"
#include "codec/J2kCost.h"
#include "codec/Jp2Boxes.h"

#include <algorithm>

namespace zrk {

std::vector<std::uint32_t> ParsePacketLengths(std::span<const unsigned char> header,
                                              std::span<const J2kSegment> segments) {
  std::vector<std::uint32_t> lengths;
  for (const J2kSegment& segment : segments) {
    if (segment.marker != kMarkerPacketLengths) continue;
    Cursor cursor(header.subspan(segment.offset + 4, segment.numBytes - 4));
    cursor.U8();  // the number of the segment, which are in order
    std::uint64_t length = 0;
    bool isWhole = true;
    while (cursor.Remaining() > 0) {
      const unsigned byte = cursor.U8();
      length = length << 7 | (byte & 0x7F);
      isWhole = (byte & 0x80) == 0;
      if (length > UINT32_MAX) return {};
      if (!isWhole) continue;
      lengths.push_back(static_cast<std::uint32_t>(length));
      length = 0;
    }
    if (cursor.HasFailed() || !isWhole) return {};
  }
  return lengths;
}

/// Estimates count the packets of one layer as reals, which hold all numbers that are plausible.
std::optional<J2kPacketCount> CountPackets(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile,
                                           int level) {
  constexpr int kByLayer = 0, kByResolution = 1, kByResolutionAndPlace = 2;
  const bool isOrdered = coding.progression == kByResolution || coding.progression == kByResolutionAndPlace ||
                         (coding.progression == kByLayer && coding.numLayers == 1);
  if (!isOrdered || coding.hasPacketMarks || coding.changesOrder) return std::nullopt;
  int highest = 0;
  for (const J2kCoding& each : coding.ofComponents) highest = std::max(highest, each.numLevels - level);
  J2kPacketCount count;
  for (int c = 0; c < std::ssize(header.components); ++c) {
    const int numLevels = coding.ofComponents[static_cast<std::size_t>(c)].numLevels;
    for (int resolution = 0; resolution <= numLevels; ++resolution) {
      const double packets = CountPrecincts(header, coding, tile, c, resolution) * coding.numLayers;
      constexpr double kMost = 1 << 28;
      if (!(packets < kMost)) return std::nullopt;
      count.all += static_cast<std::int64_t>(packets);
      if (resolution <= highest) count.needed += static_cast<std::int64_t>(packets);
    }
  }
  return count;
}

}  // namespace zrk
