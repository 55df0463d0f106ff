// The packets of a tile, ISO/IEC 15444-1, annex B. Each resolution of a component is cut into precincts, and each layer
// has one packet for each precinct. A packet is a head and then data. The head is a row of bits: whether there is
// anything, and then for each code block of the precinct, band by band,
//
//   - whether the packet has anything of the block: by a tag tree until it has, and by one bit from then on;
//   - at the first time, how many bit planes are empty: by another tag tree;
//   - how many coding passes follow, and by how many bits their lengths are longer than before;
//   - the lengths of the segments into which the passes fall.
//
// Bits fill bytes from the highest one on. Behind a byte of ones the highest bit is left out.
//
// A tag tree tells the numbers of a grid. Each node has the least number of up to four below it. It is told bit by bit
// and only as far as the question goes: 0 for "more than this", 1 for "this".
//
// The order of packets is that of five loops, over layers, resolutions, components and places, the latter by row and
// column. The place of a precinct is where it begins on the reference grid, within the tile.
//
// A head of a byte may cost a look at each code block of a large precinct. So the looks are counted, and a walk that
// has far more of them than bits is given up. Numbers in heads end where no codestream can have larger ones.

#include "codec/J2kPacketWalk.h"

#include "base/Disk.h"
#include "codec/Jp2Boxes.h"
#include "XThread.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <numeric>
#include <utility>

namespace zrk {
namespace {

constexpr int kBypass = 1, kEndsEachPass = 4, kHighThroughput = 0x40;  // styles of code blocks
constexpr int kByLayerFirst = 0, kByResolutionFirst = 1, kByResolutionAndPlaceFirst = 2, kByPlaceFirst = 3;
constexpr int kLastOrder = 4;
constexpr std::uint16_t kMarkerBehindHead = 0xFF92;  // EPH

/// A band has 37 bit planes at most: 7 that guard it and 31 of its exponent, less one. A region of interest lifts them
/// by 37 more.
constexpr int kMostEmptyPlanes = 128;
constexpr int kMostLengthBits = 32;

// A walk may look at so many code blocks, and at so many more for each byte of the heads. Heads have a bit at least for
// each block that packets before have something of.
constexpr std::int64_t kFreeVisits = 1 << 23;
constexpr std::int64_t kVisitsPerByte = 16;

using HeadSpan = std::span<const unsigned char>;

class HeadBits {
 public:
  explicit HeadBits(HeadSpan bytes) : bytes_(bytes) {}

  bool HasFailed() const { return hasFailed_; }
  void Fail() { hasFailed_ = true; }
  std::size_t CountBytes() const { return place_; }

  bool Take() {
    if (numLeft_ == 0) {
      if (place_ == bytes_.size()) {
        Fail();
        return false;
      }
      numLeft_ = last_ == 0xFF ? 7 : 8;
      last_ = bytes_[place_++];
    }
    return (last_ >> --numLeft_ & 1) != 0;
  }
  std::uint32_t TakeNumber(int numBits) {
    std::uint32_t number = 0;
    for (int i = 0; i < numBits; ++i) number = number << 1 | static_cast<std::uint32_t>(Take());
    return number;
  }
  /// Passes over what is left of the last byte, and over the byte behind one of ones.
  void Align() {
    if (last_ == 0xFF && place_ == bytes_.size()) Fail();
    if (last_ == 0xFF && !hasFailed_) ++place_;
    numLeft_ = last_ = 0;
  }

 private:
  HeadSpan bytes_;
  std::size_t place_ = 0;
  int numLeft_ = 0;
  unsigned last_ = 0;
  bool hasFailed_ = false;
};

class TagTree {
 public:
  TagTree(std::int64_t width, std::int64_t height) {
    std::size_t count = 0;
    for (bool isTop = false; !isTop; width = (width + 1) / 2, height = (height + 1) / 2) {
      isTop = width * height <= 1;
      floors_.push_back({count, static_cast<std::size_t>(width)});
      count += static_cast<std::size_t>(width * height);
    }
    nodes_.resize(count);
  }

