// The packets of tiles are walked through, and their lengths compared with those that OpenJPEG lists (PLT). Images lie
// anywhere on the grid, and have tiles, precincts and code blocks of many sizes.

#include "codec/J2kPacketWalk.h"

#include "base/BytesFile.h"
#include "codec/J2kIndexReader.h"
#include "codec/J2kPacketReader.h"
#include "FaultyDisk.h"
#include "Jp2Builder.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <optional>
#include <span>

namespace {

using WalkBytes = std::vector<unsigned char>;
using PartLengths = std::vector<std::uint32_t>;

constexpr const char* kOrders[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};

/// The lengths that a tile-part lists, and where its first packet begins.
PartLengths ListLengths(const WalkBytes& bytes, const zrk::J2kTilePart& part, std::int64_t& offset) {
  constexpr WalkBytes::value_type kData[] = {0xFF, 0x93};
  const auto begin = bytes.begin() + part.offset + zrk::J2kPartHead::kBytes;
  const auto data = std::search(begin, bytes.end(), std::begin(kData), std::end(kData));
  const WalkBytes header(begin, data);
  std::vector<zrk::J2kSegment> segments;
  EXPECT_TRUE(zrk::ListJ2kSegments(header, 0, segments));
  offset = data + 2 - bytes.begin();
  return zrk::ParsePacketLengths(header, segments);
}

/// Whether all packets of all tiles have the lengths that the codestream lists.
bool AgreesWithLists(const Jp2Builder& builder) {
  const WalkBytes bytes = builder.BuildCodestream();
  zrk::BytesFile file(bytes);
  zrk::J2kHeader header;
  zrk::J2kIndex index;
  XString err;
  const std::int64_t end = std::ssize(bytes);
  const bool isOpen =
      zrk::ReadJ2kHeader(file, 0, end, header, err) != 0 && index.Walk(file, header, std::ssize(header.bytes), end);
  EXPECT_TRUE(isOpen && zrk::J2kPacketWalk::CanWalk(header.coding)) << err.GetText();
  bool areRight = isOpen;
  for (int tile = 0; areRight && tile < header.CountTiles(); ++tile) {
    zrk::J2kPacketWalk walk(header, header.coding, header.GetTileRect(tile), 0);
    for (const zrk::J2kTilePart& part : index.PartsOf(tile)) {
      std::int64_t offset = 0;
      const PartLengths lengths = ListLengths(bytes, part, offset);
      areRight = areRight && zrk::HaveLengths(file, offset, lengths, walk).value_or(false);
    }
    areRight = areRight && walk.IsAtEnd();
  }
  return areRight;
}

Jp2Builder Listed(const char* order) {
  return Jp2Builder().Size(150, 110).Levels(3).Order(order).PacketLengths();
}

TEST(J2kPacketWalk, MeetsThePacketsOfATileInEachOrder) {
  for (const char* order : kOrders) EXPECT_TRUE(AgreesWithLists(Listed(order))) << order;
}

TEST(J2kPacketWalk, MeetsThoseOfSeveralComponentsAndLayers) {
  for (const char* order : kOrders) {
    EXPECT_TRUE(AgreesWithLists(Listed(order).Components(3).Layers({20, 8, 3, 1}))) << order;
    EXPECT_TRUE(AgreesWithLists(Listed(order).Components(2, 16, true).Layers({9, 1}))) << order;
  }
}

TEST(J2kPacketWalk, MeetsThoseOfPrecinctsAndCodeBlocksOfAnySize) {
  for (const char* order : kOrders) {
    for (const int side : {32, 64, 128}) {
      EXPECT_TRUE(AgreesWithLists(Listed(order).Precincts(side).CodeBlocks(16, 8).Layers({6, 1}))) << order << side;
    }
  }
}

TEST(J2kPacketWalk, MeetsThoseOfTilesAnywhereOnTheGrid) {
  for (const char* order : kOrders) {
    const Jp2Builder tiled = Listed(order).Origin(37, 21).Tiles(64, 48, 5, 13).Precincts(32).CodeBlocks(8, 8);
    EXPECT_TRUE(AgreesWithLists(tiled)) << order;
  }
}

TEST(J2kPacketWalk, MeetsThoseOfComponentsOfOtherSizes) {
  for (const char* order : kOrders) {
    Jp2Builder builder = Listed(order).Components(3).Component(1, 8, false, 2, 2).Component(2, 8, false, 3, 1);
    EXPECT_TRUE(AgreesWithLists(builder.Origin(11, 7).Precincts(64))) << order;
  }
}

/// Passes that end apart from each other have lengths of their own.
TEST(J2kPacketWalk, MeetsThoseOfCodeBlocksOfEachStyle) {
  for (const int style : {1, 2, 4, 5, 8, 32, 63}) {
    EXPECT_TRUE(AgreesWithLists(Listed("LRCP").Components(1, 12).BlockStyle(style).Layers({7, 2, 1}))) << style;
  }
}

TEST(J2kPacketWalk, GoesFromOnePartOfATileToTheNext) {
  EXPECT_TRUE(AgreesWithLists(Listed("RLCP").PartPerResolution().Layers({4, 1})));
}

/// A codestream of one tile in one part.
struct ListedTile {
  explicit ListedTile(const Jp2Builder& builder) : bytes(builder.BuildCodestream()) {
    zrk::BytesFile file(bytes);
    zrk::J2kIndex index;
    XString err;
    EXPECT_EQ(1, zrk::ReadJ2kHeader(file, 0, std::ssize(bytes), header, err)) << err.GetText();
    EXPECT_TRUE(index.Walk(file, header, std::ssize(header.bytes), std::ssize(bytes)));
    lengths = ListLengths(bytes, index.PartsOf(0).front(), offset);
  }
  zrk::J2kPacketWalk Walk(int level = 0) const { return {header, header.coding, header.GetTileRect(0), level}; }
  std::optional<bool> HaveLengthsIn(zrk::DiskFile& file) const {
    zrk::J2kPacketWalk walk = Walk();
    return zrk::HaveLengths(file, offset, lengths, walk);
  }

