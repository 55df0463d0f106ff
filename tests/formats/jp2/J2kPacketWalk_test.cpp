// The packets of tiles are walked through, and their lengths compared with those that OpenJPEG lists (PLT). Images lie
// anywhere on the grid, and have tiles, precincts and code blocks of many sizes.

#include "codec/J2kPacketWalk.h"

#include "base/BytesFile.h"
#include "codec/J2kIndexReader.h"
#include "codec/J2kPacketReader.h"
#include "Jp2Builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

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

TEST(J2kPacketWalk, EndsBehindThePacketsOfALevel) {
  const WalkBytes bytes = Listed("RPCL").Precincts(32).CodeBlocks(16, 16).BuildCodestream();
  zrk::BytesFile file(bytes);
  zrk::J2kHeader header;
  XString err;
  ASSERT_EQ(1, zrk::ReadJ2kHeader(file, 0, std::ssize(bytes), header, err)) << err.GetText();
  zrk::J2kIndex index;
  ASSERT_TRUE(index.Walk(file, header, std::ssize(header.bytes), std::ssize(bytes)));
  std::int64_t offset = 0;
  const PartLengths lengths = ListLengths(bytes, index.PartsOf(0).front(), offset);
  for (int level = 1; level <= 3; ++level) {
    const auto count = zrk::CountPackets(header, header.coding, header.GetTileRect(0), level);
    ASSERT_TRUE(count);
    zrk::J2kPacketWalk walk(header, header.coding, header.GetTileRect(0), level);
    const auto needed = std::span(lengths).first(static_cast<std::size_t>(count->needed));
    EXPECT_EQ(true, zrk::HaveLengths(file, offset, needed, walk)) << level;
    EXPECT_TRUE(walk.IsAtEnd()) << level;
  }
}

}  // namespace