  /// Whether the number at that place is below another one.
  bool IsBelow(std::size_t x, std::size_t y, int other, HeadBits& bits) {
    int least = 0;
    bool isKnown = false;
    for (std::size_t floor = floors_.size(); floor-- > 0;) {
      Node& node = nodes_[floors_[floor].first + (y >> floor) * floors_[floor].width + (x >> floor)];
      node.least = std::max(node.least, least);
      while (!node.isKnown && node.least < other && !bits.HasFailed()) {
        node.isKnown = bits.Take();
        if (!node.isKnown) ++node.least;
      }
      least = node.least;
      isKnown = node.isKnown;
    }
    return isKnown && least < other;
  }

 private:
  struct Node {
    int least = 0;
    bool isKnown = false;  // whether it is that number
  };
  struct Floor {
    std::size_t first = 0;
    std::size_t width = 0;
  };
  std::vector<Node> nodes_;
  std::vector<Floor> floors_;  // from the leaves to the top
};

/// What is known of a code block from earlier packets.
struct HeadBlock {
  int lengthBits = 3;
  int numPasses = 0;   // of its last segment
  int mostPasses = 0;  // that the segment may have; 0 before the first packet with the block
};

/// How many passes a segment may have, behind one that may have so many.
int MostPasses(int style, int before) {
  if (style & kEndsEachPass) return 1;
  if (!(style & kBypass)) return std::numeric_limits<int>::max();
  constexpr int kFirst = 10;
  if (before == 0) return kFirst;
  return before == 1 || before == kFirst ? 2 : 1;
}

int TakeNumPasses(HeadBits& bits) {
  if (!bits.Take()) return 1;
  if (!bits.Take()) return 2;
  const auto few = static_cast<int>(bits.TakeNumber(2));
  if (few < 3) return 3 + few;
  const auto some = static_cast<int>(bits.TakeNumber(5));
  return some < 31 ? 6 + some : 37 + static_cast<int>(bits.TakeNumber(7));
}

/// The bytes that a packet has of a block.
std::int64_t TakeLengths(int style, int numPasses, HeadBlock& block, HeadBits& bits) {
  std::int64_t numBytes = 0;
  while (numPasses > 0 && !bits.HasFailed()) {
    if (block.numPasses == block.mostPasses) {
      block.mostPasses = MostPasses(style, block.mostPasses);
      block.numPasses = 0;
    }
    const int now = std::min(numPasses, block.mostPasses - block.numPasses);
    const int numBits = block.lengthBits + std::bit_width(static_cast<unsigned>(now)) - 1;
    if (numBits > kMostLengthBits) bits.Fail();
    numBytes += bits.HasFailed() ? 0 : bits.TakeNumber(numBits);
    block.numPasses += now;
    numPasses -= now;
  }
  return numBytes;
}

/// The samples of a band of a resolution. Band 0 is what the smallest resolution has alone. The others have the
/// differences in columns, in rows and in both.
J2kRect BandRect(const J2kRect& samples, int band, int numHalvings) {
  if (band == 0) return samples;
  const auto half = [numHalvings](std::int64_t place, int isOdd) {
    const std::int64_t number = place - (std::int64_t{isOdd} << (numHalvings - 1));
    return CeilDivide(std::max<std::int64_t>(number, 0), std::int64_t{1} << numHalvings);
  };
  const int inColumns = band & 1, inRows = band >> 1;
  return {half(samples.x0, inColumns), half(samples.y0, inRows), half(samples.x1, inColumns), half(samples.y1, inRows)};
}

}  // namespace

/// The code blocks of a band that lie in a precinct.
struct J2kPacketWalk::Band {
  Band(std::size_t columns, std::size_t rows)
      : width(columns), blocks(columns * rows), inclusion(ToTree(columns, rows)), emptyPlanes(inclusion) {}

  static TagTree ToTree(std::size_t columns, std::size_t rows) {
    return {static_cast<std::int64_t>(columns), static_cast<std::int64_t>(rows)};
  }

