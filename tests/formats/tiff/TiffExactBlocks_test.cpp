// Exact reads of TIFF files: blocks that are missing, damaged or cut, tall bilevel strips, and the pixels of levels.

#include "ExactTiffs.h"
#include "FaultyDisk.h"
#include "TiffMemory.h"
#include "XBlockCache.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <span>

namespace {

using testing::Each;
using testing::HasSubstr;

class TiffExactBlocks : public ExactTiffs {};

constexpr char kCannotRead[] = "The decoder can't read the block";
constexpr char kNotWhole[] = "The file doesn't hold all of the block";

TEST_F(TiffExactBlocks, AMissingTileIsZeroInItsPlace) {
  for (const int compression : {1, 5}) {
    TiffBuilder file;
    file.Size(48, 32).Tiles(16, 16).Compression(compression).Sparse(1);
    TiffChannels image(Write(BytesOf(file)), kReadExact);
    ASSERT_TRUE(image.IsOpen());
    EXPECT_EQ(All(WithoutBlock(file, 0, 1, 0)), image.ReadAll(0)) << compression;
    EXPECT_THAT(image.Read(0, 0, 16, 31, 0, 15), Each(0u));
  }
}

TEST_F(TiffExactBlocks, AMissingStripIsTheNullValue) {
  const auto file = TiffBuilder().Size(20, 20).Strips(4).Bits(16).Format(2).Sparse(2).Text(42113, "-7");
  TiffChannels image(Write(file), kReadExact);
  ASSERT_TRUE(image.IsOpen());
  EXPECT_EQ(-7.0, image.GetMaster().GetNullValue());
  EXPECT_EQ(All(WithoutBlock(file, 0, 2, 0xFFF9)), image.ReadAll(0));
}

TEST_F(TiffExactBlocks, AMissingBlockOfAPaletteHasTheColourOfEntryZero) {
  const auto file = TiffBuilder().Size(8, 8).Strips(4).Bits(1).Photometric(3).ColourMap(
      {0x8080, 0x1010, 0x4040, 0x2020, 0xC0C0, 0x3030});
  const int colours[] = {0x80, 0x40, 0xC0};
  TiffChannels image(Write(TiffBuilder(file).Sparse(1)), kReadExact);
  for (int c = 0; c < 3; ++c) EXPECT_THAT(image.Read(c, 0, 0, 7, 4, 7), Each(colours[c])) << c;
}

TEST_F(TiffExactBlocks, AMissingBlockOfForeignColoursIsZero) {
  TiffBuilder whole;
  whole.Size(48, 32).Tiles(16, 16).Samples(4).Photometric(5).Compression(5);
  const TiffRgba shown = DecodeTiffRgba(whole.Encode());
  TiffChannels image(Write(TiffBuilder(whole).Sparse(1).Encode()), kReadExact);
  for (int c = 0; c < 4; ++c) {
    ReferenceTiff reference = ReferenceOf(whole, c);
    reference.value = [&](int x, int y) {
      return x / 16 == 1 && y < 16 ? 0 : static_cast<std::uint64_t>(shown.At(x, y, c));
    };
    EXPECT_EQ(All(reference), image.ReadAll(c)) << c;
  }
}

TEST_F(TiffExactBlocks, AMissingBlockOfOnePlaneConcernsItsChannelOnly) {
  const auto file = TiffBuilder().Size(48, 32).Tiles(16, 16).Samples(2).Planar().Sparse(6 + 2);
  TiffChannels image(Write(file), kReadExact);
  EXPECT_EQ(All(ReferenceOf(file, 0)), image.ReadAll(0));
  EXPECT_EQ(All(WithoutBlock(file, 1, 2, 0)), image.ReadAll(1));
}

TEST_F(TiffExactBlocks, ADamagedBlockFailsTheReadWithItsPlace) {
  const auto file = TiffBuilder().Size(48, 32).Tiles(16, 16).Compression(5).Block(4, {0xFF, 0xFF, 0xFF, 0xFF});
  testing::internal::CaptureStderr();
  TiffChannels image(Write(file.Encode()), kReadExact);
  ExpectFailure(image, 0, 0, 47, 0, 31, "The decoder can't read the block at column 16, row 16: ");
  EXPECT_EQ(ReferenceOf(file, 0).Read(0, 0, 47, 0, 15), image.Read(0, 0, 0, 47, 0, 15));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(TiffExactBlocks, ABlockThatDecodesShortFailsTheRead) {
  // Two rows of packed bits where four are due: 128 - 20 + 1 copies of a byte.
  const auto file = TiffBuilder().Size(20, 8).Strips(4).Compression(32773).Block(1, {0xED, 0x07, 0xED, 0x08});
  TiffChannels image(Write(file.Encode()), kReadExact);
  ExpectFailure(image, 0, 0, 19, 4, 4, std::string(kCannotRead) + " at column 0, row 4");
  EXPECT_EQ(ReferenceOf(file, 0).Read(0, 0, 19, 0, 3), image.Read(0, 0, 0, 19, 0, 3));
}

/// Where a block lies in the bytes of a file.
std::span<unsigned char> FindBlock(std::vector<unsigned char>& bytes, std::uint32_t block) {
  auto copy = bytes;
  const TiffPointer tiff = OpenTiffInMemory(copy, "r");
  return std::span(bytes).subspan(TIFFGetStrileOffset(tiff.get(), block), TIFFGetStrileByteCount(tiff.get(), block));
}

TEST_F(TiffExactBlocks, AJpegThatBreaksOffFailsTheRead) {
  auto bytes = TiffBuilder().Size(64, 64).Strips(32).Compression(7).Encode();
  const std::span<unsigned char> strip = FindBlock(bytes, 1);
  std::ranges::fill(strip.subspan(strip.size() / 2), static_cast<unsigned char>(0));
  TiffChannels image(Write(bytes), kReadExact);
  ASSERT_TRUE(image.IsOpen());
  EXPECT_FALSE(image.Read(0, 0, 0, 63, 0, 31).empty());
  ExpectFailure(image, 0, 0, 63, 32, 63, std::string(kCannotRead) + " at column 0, row 32: ");
}

/// Deflate files of 40 x 40 pixels: strips, tiles that lie inside the image or reach below it, and planes.
std::vector<TiffBuilder> DeflateFiles() {
  const auto plain = TiffBuilder().Size(40, 40).Compression(8);
  return {TiffBuilder(plain).Strips(16), TiffBuilder(plain).Strips(16).Bits(16).Predictor(2),
          TiffBuilder(plain).Tiles(16, 16), TiffBuilder(plain).Tiles(16, 16).Samples(3),
          TiffBuilder(plain).Tiles(16, 16).Bits(32).Format(3).Predictor(3)};
}

/// The last four bytes of a stream are a sum of what it holds.
TEST_F(TiffExactBlocks, AWrongSumBehindADeflateStreamFailsTheRead) {
  for (const TiffBuilder& file : DeflateFiles()) {
    const auto sound = file.Encode();
    TiffChannels whole(Write(sound), kReadExact);
    const int across = (40 + file.GetBlockWidth() - 1) / file.GetBlockWidth();
    for (int block = 0; block < 3 * across; ++block) {
      auto bytes = sound;
      FindBlock(bytes, static_cast<std::uint32_t>(block)).back() ^= 1;
      TiffChannels image(Write(bytes), kReadExact);
      const int x = block % across * 16, y = block / across * 16;
      const std::string place = " at column " + std::to_string(x) + ", row " + std::to_string(y);
      ExpectFailure(image, 0, x, x, y, y, kCannotRead + place);
      ExpectFailure(image, 0, 0, 39, 0, 39, kCannotRead + place);
      const int other = y == 0 ? 39 : 0;
      EXPECT_EQ(whole.Read(0, 0, 0, 39, other, other), image.Read(0, 0, 0, 39, other, other));
    }
  }
}

TEST_F(TiffExactBlocks, AWrongSumBehindADeflateStreamOfATileBelowIsNotNoticedInCompatibleReads) {
  const auto file = TiffBuilder().Size(40, 40).Tiles(16, 16).Compression(8);
  auto bytes = file.Encode();
  FindBlock(bytes, 6).back() ^= 1;
  TiffChannels image(Write(bytes), kReadCompatible);
  EXPECT_EQ(file.ValueAt(3, 35, 0), image.Read(0, 0, 3, 3, 35, 35).at(0));
}

TEST_F(TiffExactBlocks, DamageFailsEveryReadWhereDecodedBlocksAreKept) {
  auto bytes = TiffBuilder().Size(64, 64).Strips(32).Compression(7).Encode();
  const std::span<unsigned char> strip = FindBlock(bytes, 1);
  std::ranges::fill(strip.subspan(strip.size() / 2), static_cast<unsigned char>(0));
  XfnSetBlockCacheBytes(std::int64_t{1} << 20);
  TiffChannels image(Write(bytes), kReadExact);
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(image.Read(0, 0, 0, 63, 0, 31).empty()) << i;
    ExpectFailure(image, 0, 0, 63, 0, 63, std::string(kCannotRead) + " at column 0, row 32: ");
  }
  XfnSetBlockCacheBytes(0);
}

TEST_F(TiffExactBlocks, AFileThatEndsBeforeABlockFailsItsRead) {
  auto file = TiffBuilder().Size(20, 20).Strips(4);
  auto bytes = file.Tag(273, 4, {1000, 1080, 1160, 1240, 1320}).Build();
  bytes.resize(1000);
  for (int y = 0; y < 10; ++y) {  // two strips and a half
    for (int x = 0; x < 20; ++x) bytes.push_back(static_cast<unsigned char>(file.ValueAt(x, y, 0)));
  }
  TiffChannels image(Write(bytes), kReadExact);
  EXPECT_EQ(ReferenceOf(file, 0).Read(0, 0, 19, 0, 7), image.Read(0, 0, 0, 19, 0, 7));
  ExpectFailure(image, 0, 3, 4, 8, 8, std::string(kNotWhole) + " at column 0, row 8");
  ExpectFailure(image, 0, 3, 4, 19, 19, std::string(kNotWhole) + " at column 0, row 16");
}

TEST_F(TiffExactBlocks, ACompressedBlockThatIsCutFailsItsRead) {
  // Two strips of four rows in packed bits: 20 bytes as they are, four times.
  const auto file = TiffBuilder().Size(20, 8).Strips(4);
  auto bytes = TiffBuilder(file).Compression(32773).Tag(273, 4, {1000, 1084}).Tag(279, 4, {84, 84}).Build();
  bytes.resize(1000);
  for (int y = 0; y < 8; ++y) {
    bytes.push_back(19);
    for (int x = 0; x < 20; ++x) bytes.push_back(static_cast<unsigned char>(file.ValueAt(x, y, 0)));
  }
  TiffChannels whole(Write(bytes), kReadExact);
  EXPECT_EQ(All(ReferenceOf(file, 0)), whole.ReadAll(0));
  bytes.resize(bytes.size() - 21);
  TiffChannels cut(Write(bytes), kReadExact);
  EXPECT_EQ(ReferenceOf(file, 0).Read(0, 0, 19, 0, 3), cut.Read(0, 0, 0, 19, 0, 3));
  ExpectFailure(cut, 0, 0, 19, 4, 4, std::string(kCannotRead) + " at column 0, row 4: ");
}

TEST_F(TiffExactBlocks, TooFewBytesForAPlainBlockFailItsRead) {
  const auto file = TiffBuilder().Size(20, 20).Strips(4).Tag(279, 4, {80, 80, 79, 80, 80});
  TiffChannels image(Write(file), kReadExact);
  EXPECT_EQ(ReferenceOf(file, 0).Read(0, 0, 19, 0, 7), image.Read(0, 0, 0, 19, 0, 7));
  ExpectFailure(image, 0, 0, 19, 8, 8, std::string(kNotWhole) + " at column 0, row 8");
}

TEST_F(TiffExactBlocks, ATableThatIsTooShortFailsTheReadsOfWhatItLacks) {
  const auto file = TiffBuilder().Size(20, 20).Strips(4).ByteCounts(3);
  TiffChannels image(Write(file), kReadExact);
  ASSERT_TRUE(image.IsOpen()) << image.GetError();
  EXPECT_EQ(ReferenceOf(file, 0).Read(0, 0, 19, 0, 11), image.Read(0, 0, 0, 19, 0, 11));
  ExpectFailure(image, 0, 0, 19, 12, 12, std::string(kNotWhole) + " at column 0, row 12");
}

TEST_F(TiffExactBlocks, AReadErrorFailsTheRead) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  const auto file = TiffBuilder().Size(20, 20).Strips(4).Compression(5);
  TiffChannels image(Write(file.Encode()), kReadExact);
  ASSERT_EQ(ReferenceOf(file, 0).Read(0, 0, 19, 0, 3), image.Read(0, 0, 0, 19, 0, 3));
  disk.FailRead(disk.GetReadCount() + 1);
  ExpectFailure(image, 0, 0, 19, 4, 7, std::string(kCannotRead) + " at column 0, row 4");
  EXPECT_EQ(ReferenceOf(file, 0).Read(0, 0, 19, 4, 7), image.Read(0, 0, 0, 19, 4, 7));
}

