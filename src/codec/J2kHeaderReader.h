#pragma once

#include "XString.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace zrk {

class DiskFile;

/// A rectangle of whole numbers: the right and lower edges lie outside. On the reference grid of a codestream, or on
/// the grid of a component.
struct J2kRect {
  std::int64_t x0 = 0;
  std::int64_t y0 = 0;
  std::int64_t x1 = 0;
  std::int64_t y1 = 0;

  bool IsEmpty() const { return x0 >= x1 || y0 >= y1; }
  std::int64_t Width() const { return x1 - x0; }
  std::int64_t Height() const { return y1 - y0; }
  friend bool operator==(const J2kRect&, const J2kRect&) = default;
};

/// What both have in common; it may be empty.
J2kRect Intersect(const J2kRect& a, const J2kRect& b);

/// A number above or equal to 0 divided by one above 0, rounded up.
constexpr std::int64_t CeilDivide(std::int64_t number, std::int64_t divisor) {
  return (number + divisor - 1) / divisor;
}

/// What the header says of one component.
struct J2kComponent {
  int depth = 8;  ///< in bits, without regard to the sign
  bool isSigned = false;
  int dx = 1;  ///< every so many columns of the reference grid have a sample
  int dy = 1;
  friend bool operator==(const J2kComponent&, const J2kComponent&) = default;
};

/// How the samples of a component are coded, as the segments COD and COC tell it.
struct J2kCoding {
  int numLevels = 0;       ///< decompositions; a codestream has one resolution more
  int blockWidthBits = 6;  ///< of a code block: it is 2^n samples wide
  int blockHeightBits = 6;
  int style = 0;             ///< of the code blocks
  bool isReversible = true;  ///< by whole numbers
  /// By resolution, the smallest first: the binary logarithm of a precinct's width in the lower four bits, and of its
  /// height in the upper ones.
  std::array<unsigned char, 33> precincts{};
};

/// One marker segment of a header: its place among the bytes of the header, with its marker.
struct J2kSegment {
  std::uint16_t marker = 0;
  std::size_t offset = 0;
  std::size_t numBytes = 0;
};

/// What the segment COD says of a tile as a whole.
struct J2kTileCoding {
  int progression = 0;  ///< 0 to 4: LRCP, RLCP, RPCL, PCRL, CPRL
  int numLayers = 1;
  bool mixesComponents = false;
  bool hasPacketMarks = false;  ///< packets may have a marker in front of them or behind their heads
  bool changesOrder = false;    ///< the progression is not that of all packets
  std::vector<J2kCoding> ofComponents = {};
};

/// The most tile-parts that a codestream may have: eight for each of the most tiles.
inline constexpr int kMaxJ2kParts = 1 << 19;

/// One entry of the segments TLM: a tile-part in the order of the codestream.
struct J2kListedPart {
  int tile = -1;  ///< -1 where the entries have no numbers: part n is that of tile n
  std::uint32_t numBytes = 0;
};

/// The main header of a codestream.
struct J2kHeader {
  J2kRect grid;       ///< of the image on the reference grid
  J2kRect firstTile;  ///< the place of the first tile, which may begin outside of the image
  int tilesAcross = 0;
  int tilesDown = 0;
  std::vector<J2kComponent> components;
  J2kTileCoding coding;
  std::vector<unsigned char> bytes;  ///< of the header, from its first marker to in front of the first tile-part
  std::vector<J2kSegment> segments;  ///< of these bytes, in their order
  std::vector<J2kListedPart> listedParts;

  int CountTiles() const { return tilesAcross * tilesDown; }
  /// The resolutions that all components have below the full one.
  int CountLevels() const;
  /// The samples of a component at a level: those of its grid that the image covers, divided by 2^level.
  J2kRect GetComponentRect(int component, int level) const { return ReduceRect(grid, component, level); }
  /// The samples of a component at a level that a rectangle of the reference grid covers.
  J2kRect ReduceRect(const J2kRect& onGrid, int component, int level) const;
  /// The place of a tile on the reference grid, cut to the image.
  J2kRect GetTileRect(int tile) const;
};

/// Reads the main header that begins at `offset` of the file and lies before `end`. Returns 1, or 0 with the reason in
/// `err`.
int ReadJ2kHeader(DiskFile& file, std::int64_t offset, std::int64_t end, J2kHeader& header, XString& err);

/// Parses the bytes of a main header, without the marker of the first tile-part. Returns 1, or 0 with the reason in
/// `err`.
int ParseJ2kHeader(std::vector<unsigned char> bytes, J2kHeader& header, XString& err);

/// The segments of a header from `begin` on, up to the end of the bytes. False where one does not fit.
bool ListJ2kSegments(std::span<const unsigned char> bytes, std::size_t begin, std::vector<J2kSegment>& segments);

/// Takes over what the segments COD, COC and POC among a header say. The record has the values of the main header
/// before where the header is a tile's. False where a segment is damaged or says what no decoder can do.
bool ParseJ2kCoding(std::span<const unsigned char> bytes, std::span<const J2kSegment> segments, int numComponents,
                    J2kTileCoding& coding);

}  // namespace zrk
