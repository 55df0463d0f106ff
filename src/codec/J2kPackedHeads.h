#pragma once

#include "codec/J2kHeaderReader.h"

#include <cstddef>
#include <span>
#include <vector>

namespace zrk {

/// The heads of packets that a main header holds for the tile-parts of its codestream (segments PPM).
class J2kPackedHeads {
 public:
  /// Takes what the segments of a header hold, as far as it can be read.
  void Take(const J2kHeader& header);

  /// Whether the header has such segments, of whatever content.
  bool AreThere() const { return areThere_; }
  /// Whether the segments are numbered without a gap, and hold whole lists and nothing else.
  bool AreWhole() const { return areWhole_; }
  /// The tile-parts that have a list.
  int CountParts() const { return static_cast<int>(lists_.size()); }
  /// The list of a tile-part by its place in the codestream. It is empty for one that has none.
  std::span<const unsigned char> ListOf(int ordinal) const;

 private:
  struct List {
    std::size_t offset = 0;
    std::size_t numBytes = 0;
  };
  void Join(const J2kHeader& header);
  void Split();

  std::vector<unsigned char> joined_;
  std::vector<List> lists_;
  bool areThere_ = false;
  bool areWhole_ = true;
};

}  // namespace zrk
