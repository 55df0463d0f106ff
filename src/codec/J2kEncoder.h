#pragma once

#include "codec/J2kPlan.h"
#include "XString.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zrk {

/// Codes an image as a JPEG 2000 codestream, tile by tile. The parts of the codestream are handed out, to be written
/// one behind the other: the main header, a tile-part for each tile in the order of the tiles, and the end marker.
///
/// Tiles are coded apart from each other, on any number of threads at once and in any order. The bytes of a tile depend
/// on the plan and its samples alone.
class J2kEncoder {
 public:
  using Bytes = std::vector<unsigned char>;

  /// The plan has at least one pixel and 1 to 16,384 components, and at most 65,535 tiles.
  explicit J2kEncoder(const J2kPlan& plan) : plan_(plan) {}

  /// Makes what all tiles share. False with the reason in `err` where the codec refuses the plan. To be called once and
  /// first.
  bool Prepare(XString& err);

  /// The length of the main header, known before any tile is coded.
  std::size_t CountHeaderBytes() const;
  /// The main header. It tells the length of each tile-part, so that readers find a tile at once.
  Bytes MakeHeader(std::span<const std::uint32_t> tilePartBytes) const;
  /// Codes a tile, whose samples are given component by component, rows from the top, in the byte order of the machine.
  /// `numThreads` threads of the codec share the work. False with the reason in `err`. For any thread.
  bool EncodeTile(int tile, std::span<unsigned char> samples, int numThreads, Bytes& tilePart, XString& err) const;
  /// What stands behind the last tile-part.
  static Bytes MakeEnd();

 private:
  J2kPlan plan_;
  Bytes header_;  // without the lengths
  std::size_t codecHeaderBytes_ = 0;
};

}  // namespace zrk
