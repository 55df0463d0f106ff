#include "tiles/txid/BlockPlanes.h"

#include "TxidBuilder.h"
#include "XImageCodec.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <array>

// Blocks unpacked to planes, against the format's definition and against the codec of whole tiles.

namespace {

using Bytes = TxidBuilder::Bytes;

/// Every test runs with each set of instructions.
class BlockPlanes : public testing::TestWithParam<std::int64_t> {
 protected:
  void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
  void TearDown() override { hwy::SetSupportedTargetsForTest(0); }
};

/// A row of blocks with the room behind it that vectors need.
Bytes WithRoom(Bytes blocks) {
  blocks.resize(blocks.size() + zrk::kMaxBlocksAtOnce * zrk::kBlockBytes, 0xCC);
  return blocks;
}

/// What differs first from the definition; empty where nothing does.
std::string FindDifference(const Bytes& blocks, std::size_t numBlocks) {
  const std::size_t rowBytes = std::max(numBlocks, zrk::kMaxBlocksAtOnce) * 4;
  Bytes planes(16 * rowBytes);
  zrk::BlockRows rows;
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = planes.data() + i * rowBytes;
  zrk::UnpackToPlanes(WithRoom(blocks).data(), numBlocks, rows);
  for (std::size_t x = 0; x < 4 * numBlocks; ++x) {
    const unsigned char* const block = blocks.data() + x / 4 * 8;
    for (int y = 0; y < 4; ++y) {
      const auto inBlock = static_cast<int>(x % 4);
      const TxidBuilder::Pixel expected = TxidBuilder::PixelOf(block, inBlock, y);
      if (zrk::UnpackPixel(block, inBlock, y) != expected) return "the plain form at " + std::to_string(x);
      for (std::size_t k = 0; k < 4; ++k) {
        const std::size_t at = (4 * k + static_cast<std::size_t>(y)) * rowBytes + x;
        if (planes[at] != expected[k]) return "plane " + std::to_string(k) + " at " + std::to_string(x);
      }
    }
  }
  return "";
}

TEST_P(BlockPlanes, OfAnyBlocksAreThoseOfTheDefinition) {
  for (std::uint32_t seed = 0; seed < 60; ++seed) {
    EXPECT_EQ("", FindDifference(TxidBuilder::AnyBlocks(seed, 8 * 64), 64)) << seed;
  }
}

TEST_P(BlockPlanes, OfAnyNumberOfBlocksAreWhole) {
  for (std::size_t count = 1; count <= 40; ++count) {
    EXPECT_EQ("", FindDifference(TxidBuilder::AnyBlocks(static_cast<std::uint32_t>(count), 8 * count), count)) << count;
  }
}

/// What differs first of an area that goes into planes of just its size, which are `gap` bytes wider; what lies between
/// their rows has to stay as it was.
std::string FindDifferenceOfArea(const Bytes& blocks, const zrk::BlockArea& area, std::size_t gap) {
  const std::size_t width = area.end - area.begin + gap, height = 4 * area.numRows;
  std::vector<Bytes> planes(4, Bytes(width * height - gap, 0x5A));
  zrk::PlaneArea to{{}, static_cast<std::ptrdiff_t>(width)};
  for (std::size_t k = 0; k < 4; ++k) to.first[k] = planes[k].data();
  zrk::UnpackAreaToPlanes(area, to);
  for (std::size_t i = 0; i < planes[0].size(); ++i) {
    const std::size_t x = i % width + area.begin, y = i / width;
    const std::size_t block = y / 4 * static_cast<std::size_t>(area.rowBytes) + x / 4 * 8;
    TxidBuilder::Pixel expected = {0x5A, 0x5A, 0x5A, 0x5A};
    if (x < area.end) expected = TxidBuilder::PixelOf(&blocks[block], static_cast<int>(x % 4), static_cast<int>(y % 4));
    for (std::size_t k = 0; k < 4; ++k) {
      if (planes[k][i] == expected[k]) continue;
      return "plane " + std::to_string(k) + " at " + std::to_string(x) + ", " + std::to_string(y);
    }
  }
  return "";
}

TEST_P(BlockPlanes, OfAPartOfARowAreItsPixelsAlone) {
  const Bytes blocks = WithRoom(TxidBuilder::AnyBlocks(9, 8 * 40));
  for (std::size_t begin = 0; begin < 4; ++begin) {
    for (std::size_t end = begin + 1; end <= 160; end += end < 20 || end > 50 ? 1 : 7) {
      EXPECT_EQ("", FindDifferenceOfArea(blocks, {blocks.data(), 8 * 40, 1, begin, end}, 0)) << begin << " to " << end;
    }
  }
}

TEST_P(BlockPlanes, OfManyRowsLieBelowEachOtherAndLeaveAloneWhatIsBeside) {
  const Bytes blocks = WithRoom(TxidBuilder::AnyBlocks(10, 8 * 40 * 5));
  for (std::size_t begin = 0; begin < 4; ++begin) {
    for (const std::size_t end : {4, 17, 63, 64, 65, 128, 157, 160}) {
      for (const std::size_t gap : {0, 1, 70}) {
        EXPECT_EQ("", FindDifferenceOfArea(blocks, {blocks.data(), 8 * 40, 5, begin, end}, gap))
            << begin << " to " << end << " and " << gap;
      }
    }
  }
}

/// A block of the two colours in which each row has all codes.
void AddBlock(unsigned first, unsigned second, Bytes& blocks) {
  for (const unsigned word : {first, second}) {
    blocks.push_back(static_cast<unsigned char>(word));
    blocks.push_back(static_cast<unsigned char>(word >> 8));
  }
  for (const unsigned char codes : {0xE4, 0x1B, 0xB1, 0x4E}) blocks.push_back(codes);
}

TEST_P(BlockPlanes, HaveTheMixturesOfAllComponents) {
  Bytes blocks;
  for (unsigned one = 0; one < 64; ++one) {
    for (unsigned other = 0; other < 64; ++other) {
      AddBlock(one << 5 | (one % 32) << 11 | (other % 32), other << 5 | (other % 32) << 11 | (one % 32), blocks);
    }
  }
  EXPECT_EQ("", FindDifference(blocks, 64 * 64));
}

TEST_P(BlockPlanes, AreTransparentWhereTheFirstColourIsNotGreater) {
  Bytes blocks;
  AddBlock(0x1234, 0x1234, blocks);
  AddBlock(0x1233, 0x1234, blocks);
  AddBlock(0x1235, 0x1234, blocks);
  AddBlock(0x8000, 0x7FFF, blocks);
  const std::array<unsigned char, 4> clear = {0, 0, 0, 0};
  EXPECT_EQ(clear, zrk::UnpackPixel(blocks.data(), 3, 0));
  EXPECT_EQ(clear, zrk::UnpackPixel(blocks.data() + 8, 3, 0));
  EXPECT_EQ(255, zrk::UnpackPixel(blocks.data() + 16, 3, 0)[3]);
  EXPECT_EQ(255, zrk::UnpackPixel(blocks.data() + 24, 3, 0)[3]);
  EXPECT_EQ("", FindDifference(blocks, 4));
}

TEST_P(BlockPlanes, AreWhatTheCodecMakesOfATile) {
  constexpr int kSide = 64;
  Bytes packed = TxidBuilder::AnyBlocks(5, 8 * 16 * 16);
  XImageCodec codec(kSide, 1);
  unsigned char* pixels = nullptr;
  ASSERT_TRUE(codec.DecodeDXT1(21, packed.data(), pixels));
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      // The lowest row of the tile lies first, and pixels are blue, green, red and alpha.
      const unsigned char* const pixel = pixels + 4 * ((kSide - 1 - y) * kSide + x);
      const auto ours = zrk::UnpackPixel(packed.data() + 8 * (y / 4 * 16 + x / 4), x % 4, y % 4);
      ASSERT_EQ((std::array<unsigned char, 4>{pixel[2], pixel[1], pixel[0], pixel[3]}), ours) << x << ", " << y;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Instructions, BlockPlanes, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

}  // namespace