  /// The bytes that a packet has of the band.
  std::int64_t Take(int style, int layer, HeadBits& bits) {
    std::int64_t numBytes = 0;
    for (std::size_t i = 0; i < blocks.size() && !bits.HasFailed(); ++i) {
      HeadBlock& block = blocks[i];
      const std::size_t x = i % width, y = i / width;
      const bool isNew = block.mostPasses == 0;
      if (!(isNew ? inclusion.IsBelow(x, y, layer + 1, bits) : bits.Take())) continue;
      if (isNew && !emptyPlanes.IsBelow(x, y, kMostEmptyPlanes, bits)) bits.Fail();
      if (isNew) block.mostPasses = MostPasses(style, 0);
      const int numPasses = TakeNumPasses(bits);
      while (block.lengthBits <= kMostLengthBits && bits.Take()) ++block.lengthBits;
      numBytes += TakeLengths(style, numPasses, block, bits);
    }
    return numBytes;
  }

  std::size_t width;
  std::vector<HeadBlock> blocks;  // row by row
  TagTree inclusion;
  TagTree emptyPlanes;
};

struct J2kPacketWalk::Precinct {
  int component = 0;
  int resolution = 0;
  std::int64_t x = 0;  // its number in its row, counted from the origin of the grid
  std::int64_t y = 0;
  std::int64_t gridX = 0;  // where it begins
  std::int64_t gridY = 0;
  std::vector<Band> bands = {};  // empty before its first packet with data and behind its last one
};

J2kPacketWalk::~J2kPacketWalk() = default;

bool J2kPacketWalk::CanWalk(const J2kTileCoding& coding) {
  return !coding.changesOrder && coding.progression <= kLastOrder &&
         std::ranges::none_of(coding.ofComponents,
                              [](const J2kCoding& each) { return (each.style & kHighThroughput) != 0; });
}

J2kPacketWalk::J2kPacketWalk(const J2kHeader& header, const J2kTileCoding& coding, const J2kRect& tile, int level,
                             const int* cancel)
    : header_(header), coding_(coding), tile_(tile), cancel_(cancel) {
  int highest = 0;
  for (const J2kCoding& each : coding.ofComponents) highest = std::max(highest, each.numLevels - level);
  for (int c = 0; c < std::ssize(header.components); ++c) {
    const int numLevels = coding.ofComponents[static_cast<std::size_t>(c)].numLevels;
    for (int resolution = 0; resolution <= std::min(numLevels, highest); ++resolution) {
      AddResolution(tile, c, resolution);
    }
  }
  Sort();
  groupEnd_ = FindGroupEnd();
}

bool J2kPacketWalk::IsAtEnd() const {
  return place_ == precincts_.size();
}

void J2kPacketWalk::AddResolution(const J2kRect& tile, int component, int resolution) {
  const J2kCoding& coding = coding_.ofComponents[static_cast<std::size_t>(component)];
  const J2kComponent& of = header_.components[static_cast<std::size_t>(component)];
  const int numHalvings = coding.numLevels - resolution;
  const J2kRect samples = header_.ReduceRect(tile, component, numHalvings);
  if (samples.IsEmpty()) return;
  const int precinct = coding.precincts[static_cast<std::size_t>(resolution)];
  const int widthBits = precinct & 15, heightBits = precinct >> 4;
  const auto onGrid = [numHalvings](std::int64_t place, int distance, std::int64_t first) {
    return std::max(first, (place * distance) << numHalvings);
  };
  for (std::int64_t y = samples.y0 >> heightBits; y <= (samples.y1 - 1) >> heightBits; ++y) {
    for (std::int64_t x = samples.x0 >> widthBits; x <= (samples.x1 - 1) >> widthBits; ++x) {
      precincts_.push_back({component, resolution, x, y, onGrid(x << widthBits, of.dx, tile.x0),
                            onGrid(y << heightBits, of.dy, tile.y0)});
    }
  }
}

void J2kPacketWalk::Sort() {
  const auto keyOf = [order = coding_.progression](const Precinct& each) {
    const auto& [component, resolution, x, y, gridX, gridY, bands] = each;
    using Key = std::array<std::int64_t, 4>;
    if (order == kByResolutionAndPlaceFirst) return Key{resolution, gridY, gridX, component};
    if (order == kByPlaceFirst) return Key{gridY, gridX, component, resolution};
    if (order == kLastOrder) return Key{component, gridY, gridX, resolution};
    return Key{resolution, component, y, x};
  };
  std::ranges::sort(precincts_, {}, keyOf);
}

/// A precinct of a resolution above the smallest has half as many columns and rows in each of its bands.
std::vector<J2kPacketWalk::Band> J2kPacketWalk::MakeBands(const Precinct& precinct) const {
  const auto resolution = static_cast<std::size_t>(precinct.resolution);
  const J2kCoding& coding = coding_.ofComponents[static_cast<std::size_t>(precinct.component)];
  const int isHalved = precinct.resolution > 0 ? 1 : 0;
  const int widthBits = (coding.precincts[resolution] & 15) - isHalved;
  const int heightBits = (coding.precincts[resolution] >> 4) - isHalved;
  const int numHalvings = coding.numLevels - precinct.resolution + isHalved;
  const J2kRect samples = header_.ReduceRect(tile_, precinct.component, isHalved ? 0 : numHalvings);
  const auto countBlocks = [](std::int64_t first, std::int64_t end, int bits) {
    return first < end ? static_cast<std::size_t>(((end - 1) >> bits) - (first >> bits) + 1) : std::size_t{0};
  };
  std::vector<Band> bands;
  for (int band = isHalved; band <= 3 * isHalved; ++band) {
    const J2kRect part = Intersect(BandRect(samples, band, numHalvings),
                                   {precinct.x << widthBits, precinct.y << heightBits, (precinct.x + 1) << widthBits,
                                    (precinct.y + 1) << heightBits});
    const std::size_t columns = countBlocks(part.x0, part.x1, std::min(coding.blockWidthBits, widthBits));
    const std::size_t rows = countBlocks(part.y0, part.y1, std::min(coding.blockHeightBits, heightBits));
    if (columns > 0 && rows > 0) bands.emplace_back(columns, rows);
  }
  return bands;
}

std::size_t J2kPacketWalk::FindGroupEnd() const {
  if (coding_.progression == kByLayerFirst) return precincts_.size();
  if (coding_.progression != kByResolutionFirst) return std::min(group_ + 1, precincts_.size());
  std::size_t end = group_;
  while (end < precincts_.size() && precincts_[end].resolution == precincts_[group_].resolution) ++end;
  return end;
}

void J2kPacketWalk::Advance() {
  if (++place_ < groupEnd_) return;
  place_ = group_;
  if (++layer_ < coding_.numLayers) return;
  layer_ = 0;
  group_ = place_ = groupEnd_;
  groupEnd_ = FindGroupEnd();
}

/// The blocks of the next packet's precinct.
std::int64_t J2kPacketWalk::CountBlocks(Precinct& precinct) const {
  if (precinct.bands.empty()) precinct.bands = MakeBands(precinct);
  std::int64_t count = 0;
  for (const Band& band : precinct.bands) count += std::ssize(band.blocks);
  return count;
}

/// A block has 164 passes at most, with a length of 32 bits each. It has two nodes at most in each of its two trees,
/// and a node of the first takes a bit for each layer. Seven bits of a byte count at least.
std::int64_t J2kPacketWalk::CountMostHeadBytes() {
  constexpr std::int64_t kOfAny = 16, kOfBlock = 1024;
  if (IsAtEnd()) return 0;
  return kOfAny + CountBlocks(precincts_[place_]) * (kOfBlock + coding_.numLayers / 2);
}

bool J2kPacketWalk::MayVisit(Precinct& precinct) {
  numVisits_ += CountBlocks(precinct);
  hasGivenUp_ = numVisits_ > kFreeVisits + kVisitsPerByte * numBytes_;
  return !hasGivenUp_;
}

/// What the heads before have told is changed only by a head that is whole. An empty packet changes nothing.
std::optional<J2kPacketWalk::Packet> J2kPacketWalk::Take(HeadSpan bytes) {
  hasGivenUp_ = hasGivenUp_ || XfnIsStopRequested(cancel_);
  if (IsAtEnd() || hasGivenUp_) return std::nullopt;
  Precinct& precinct = precincts_[place_];
  HeadBits bits(bytes);
  Packet packet;
  std::vector<Band> bands;
  const bool isEmpty = !bits.Take();
  if (!isEmpty) {
    if (!MayVisit(precinct)) return std::nullopt;
    bands = precinct.bands;
    const int style = coding_.ofComponents[static_cast<std::size_t>(precinct.component)].style;
    for (Band& band : bands) packet.dataBytes += band.Take(style, layer_, bits);
  }
  bits.Align();
  if (bits.HasFailed()) return std::nullopt;
  packet.headBytes = bits.CountBytes();
  const HeadSpan behind = bytes.subspan(packet.headBytes);
  const bool hasMark = coding_.hasPacketMarks && behind.size() >= 2 && behind[0] == kMarkerBehindHead >> 8 &&
                       behind[1] == (kMarkerBehindHead & 0xFF);
  if (hasMark) packet.headBytes += 2;
  numBytes_ += static_cast<std::int64_t>(packet.headBytes);
  if (!isEmpty) precinct.bands = std::move(bands);
  if (layer_ + 1 == coding_.numLayers) precinct.bands = std::vector<Band>();
  Advance();
  return packet;
}

bool ArePackedHeadsWhole(HeadSpan heads, std::int64_t numDataBytes, J2kPacketWalk& walk) {
  std::int64_t numBytes = 0;
  while (!walk.IsAtEnd()) {
    const std::optional<J2kPacketWalk::Packet> packet = walk.Take(heads);
    if (!packet) return walk.HasGivenUp();
    heads = heads.subspan(packet->headBytes);
    numBytes += packet->dataBytes;
  }
  return heads.empty() && (walk.MayHaveMarks() || numBytes == numDataBytes);
}

namespace {

/// Bytes of a file up to an end. Where packets are small, those of many heads are read by one call.
class BytesAhead {
 public:
  BytesAhead(DiskFile& file, std::int64_t end) : file_(file), end_(end) {}

