#pragma once

#include "codec/J2kHeaderReader.h"

#include <cstdint>
#include <span>
#include <vector>

namespace zrk {

/// A tile-part: a run of bytes of the file that begins with its marker.
struct J2kTilePart {
  int tile = 0;
  int ordinal = 0;  ///< among all tile-parts of the codestream
  std::int64_t offset = 0;
  std::int64_t numBytes = 0;  ///< as its head tells
  int number = 0;             ///< among the parts of its tile, by its head
  int numParts = 0;           ///< how many its tile has, by its head; 0 where that leaves it open
  bool isOpen = false;        ///< nothing tells where it ends, so that it has what is left of the codestream
  /// Whether the codestream ends within it, or may do so.
  bool IsCut(std::int64_t end) const { return isOpen || numBytes > end - offset; }
};

/// Where the tile-parts of a codestream lie.
class J2kIndex {
 public:
  /// By the list in the main header, which begins behind the header. False where there is no list, or it does not end
  /// at the end of the codestream. No head is read, so that a list that lies is found out only by whoever reads a
  /// tile-part, and the parts lack what only their heads tell.
  bool TakeList(DiskFile& file, const J2kHeader& header, std::int64_t offset, std::int64_t end);
  /// By a walk from one head to the next, from `offset` on. The walk ends where no tile-part stands. What lies behind
  /// that is not known then. False where the disk fails.
  bool Walk(DiskFile& file, const J2kHeader& header, std::int64_t offset, std::int64_t end);

  /// The parts of a tile in their order; none of a tile that is missing.
  std::span<const J2kTilePart> PartsOf(int tile) const;
  int CountParts() const { return static_cast<int>(parts_.size()); }
  /// Whether it was taken from a list that nobody has compared with the codestream.
  bool IsFromList() const { return isFromList_; }
  /// Whether the marker at the end of the codestream stands behind the last part.
  bool IsWhole() const { return isWhole_; }

 private:
  void Sort(int numTiles);

  std::vector<J2kTilePart> parts_;        // by tile
  std::vector<std::size_t> firstOfTile_;  // and one more for the end
  bool isFromList_ = false;
  bool isWhole_ = false;
};

/// The head of a tile-part.
struct J2kPartHead {
  static constexpr std::int64_t kBytes = 12;

  int tile = 0;
  std::uint32_t numBytes = 0;  ///< with this head; 0 where it reaches to the end of the codestream
  int number = 0;              ///< among those of its tile
  int numParts = 0;            ///< of its tile; 0 where it is left open
};

/// What is found where a head should be.
enum class J2kHeadFound { kHead, kNothing, kDiskFailed };
J2kHeadFound ReadJ2kPartHead(DiskFile& file, std::int64_t offset, std::int64_t end, J2kPartHead& head);

}  // namespace zrk
