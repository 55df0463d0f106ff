// Blocks of LZW and of Deflate that are unpacked without libtiff have the samples that libtiff packed. Of damaged ones
// compatible reads give what libtiff gives, and exact reads fail.

#include "ExactTiffs.h"
#include "TiffMemory.h"
#include "XDataType.h"

#include <algorithm>
#include <random>

namespace {

/// By compression.
class TiffUnpackedBlocks : public ExactTiffs, public testing::WithParamInterface<int> {
 protected:
  static TiffBuilder Packed(int bits, int samples) {
    return TiffBuilder().Size(140, 100).Bits(bits).Samples(samples).Compression(GetParam());
  }
};

/// Long strings of equal pixels, and short ones.
std::uint64_t Steps(int x, int y, int sample) {
  return static_cast<std::uint64_t>(x / 40 * 37 + y / 9 * (sample + 3) + (y % 5 == 0 ? x : 0));
}

TEST_P(TiffUnpackedBlocks, AreAsPackedInAllWidthsAndLayouts) {
  for (const int bits : {8, 16, 32}) {
    const int type = bits == 8 ? kPint08 : bits == 16 ? kPint16 : kPint32;
    const std::string what = std::to_string(bits) + " bits";
    ExpectSamples(Packed(bits, 1).Tiles(64, 128), type, what + ", tiles");
    ExpectSamples(Packed(bits, 3).Tiles(128, 64).Pixel(Steps), type, what + ", steps");
    ExpectSamples(Packed(bits, 4).Strips(30).Planar().Pixel(Steps), type, what + ", planes");
    ExpectSamples(Packed(bits, 3).Strips(33).BigEndian(), type, what + ", the other order");
  }
}

TEST_P(TiffUnpackedBlocks, AreAsPackedWithDifferences) {
  for (const int bits : {8, 16, 32}) {
    const int type = bits == 8 ? kPint08 : bits == 16 ? kPint16 : kPint32;
    const std::string what = std::to_string(bits) + " bits";
    ExpectSamples(Packed(bits, 1).Tiles(64, 128).Predictor(2), type, what + ", tiles");
    ExpectSamples(Packed(bits, 3).Tiles(128, 64).Predictor(2).Pixel(Steps), type, what + ", steps");
    ExpectSamples(Packed(bits, 3).Strips(33).Predictor(2).BigEndian(), type, what + ", the other order");
    ExpectSamples(Packed(bits, 2).Strips(100).Planar().Predictor(2), type, what + ", planes");
  }
}

TEST_P(TiffUnpackedBlocks, AreAsPackedWithTheLowestBitFirst) {
  ExpectSamples(Packed(8, 3).Tiles(64, 64).LowBitFirst(), kPint08);
}

TEST_P(TiffUnpackedBlocks, AreAsPackedWithDifferencesOfAnyNumberOfSamples) {
  for (const int samples : {2, 4, 5}) {
    ExpectSamples(Packed(8, samples).Tiles(64, 64).Predictor(2).Pixel(Steps), kPint08, std::to_string(samples));
    ExpectSamples(Packed(16, samples).Strips(17).Predictor(2).Pixel(Steps), kPint16, std::to_string(samples));
  }
}

TEST_P(TiffUnpackedBlocks, AreAsPackedWhereMostBytesStandByThemselves) {
  // Of so many blocks libtiff gets some.
  const auto few = [](int x, int y, int sample) { return TiffBuilder::AnyPixel(x, y, sample) % 50; };
  ExpectSamples(Packed(8, 3).Tiles(32, 16).Pixel(few), kPint08);
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffUnpackedBlocks, testing::Values(COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE),
                         [](const auto& code) { return "Tag" + std::to_string(code.param); });

constexpr int kTileWidth = 64, kImageHeight = 100, kTileRows = 32;

/// The last tile reaches below the image.
TiffBuilder Tall() {
  return TiffBuilder()
      .Size(kTileWidth, kImageHeight)
      .Tiles(kTileWidth, kTileRows)
      .Compression(COMPRESSION_ADOBE_DEFLATE)
      .Pixel(
          [](int x, int y, int) { return Steps(x, y, 0) + (x * y % 7 == 0 ? TiffBuilder::AnyPixel(x, y, 0) % 9 : 0); });
}

/// What libtiff makes of each tile; nothing but 0 where it fails.
ReferenceTiff::Samples ReadByLibtiff(TiffBuilder::Bytes bytes) {
  ReferenceTiff::Samples samples(std::size_t{kTileWidth} * kImageHeight);
  const TiffPointer tiff = OpenTiffInMemory(bytes, "r");
  for (std::uint32_t i = 0; tiff && std::size_t{i} * kTileRows < kImageHeight; ++i) {
    const std::size_t first = std::size_t{i} * kTileRows * kTileWidth;
    TiffBuilder::Bytes tile(std::min(samples.size() - first, std::size_t{kTileWidth} * kTileRows));
    if (TIFFReadEncodedTile(tiff.get(), i, tile.data(), static_cast<tmsize_t>(tile.size())) < 0) continue;
    std::copy(tile.begin(), tile.end(), samples.begin() + static_cast<std::ptrdiff_t>(first));
  }
  return samples;
}

/// Where the packed bytes of a tile lie.
std::pair<std::size_t, std::size_t> FindTile(TiffBuilder::Bytes bytes, std::uint32_t tile) {
  const TiffPointer tiff = OpenTiffInMemory(bytes, "r");
  return {TIFFGetStrileOffset(tiff.get(), tile), TIFFGetStrileByteCount(tiff.get(), tile)};
}

class TiffDamagedDeflate : public ExactTiffs {
 protected:
  /// The file with one bit of a tile turned.
  TiffBuilder::Bytes Flip(std::uint32_t tile) {
    const auto [offset, size] = FindTile(sound_, tile);
    TiffBuilder::Bytes bytes = sound_;
    bytes[offset + random_() % size] ^= static_cast<unsigned char>(1u << random_() % 8);
    return bytes;
  }