TEST_F(TiffExactBlocks, JointReadsFailOnDamageToo) {
  const auto file = TiffBuilder().Size(48, 32).Tiles(16, 16).Samples(3).Compression(5).Block(1, {0xFF, 0xFF, 0xFF});
  TiffChannels image(Write(file.Encode()), kReadExact);
  ZRMBand* const bands[] = {&image.At(0), &image.At(1), &image.At(2)};
  tagXArr2* out[3] = {};
  EXPECT_EQ(0, XfnReadBands(bands, 0, 47, 0, 15, nullptr, out));
  EXPECT_THAT(GetReason(), HasSubstr("column 16, row 0"));
  EXPECT_EQ(1, XfnReadBands(bands, 0, 47, 16, 31, nullptr, out));
}

TEST_F(TiffExactBlocks, ATallBilevelStripHasAllItsRows) {
  const auto file = TiffBuilder().Size(30, 2100).Strips(2100).Bits(1).Compression(5);
  TiffChannels image(Write(file.Encode()), kReadExact);
  ASSERT_TRUE(image.IsOpen());
  EXPECT_EQ(All(ReferenceOf(file, 0)), image.ReadAll(0));
  EXPECT_EQ(ReferenceOf(file, 0).Read(3, 1, 28, 5, 2099), image.Read(0, 3, 1, 28, 5, 2099));
}

