#include "codec/LercGate.h"

#include "codec/TileCodec.h"
#include "TempFolder.h"
#include "XDataType.h"

#include <gtest/gtest.h>
#include <zstd.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned kVersion = 5;

// Behind the header, the mask's length, the two samples of the range, and a byte that says that blocks follow.
constexpr std::size_t kFirstBlock = 75;

/// A tile of one block of 8 by 8 numbers that differ widely, so that they are packed.
Bytes PackedBlob() {
  std::mt19937 random(7);
  std::vector<std::uint16_t> samples = {0};
  while (samples.size() < 64) samples.push_back(static_cast<std::uint16_t>(random()));
  zrk::TileBlob blob;
  EXPECT_TRUE(zrk::EncodeTile(samples.data(), kPint16, 8, 8, 3.0, blob));
  if (blob.coding == zrk::TileCoding::kLerc) return blob.bytes;
  Bytes lerc(1000);
  lerc.resize(ZSTD_decompress(lerc.data(), lerc.size(), blob.bytes.data(), blob.bytes.size()));
  return lerc;
}

TEST(LercGate, TakesWhatTheEncoderMakes) {
  EXPECT_TRUE(zrk::IsSoundLerc(PackedBlob(), kVersion));
}

TEST(LercGate, TakesOneVersionOnly) {
  for (const unsigned version : {0U, 2U, 4U, 6U}) EXPECT_FALSE(zrk::IsSoundLerc(PackedBlob(), version));
}

TEST(LercGate, RefusesABlobThatIsCutAnywhere) {
  const Bytes blob = PackedBlob();
  for (std::size_t size = 0; size < blob.size(); ++size) {
    EXPECT_FALSE(zrk::IsSoundLerc({blob.data(), size}, kVersion)) << size;
  }
}

TEST(LercGate, RefusesABlockOfAnotherNumberOfSamplesThanItHas) {
  Bytes blob = PackedBlob();
  unsigned char& count = blob[kFirstBlock + 3];
  ASSERT_EQ(64, count);
  for (const unsigned char other : {0, 1, 63, 65, 255}) {
    count = other;
    EXPECT_FALSE(zrk::IsSoundLerc(blob, kVersion)) << int{other};
  }
}

TEST(LercGate, RefusesNumbersOfNoBits) {
  Bytes blob = PackedBlob();
  blob[kFirstBlock + 2] &= 0xE0;
  EXPECT_FALSE(zrk::IsSoundLerc(blob, kVersion));
}

/// One value of 1 bit, and 64 indices of 1 bit each. With two values, indices of 2 bits can be 3, which is none.
TEST(LercGate, RefusesAnIndexBeyondItsTable) {
  Bytes blob = PackedBlob();
  blob.resize(kFirstBlock);
  const Bytes head = {0x41, 0, 0xA1, 64};
  blob.insert(blob.end(), head.begin(), head.end());
  Bytes one = blob, two = blob;
  one.insert(one.end(), {2, 1});
  one.insert(one.end(), 8, 0xFF);
  EXPECT_TRUE(zrk::IsSoundLerc(one, kVersion));
  two.insert(two.end(), {3, 3});
  two.insert(two.end(), 16, 0xAA);
  EXPECT_TRUE(zrk::IsSoundLerc(two, kVersion));
  two.back() = 0xEA;
  EXPECT_FALSE(zrk::IsSoundLerc(two, kVersion));
}

TEST(LercGate, StandsBeforeTheDecoder) {
  // Its first block has fewer numbers than samples, and its checksum is right.
  const Bytes seed = ReadBytes(SourcePath("fuzz/seeds/TileCodec/too_few_numbers"));
  ASSERT_GT(seed.size(), 4u);
  std::vector<std::int32_t> samples(256, 77);
  zrk::TileRoom room;
  EXPECT_FALSE(zrk::DecodeTile({seed.data() + 4, seed.size() - 4}, zrk::TileCoding::kLerc, kSint32, 16, 16,
                               samples.data(), room));
  EXPECT_EQ(77, samples.front());
}

}  // namespace