  const TiffBuilder::Bytes sound_ = Tall().Encode();
  std::mt19937 random_{17};
};

TEST_F(TiffDamagedDeflate, GivesWhatLibtiffGivesInCompatibleReads) {
  for (int trial = 0; trial < 200; ++trial) {
    const TiffBuilder::Bytes bytes = Flip(trial % 4);
    EXPECT_EQ(ReadByLibtiff(bytes), TiffChannels(Write(bytes)).ReadAll(0)) << trial;
  }
}

TEST_F(TiffDamagedDeflate, FailsExactReadsOfItsTileAlone) {
  const ReferenceTiff::Samples sound = TiffChannels(Write(sound_)).ReadAll(0);
  for (int trial = 0; trial < 200; ++trial) {
    const int tile = trial % 4, top = tile * kTileRows, bottom = std::min(top + kTileRows, kImageHeight) - 1;
    TiffChannels image(Write(Flip(static_cast<std::uint32_t>(tile))), kReadExact);
    // Bits behind the last code mean nothing.
    if (image.ReadAll(0) == sound) continue;
    const std::string place = "The decoder can't read the block at column 0, row " + std::to_string(top);
    ExpectFailure(image, 0, 0, kTileWidth - 1, top, bottom, place);
    const int other = tile == 0 ? kTileRows : 0;
    EXPECT_FALSE(image.Read(0, 0, 0, kTileWidth - 1, other, other + kTileRows - 1).empty()) << trial;
  }
}

TEST_F(TiffDamagedDeflate, IsNoticedBelowTheImageByItsChecksum) {
  // The checksum is the last thing of a tile; libtiff stops before it.
  const auto [offset, size] = FindTile(sound_, 3);
  TiffBuilder::Bytes bytes = sound_;
  bytes[offset + size - 1] ^= 1;
  EXPECT_EQ(TiffChannels(Write(sound_)).ReadAll(0), TiffChannels(Write(bytes)).ReadAll(0));
  TiffChannels image(Write(bytes), kReadExact);
  ExpectFailure(image, 0, 0, kTileWidth - 1, 96, 99, "The decoder can't read the block at column 0, row 96");
}

/// A block's bytes in zlib's stored form, and more bytes behind, of which libtiff takes no notice.
TiffBuilder::Bytes StoreLong(unsigned char checksum) {
  // 16 bytes of 1 and 4 more: the sums are 21 and, of 2 to 21, 230.
  TiffBuilder::Bytes packed = {0x78, 0x9c, 0, 16, 0, 0xef, 0xff};
  packed.resize(packed.size() + 16, 1);
  packed.insert(packed.end(), {1, 4, 0, 0xfb, 0xff, 1, 1, 1, 1, 0, 230, 0, checksum});
  return packed;
}

TEST_F(TiffDamagedDeflate, IsNotThatABlockHoldsMoreThanItsOwn) {
  const auto file = TiffBuilder().Size(4, 8).Strips(4).Compression(COMPRESSION_ADOBE_DEFLATE);
  TiffChannels sound(Write(TiffBuilder(file).Block(0, StoreLong(21)).Encode()), kReadExact);
  EXPECT_EQ(ReferenceTiff::Samples(16, 1), sound.Read(0, 0, 0, 3, 0, 3));
  TiffChannels damaged(Write(TiffBuilder(file).Block(0, StoreLong(22)).Encode()), kReadExact);
  ExpectFailure(damaged, 0, 0, 3, 0, 3, "The decoder can't read the block at column 0, row 0");
}

TEST_F(TiffDamagedDeflate, IsHiddenBehindTheBlockInCompatibleReads) {
  const auto file = TiffBuilder().Size(4, 8).Strips(4).Compression(COMPRESSION_ADOBE_DEFLATE);
  TiffChannels image(Write(TiffBuilder(file).Block(0, StoreLong(22)).Encode()));
  EXPECT_EQ(ReferenceTiff::Samples(16, 1), image.Read(0, 0, 0, 3, 0, 3));
}

}  // namespace