/// Every window, whatever blocks it crosses, has the pixels at x0 + i * 2^n and y0 + j * 2^n.
void ExpectGlobalPhase(TiffChannels& image, int c, const ReferenceTiff& reference) {
  std::mt19937 random(11);
  const auto below = [&](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
  for (int i = 0; i < 150; ++i) {
    const int level = 1 + below(5), x0 = below(reference.width - 32), y0 = below(reference.height - 32);
    const int x1 = x0 + 31 + below(reference.width - 31 - x0), y1 = y0 + 31 + below(reference.height - 31 - y0);
    ASSERT_EQ(reference.Read(level, x0, x1, y0, y1), image.Read(c, level, x0, x1, y0, y1))
        << "level " << level << ", " << x0 << " to " << x1 << ", " << y0 << " to " << y1;
  }
}

TEST_F(TiffExactBlocks, LevelsGoOnAcrossTheSeamsOfBlocks) {
  const auto file = TiffBuilder().Size(30, 10).Tiles(5, 16).Pixel([](int x, int, int) { return std::uint64_t(x); });
  TiffChannels image(Write(file), kReadExact);
  EXPECT_EQ(ReferenceTiff::Samples({1, 3, 5, 7, 9, 11, 13}), image.Read(0, 1, 1, 14, 0, 1));
  EXPECT_EQ(ReferenceTiff::Samples({2, 10, 18}), image.Read(0, 3, 2, 25, 0, 7));
}

TEST_F(TiffExactBlocks, LevelsAreTheSameWhateverTheLayout) {
  for (const int compression : {1, 5}) {
    for (const int bits : {1, 8, 12, 16}) {
      TiffBuilder tiles, strips;
      tiles.Size(77, 61).Tiles(16, 32).Bits(bits).Samples(2).Compression(compression);
      strips.Size(77, 61).Strips(5).Bits(bits).Samples(2).Planar().Compression(compression);
      for (const TiffBuilder& file : {tiles, strips}) {
        TiffChannels image(Write(BytesOf(file)), kReadExact);
        for (int c = 0; c < 2; ++c) ExpectGlobalPhase(image, c, ReferenceOf(file, c));
      }
    }
  }
}

TEST_F(TiffExactBlocks, LevelsLeaveMissingBlocksInTheirPlace) {
  const auto file = TiffBuilder().Size(77, 61).Tiles(16, 16).Sparse(7);
  TiffChannels image(Write(file), kReadExact);
  ExpectGlobalPhase(image, 0, WithoutBlock(file, 0, 7, 0));
}

TEST_F(TiffExactBlocks, LevelsOfForeignColoursAreThoseOfTheWholeImage) {
  const auto bytes = TiffBuilder().Size(77, 61).Samples(4).Photometric(5).Strips(7).Build();
  const TiffRgba shown = DecodeTiffRgba(bytes);
  TiffChannels image(Write(bytes), kReadExact);
  ReferenceTiff reference = ReferenceOf(TiffBuilder().Size(77, 61), 0);
  reference.value = [&shown](int x, int y) { return static_cast<std::uint64_t>(shown.At(x, y, 1)); };
  ExpectGlobalPhase(image, 1, reference);
}

}  // namespace
