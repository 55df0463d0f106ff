// Heads of packets that no encoder writes. A walk over them ends soon and with little memory, in what they are worth or
// in the word that it was given up. Heads are put together bit by bit here, by the standard.

#include "base/BytesFile.h"
#include "ByteFlips.h"
#include "codec/J2kPacketWalk.h"
#include "Stopwatch.h"
#include "XThread.h"

#include <gtest/gtest.h>

namespace {

using HeadBytes = std::vector<unsigned char>;

/// One tile of one component and one resolution, of code blocks of 4 x 4 samples in one precinct.
zrk::J2kHeader MakeHeader(int blocksAcross, int numLayers) {
  zrk::J2kHeader header;
  header.grid = header.firstTile = {0, 0, 4 * blocksAcross, 4 * blocksAcross};
  header.tilesAcross = header.tilesDown = 1;
  header.components.resize(1);
  header.coding.numLayers = numLayers;
  header.coding.ofComponents.resize(1);
  header.coding.ofComponents[0].blockWidthBits = header.coding.ofComponents[0].blockHeightBits = 2;
  header.coding.ofComponents[0].precincts.fill(0xFF);
  return header;
}

zrk::J2kPacketWalk Walk(const zrk::J2kHeader& header, const int* cancel = nullptr) {
  return {header, header.coding, header.GetTileRect(0), 0, cancel};
}

/// Behind a byte of ones the highest bit is left out.
class HeadWriter {
 public:
  HeadWriter& Put(int count, bool bit) {
    for (int i = 0; i < count; ++i) {
      if (numLeft_ == 0) {
        numLeft_ = !bytes_.empty() && bytes_.back() == 0xFF ? 7 : 8;
        bytes_.push_back(0);
      }
      bytes_.back() = static_cast<unsigned char>(bytes_.back() | bit << --numLeft_);
    }
    return *this;
  }
  const HeadBytes& Get() const { return bytes_; }

 private:
  HeadBytes bytes_;
  int numLeft_ = 0;
};

/// A packet whose first block, below so many floors of trees, has so many empty bit planes, and one pass of no bytes.
HeadWriter HeadOfPlanes(int numFloors, int numPlanes) {
  constexpr int kPassAndLength = 5;  // one bit for the pass, one for an unchanged width of lengths, three of a length
  return HeadWriter().Put(1 + numFloors, true).Put(numPlanes, false).Put(numFloors, true).Put(kPassAndLength, false);
}

class J2kHostileHeads : public testing::Test {
 protected:
  void TearDown() override { EXPECT_LT(watch_.Seconds(), 3.0 * static_cast<double>(TrialStep())); }