  WalkBytes bytes;
  zrk::J2kHeader header;
  std::int64_t offset = 0;
  PartLengths lengths;
};

TEST(J2kPacketWalk, EndsBehindThePacketsOfALevel) {
  const ListedTile tile(Listed("RPCL").Precincts(32).CodeBlocks(16, 16));
  zrk::BytesFile file(tile.bytes);
  for (int level = 1; level <= 3; ++level) {
    const auto count = zrk::CountPackets(tile.header, tile.header.coding, tile.header.GetTileRect(0), level);
    ASSERT_TRUE(count);
    zrk::J2kPacketWalk walk = tile.Walk(level);
    const auto needed = std::span(tile.lengths).first(static_cast<std::size_t>(count->needed));
    EXPECT_EQ(true, zrk::HaveLengths(file, tile.offset, needed, walk)) << level;
    EXPECT_TRUE(walk.IsAtEnd()) << level;
  }
}

/// Hundreds of packets of less than four kilobytes each, in a file on a disk that counts.
class J2kSmallPackets : public testing::Test {
 protected:
  J2kSmallPackets() {
    folder_.Write("a.j2k", tile_.bytes);
    EXPECT_EQ(0, disk_.Open(folder_.Path("a.j2k"), {}, file_));
  }
  std::int64_t CountBytes() const {
    return std::accumulate(tile_.lengths.begin(), tile_.lengths.end(), std::int64_t{0});
  }

  const ListedTile tile_{
      Jp2Builder().Size(400, 300).Levels(3).Order("RPCL").Precincts(32).Layers({3, 1}).PacketLengths()};
  TempFolder folder_;
  FaultyDisk disk_;
  std::shared_ptr<zrk::DiskFile> file_;
};

TEST_F(J2kSmallPackets, AreReadByOneCallForThirtyTwoKilobytes) {
  constexpr std::int64_t kAhead = 32768;
  ASSERT_GT(tile_.lengths.size(), 300U);
  ASSERT_LT(*std::ranges::max_element(tile_.lengths), 4096U);
  const int before = disk_.GetReadCount();
  EXPECT_EQ(true, tile_.HaveLengthsIn(*file_));
  // A piece ends within a packet, of which 4 kilobytes at most are read again.
  EXPECT_LE(disk_.GetReadCount() - before, CountBytes() / (kAhead - 4096) + 1);
  EXPECT_LE(disk_.GetBytesRead(), CountBytes() + 4096 * (disk_.GetReadCount() - before));
}

TEST_F(J2kSmallPackets, AreNotComparedWhereTheDiskFails) {
  const int before = disk_.GetReadCount();
  ASSERT_EQ(true, tile_.HaveLengthsIn(*file_));
  const int numReads = disk_.GetReadCount() - before;
  for (int nth = 1; nth <= numReads; ++nth) {
    disk_.FailRead(disk_.GetReadCount() + nth);
    EXPECT_EQ(std::nullopt, tile_.HaveLengthsIn(*file_)) << nth;
  }
}

/// Of each packet the first 512 bytes are looked at, and in these files that is enough.
TEST_F(J2kSmallPackets, AreComparedInAFileThatIsCutBehindTheLastHead) {
  const std::int64_t last = tile_.lengths.back();
  const std::int64_t needed = tile_.offset + CountBytes() - last + std::min<std::int64_t>(last, 512);
  for (const std::int64_t missing : {1, 2, 100, 5000, 40000}) {
    zrk::BytesFile whole(std::span(tile_.bytes).first(static_cast<std::size_t>(needed)));
    zrk::BytesFile cut(std::span(tile_.bytes).first(static_cast<std::size_t>(needed - missing)));
    EXPECT_EQ(true, tile_.HaveLengthsIn(whole));
    EXPECT_EQ(std::nullopt, tile_.HaveLengthsIn(cut)) << missing;
  }
}

}  // namespace
