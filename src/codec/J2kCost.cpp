// A header of some hundred bytes can promise an image of any size, in code blocks of 4 x 4 samples and thousands of
// layers. Decoders make their records for all of it first. So their memory and their packets are estimated here, and
// compared with the bytes that the tile has. Numbers are reals, which can't overflow.

#include "codec/J2kCost.h"

#include "XLimits.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zrk {
namespace {

constexpr double kBlockBytes = 700.0;     // of the record of a code block
constexpr double kPrecinctBytes = 300.0;  // of a precinct in one band
constexpr double kFreeBytes = 32 << 20;   // that any file may take
constexpr double kBytesPerByte = 1024.0;
constexpr double kFreePackets = 1 << 20;
constexpr std::int64_t kFreeTileComponents = 1 << 18;  // four components of as many tiles as can be

constexpr double kImpossible = std::numeric_limits<double>::infinity();

/// The cells of a size of 2^bits that a range touches.
double CountCells(std::int64_t first, std::int64_t end, int bits) {
  if (first >= end) return 0.0;
  return static_cast<double>(((end - 1) >> bits) - (first >> bits) + 1);
}

/// The samples of a resolution of a component that lie in a tile.
J2kRect SamplesOf(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile, int component,
                  int resolution) {
  return header.ReduceRect(tile, component,
                           coding.ofComponents[static_cast<std::size_t>(component)].numLevels - resolution);
}

/// Code blocks are cut at the edges of precincts as well, so at least one lies in each.
J2kCost EstimateResolution(const J2kCoding& coding, int resolution, const J2kRect& samples) {
  const int precinct = coding.precincts[static_cast<std::size_t>(resolution)];
  const int widthBits = precinct & 15, heightBits = precinct >> 4;
  const int halving = resolution > 0 ? 1 : 0;
  if (widthBits < halving || heightBits < halving) return {kImpossible, kImpossible};
  const double precincts =
      CountCells(samples.x0, samples.x1, widthBits) * CountCells(samples.y0, samples.y1, heightBits);
  const int blockWidthBits = std::min(coding.blockWidthBits, widthBits - halving) + halving;
  const int blockHeightBits = std::min(coding.blockHeightBits, heightBits - halving) + halving;
  const double blocks =
      CountCells(samples.x0, samples.x1, blockWidthBits) * CountCells(samples.y0, samples.y1, blockHeightBits);
  const double bands = resolution > 0 ? 3.0 : 1.0;
  return {bands * (blocks * kBlockBytes + precincts * kPrecinctBytes), precincts};
}

}  // namespace

J2kCost EstimateJ2kCost(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile) {
  J2kCost cost;
  double mostPrecincts = 0.0, mostResolutions = 0.0;
  for (int c = 0; c < std::ssize(header.components); ++c) {
    const J2kCoding& of = coding.ofComponents[static_cast<std::size_t>(c)];
    for (int resolution = 0; resolution <= of.numLevels; ++resolution) {
      const J2kCost one = EstimateResolution(of, resolution, SamplesOf(header, coding, tile, c, resolution));
      cost.numBytes += one.numBytes;
      cost.numPackets += one.numPackets * coding.numLayers;
      mostPrecincts = std::max(mostPrecincts, one.numPackets);
    }
    mostResolutions = std::max(mostResolutions, of.numLevels + 1.0);
  }
  // A decoder notes for each packet whether it has been met, in a table of two bytes that is as wide as the widest.
  const double components = static_cast<double>(header.components.size());
  cost.numBytes += 2.0 * (coding.numLayers + 1.0) * mostResolutions * components * mostPrecincts;
  return cost;
}

double CountPrecincts(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile, int component,
                      int resolution) {
  const J2kCoding& of = coding.ofComponents[static_cast<std::size_t>(component)];
  return EstimateResolution(of, resolution, SamplesOf(header, coding, tile, component, resolution)).numPackets;
}

bool IsPlausible(const J2kCost& cost, std::int64_t numBytes) {
  const double bytes = static_cast<double>(numBytes);
  return cost.numBytes <= kFreeBytes + kBytesPerByte * bytes &&
         cost.numBytes <= static_cast<double>(XfnGetLimits().decodedTileBytes) &&
         cost.numPackets <= kFreePackets + 8.0 * bytes;
}

/// Whoever plans a window looks at each component of each tile. A file that is whole has a byte for each that has
/// samples, and one that was cut short may have lost most of them.
bool IsPlausible(const J2kHeader& header, std::int64_t numBytes) {
  const std::int64_t parts = std::int64_t{header.CountTiles()} * std::ssize(header.components);
  return parts <= kFreeTileComponents + 8 * numBytes;
}

std::int64_t CountWorkBytes(std::int64_t numBytes) {
  const double most = static_cast<double>(XfnGetLimits().decodedTileBytes);
  return static_cast<std::int64_t>(std::min(most, kFreeBytes + kBytesPerByte * static_cast<double>(numBytes)));
}

}  // namespace zrk