 private:
  Stopwatch watch_;
};

/// Two times 37 planes are the most that a codestream can have.
TEST_F(J2kHostileHeads, HaveAsManyEmptyBitPlanesAsThereCanBeAndNotFarMore) {
  const zrk::J2kHeader header = MakeHeader(1, 1);
  for (const int numPlanes : {0, 37, 74, 1000, 100000}) {
    zrk::J2kPacketWalk walk = Walk(header);
    const HeadBytes head = HeadOfPlanes(1, numPlanes).Get();
    const auto packet = walk.Take(head);
    ASSERT_EQ(numPlanes <= 74, packet.has_value()) << numPlanes;
    if (!packet) continue;
    EXPECT_EQ(head.size(), packet->headBytes) << numPlanes;
  }
}

/// 512 x 512 blocks have ten floors. Each block behind the first one has the planes of the nodes above it.
TEST_F(J2kHostileHeads, OfMegabytesOfEmptyBitPlanesEndSoon) {
  const zrk::J2kHeader header = MakeHeader(512, 1);
  HeadWriter writer = HeadOfPlanes(10, 8 << 20);
  for (int i = 0; i < 1000; ++i) writer.Put(2, true).Put(5, false);
  const HeadBytes& head = writer.Get();
  zrk::BytesFile file(head);
  const std::uint32_t length[] = {static_cast<std::uint32_t>(head.size())};
  zrk::J2kPacketWalk walk = Walk(header), packed = Walk(header);
  EXPECT_EQ(false, zrk::HaveLengths(file, 0, length, walk));
  EXPECT_FALSE(zrk::ArePackedHeadsWhole(head, 0, packed));
}

/// The length of a packet with one block would take 4 GB.
TEST_F(J2kHostileHeads, AreReadAsFarAsTheirBlocksCanTake) {
  const zrk::J2kHeader header = MakeHeader(1, 1);
  HeadBytes head(16 << 10);
  head[0] = 0xC0;
  zrk::BytesFile file(head);
  zrk::J2kPacketWalk walk = Walk(header);
  const std::uint32_t length[] = {UINT32_MAX};
  EXPECT_EQ(false, zrk::HaveLengths(file, 0, length, walk));
}

TEST_F(J2kHostileHeads, WithOneWidthOfLengthsBeyondAllNumbersAreNone) {
  const zrk::J2kHeader header = MakeHeader(1, 1);
  const HeadBytes head = HeadWriter().Put(3, true).Put(1, false).Put(1 << 20, true).Put(64, false).Get();
  zrk::J2kPacketWalk walk = Walk(header);
  EXPECT_FALSE(walk.Take(head));
}

/// The first packet has something of a block, so that there is something to know of all blocks from then on.
TEST_F(J2kHostileHeads, OfEmptyPacketsCostNothingForEachBlock) {
  const zrk::J2kHeader header = MakeHeader(300, 65535);
  HeadBytes heads = HeadWriter().Put(11, true).Put(10, true).Put(5, false).Put(3, false).Put(20, false).Get();
  zrk::J2kPacketWalk walk = Walk(header);
  const auto first = walk.Take(heads);
  ASSERT_TRUE(first);
  heads.resize(first->headBytes);
  heads.resize(first->headBytes + 65534);
  zrk::J2kPacketWalk packed = Walk(header);
  EXPECT_TRUE(zrk::ArePackedHeadsWhole(heads, first->dataBytes, packed));
  EXPECT_TRUE(packed.IsAtEnd());
}

/// Packets of a byte that say of no block that they have something of it.
TEST_F(J2kHostileHeads, ThatSayTooLittleForTheirBlocksAreGivenUp) {
  const zrk::J2kHeader header = MakeHeader(512, 65535);
  const HeadBytes heads(65535, 0x80);
  zrk::BytesFile file(heads);
  const std::vector<std::uint32_t> lengths(65535, 1);
  zrk::J2kPacketWalk walk = Walk(header), packed = Walk(header);
  EXPECT_EQ(std::nullopt, zrk::HaveLengths(file, 0, lengths, walk));
  EXPECT_TRUE(walk.HasGivenUp() && !walk.IsAtEnd());
  EXPECT_TRUE(zrk::ArePackedHeadsWhole(heads, 0, packed));
  EXPECT_TRUE(packed.HasGivenUp() && !packed.IsAtEnd());
}

/// Few blocks cost little, in however many layers.
TEST_F(J2kHostileHeads, ThatSayLittleOfFewBlocksAreGoneThrough) {
  const zrk::J2kHeader header = MakeHeader(8, 65535);
  const HeadBytes heads(65535, 0x80);
  zrk::J2kPacketWalk packed = Walk(header);
  EXPECT_TRUE(zrk::ArePackedHeadsWhole(heads, 0, packed));
  EXPECT_TRUE(packed.IsAtEnd());
}

TEST_F(J2kHostileHeads, AreGivenUpWhereAStopIsAskedFor) {
  const zrk::J2kHeader header = MakeHeader(8, 3);
  alignas(4) int state = XThread::kStateRun;
  zrk::J2kPacketWalk walk = Walk(header, &state);
  const HeadBytes heads(2);
  EXPECT_TRUE(walk.Take(heads));
  state = XThread::kStateStop;
  EXPECT_FALSE(walk.Take(heads));
  EXPECT_TRUE(walk.HasGivenUp());
  zrk::BytesFile file(heads);
  const std::uint32_t lengths[] = {1, 1};
  EXPECT_EQ(std::nullopt, zrk::HaveLengths(file, 0, lengths, walk));
}

}  // namespace
