#pragma once

#include "codec/J2kHeaderReader.h"

#include <cstdint>

namespace zrk {

/// What a decoder sets up for a tile before it looks at its data. Decoders trust the header in this.
struct J2kCost {
  double numBytes = 0.0;    ///< of records for code blocks and precincts
  double numPackets = 0.0;  ///< that the data must have
};

/// The cost of a tile at that place of the reference grid. It is infinite for a tile that can't be decoded.
J2kCost EstimateJ2kCost(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile);

/// The precincts of one resolution of a component of that tile, the smallest resolution being 0. Infinite for precincts
/// that cannot be.
double CountPrecincts(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile, int component,
                      int resolution);

/// Whether a tile whose parts have so many bytes may cost so much.
bool IsPlausible(const J2kCost& cost, std::int64_t numBytes);

/// Whether a codestream of so many bytes may have the tiles and components of its header.
bool IsPlausible(const J2kHeader& header, std::int64_t numBytes);

/// The bytes of decoded samples that may be in memory at a time for a tile whose parts have so many bytes. A file that
/// is small may well hold a large image, of one colour. It is decoded in small pieces then.
std::int64_t CountWorkBytes(std::int64_t numBytes);

}  // namespace zrk