  /// So many bytes at an offset, for the head of a packet of a length. Nothing where the disk fails or the file ends.
  std::optional<HeadSpan> At(std::int64_t offset, std::int64_t count, std::int64_t packetLength) {
    const bool isThere = offset >= offset_ && offset - offset_ + count <= std::ssize(bytes_);
    if (!isThere && !Read(offset, count, packetLength <= kSmallPacket ? kAhead : 0)) return std::nullopt;
    return HeadSpan(bytes_).subspan(static_cast<std::size_t>(offset - offset_), static_cast<std::size_t>(count));
  }

 private:
  static constexpr std::int64_t kAhead = 32 << 10, kSmallPacket = 4 << 10;

  /// A file that was cut may have the bytes that are needed, and not those ahead.
  bool Read(std::int64_t offset, std::int64_t count, std::int64_t ahead) {
    bytes_.resize(static_cast<std::size_t>(std::max(count, std::min(ahead, end_ - offset))));
    const std::int64_t numRead = file_.ReadAt(offset, bytes_.data(), std::ssize(bytes_));
    bytes_.resize(static_cast<std::size_t>(std::max<std::int64_t>(numRead, 0)));
    offset_ = offset;
    return numRead >= count;
  }

  DiskFile& file_;
  std::int64_t end_;
  std::int64_t offset_ = 0;
  std::vector<unsigned char> bytes_;
};

}  // namespace

/// Most heads are short, so that little of a packet is looked at first.
std::optional<bool> HaveLengths(DiskFile& file, std::int64_t offset, std::span<const std::uint32_t> lengths,
                                J2kPacketWalk& walk) {
  constexpr std::int64_t kUsual = 512, kMost = 16 << 20;
  BytesAhead bytes(file, std::accumulate(lengths.begin(), lengths.end(), offset));
  for (const std::int64_t length : lengths) {
    std::optional<J2kPacketWalk::Packet> packet;
    for (std::int64_t most = std::min(kUsual, length);;) {
      const std::optional<HeadSpan> head = bytes.At(offset, most, length);
      if (!head) return std::nullopt;
      packet = walk.Take(*head);
      if (packet) break;
      const std::int64_t all = std::min(length, walk.CountMostHeadBytes());
      if (walk.HasGivenUp()) return std::nullopt;
      if (most >= all) return false;
      if (most >= kMost) return std::nullopt;
      most = std::min({most * 8, all, kMost});
    }
    if (static_cast<std::int64_t>(packet->headBytes) + packet->dataBytes != length) return false;
    offset += length;
  }
  return true;
}

}  // namespace zrk
