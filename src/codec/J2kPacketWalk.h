#pragma once

#include "codec/J2kHeaderReader.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zrk {

class DiskFile;

/// Goes from packet to packet of a tile in the order of its codestream, and tells by their heads how long they are. No
/// sample is decoded, so that this costs little beside what a decoder does.
class J2kPacketWalk {
 public:
  /// The bytes of a packet's head, with the mark that may stand behind it, and those of its data.
  struct Packet {
    std::size_t headBytes = 0;
    std::int64_t dataBytes = 0;
  };

  /// Whether packets so coded can be gone through. They can't where their order changes within the tile, and where code
  /// blocks are coded for high throughput, which gives their heads another form.
  static bool CanWalk(const J2kTileCoding& coding);

  /// Begins at the first packet of a tile at that place of the reference grid. Packets that the level does not need are
  /// left out. The cost of the tile has to be plausible. The header and the coding have to outlive this, and so has the
  /// word behind `cancel`, which may be null.
  J2kPacketWalk(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile, int level,
                const int* cancel = nullptr);
  ~J2kPacketWalk();
  J2kPacketWalk(const J2kPacketWalk&) = delete;
  J2kPacketWalk& operator=(const J2kPacketWalk&) = delete;

  bool IsAtEnd() const;
  /// Takes the next packet, whose head is at the beginning of the bytes. Nothing where they end within the head or are
  /// no head. That packet is still the next one then. Nothing as well where the walk is given up.
  std::optional<Packet> Take(std::span<const unsigned char> bytes);
  /// Whether the walk has ended early, because the word asked for it or because the heads say too little for what they
  /// cost. That tells nothing about the packets.
  bool HasGivenUp() const { return hasGivenUp_; }
  /// No head of the next packet has more bytes.
  std::int64_t CountMostHeadBytes();
  /// Whether packets may have marks in front of them, which stand among their data.
  bool MayHaveMarks() const { return coding_.hasPacketMarks; }

 private:
  struct Band;
  struct Precinct;

  void AddResolution(const J2kRect& tile, int component, int resolution);
  void Sort();
  std::vector<Band> MakeBands(const Precinct& precinct) const;
  std::int64_t CountBlocks(Precinct& precinct) const;
  bool MayVisit(Precinct& precinct);
  std::size_t FindGroupEnd() const;
  void Advance();

  const J2kHeader& header_;
  const J2kTileCoding& coding_;
  J2kRect tile_;
  std::vector<Precinct> precincts_;  // in the order of their packets
  // Each layer goes once through a group of precincts, before the next group begins.
  std::size_t group_ = 0;
  std::size_t groupEnd_ = 0;
  std::size_t place_ = 0;
  int layer_ = 0;
  const int* cancel_;
  std::int64_t numVisits_ = 0;  // of code blocks, in the heads that were tried
  std::int64_t numBytes_ = 0;   // of the heads that were taken
  bool hasGivenUp_ = false;
};

/// Whether heads that stand apart from their data are those of all packets of a tile whose data has so many bytes. The
/// walk begins at the first one. True as well where it is given up.
bool ArePackedHeadsWhole(std::span<const unsigned char> heads, std::int64_t numDataBytes, J2kPacketWalk& walk);

/// Whether the next packets, which begin at that offset of the file, have these lengths. Nothing where the disk fails,
/// or the walk is given up.
std::optional<bool> HaveLengths(DiskFile& file, std::int64_t offset, std::span<const std::uint32_t> lengths,
                                J2kPacketWalk& walk);

}  // namespace zrk
