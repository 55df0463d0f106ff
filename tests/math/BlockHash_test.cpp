// The hash of blocks against values that the published library gives.

#include "math/BlockHash.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <vector>

namespace {

std::vector<unsigned char> MakeBlock() {
  std::vector<unsigned char> block(static_cast<std::size_t>(zrk::kHashBlock));
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(i * 7 ^ i >> 4);
  return block;
}

TEST(BlockHash, IsXxh3) {
  EXPECT_EQ(0x9B8AD06EBB5B3B6BU, zrk::HashBlock(MakeBlock().data()));
  EXPECT_EQ(0x93D76FE148C689BAU, zrk::HashBlock(std::vector<unsigned char>(4096, 0).data()));
  EXPECT_EQ(0x074CFAC273851DD6U, zrk::HashBlock(std::vector<unsigned char>(4096, 0xFF).data()));
}

TEST(BlockHash, IsTheSameOnEveryMachine) {
  const auto block = MakeBlock();
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    EXPECT_EQ(0x9B8AD06EBB5B3B6BU, zrk::HashBlock(block.data())) << hwy::TargetName(target);
  }
  hwy::SetSupportedTargetsForTest(0);
}

TEST(BlockHash, DoesNotDependOnWhereTheBlockLies) {
  const auto block = MakeBlock();
  for (std::size_t shift = 0; shift < 64; ++shift) {
    std::vector<unsigned char> room(shift);
    room.insert(room.end(), block.begin(), block.end());
    EXPECT_EQ(0x9B8AD06EBB5B3B6BU, zrk::HashBlock(room.data() + shift)) << shift;
  }
}

TEST(BlockHash, ChangesWithAnyByte) {
  auto block = MakeBlock();
  for (unsigned char& byte : block) {
    byte ^= 1;
    EXPECT_NE(0x9B8AD06EBB5B3B6BU, zrk::HashBlock(block.data()));
    byte ^= 1;
  }
}

}  // namespace
