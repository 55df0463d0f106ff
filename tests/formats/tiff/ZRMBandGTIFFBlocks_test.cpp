// Single blocks of a TIFF file, as they are stored.

#include "TiffChannels.h"
#include "TiffMemory.h"
#include "XDataType.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using testing::Each;

/// Room for a block, and more behind it that must stay as it is.
class Room {
 public:
  explicit Room(std::size_t numBytes) : numBytes_(numBytes), bytes_(numBytes + 64, kUntouched) {}
  void* Get() { return bytes_.data(); }
  unsigned At(std::size_t i) const { return bytes_[i]; }
  unsigned Word(std::size_t i) const { return bytes_[2 * i] | unsigned{bytes_[2 * i + 1]} << 8; }
  void ExpectNothingBehind() const {
    for (std::size_t i = numBytes_; i < bytes_.size(); ++i) ASSERT_EQ(kUntouched, bytes_[i]) << i - numBytes_;
  }
  bool IsUntouched() const {
    return std::ranges::all_of(bytes_, [](unsigned char byte) { return byte == kUntouched; });
  }

 private:
  static constexpr unsigned char kUntouched = 0xEE;
  std::size_t numBytes_;
  std::vector<unsigned char> bytes_;
};

class ZRMBandGTIFFBlocks : public TiffFiles {
 protected:
  XString err_;
};

TEST_F(ZRMBandGTIFFBlocks, AreLoadedAsTheFilePacksThem) {
  const auto file = TiffBuilder().Size(40, 30).Tiles(16, 16).Samples(3).Bits(16).BigEndian();
  TiffChannels image(Write(file));
  int reserved = 7, size = 7;
  const auto* bytes = static_cast<const unsigned char*>(image.GetMaster().LoadBlockBuf(1, reserved, size));
  ASSERT_NE(nullptr, bytes);
  EXPECT_EQ(-1, reserved);
  ASSERT_EQ(16 * 16 * 6, size);
  const std::size_t at = (2 * 16 + 5) * 6 + 4;
  EXPECT_EQ(file.ValueAt(21, 2, 2), static_cast<unsigned>(bytes[at] | bytes[at + 1] << 8));
}

TEST_F(ZRMBandGTIFFBlocks, OfForeignColoursHoldTheirSamplesAndNoAlpha) {
  TiffChannels image(Write(TiffBuilder().Size(9, 7).Strips(7).Samples(3).Photometric(8)));
  ASSERT_EQ(4, image.GetNumChannels());
  Room room(9 * 7);
  EXPECT_TRUE(image.GetMaster().ReadBlockRaster(0, 0, 2, room.Get(), err_));
  room.ExpectNothingBehind();
  Room untouched(9 * 7);
  EXPECT_FALSE(image.GetMaster().ReadBlockRaster(0, 0, 3, untouched.Get(), err_));
  EXPECT_TRUE(untouched.IsUntouched());
}

TEST_F(ZRMBandGTIFFBlocks, OfPlainColourTilesComeWithAlphaToo) {
  const auto file = TiffBuilder().Size(20, 18).Tiles(16, 16).Samples(3).Photometric(2);
  TiffChannels image(Write(file));
  for (int c = 0; c < 4; ++c) {
    Room room(16 * 16);
    ASSERT_TRUE(image.GetMaster().ReadBlockRGBA(0, 0, c, room.Get(), err_)) << c;
    EXPECT_EQ(c == 3 ? 255 : file.ValueAt(5, 2, c), room.At(2 * 16 + 5)) << c;
    room.ExpectNothingBehind();
  }
}

TEST_F(ZRMBandGTIFFBlocks, ThatAreNotBilevelHaveNoFirstRow) {
  TiffChannels image(Write(TiffBuilder().Size(9, 7).Strips(7)));
  Room room(9 * 7);
  EXPECT_FALSE(image.GetMaster().ReadBlockSplitBitmap(0, 0, room.Get(), err_));
  EXPECT_EQ("Fail to Read scanline TIFF", err_.AsStdString());
  EXPECT_TRUE(room.IsUntouched());
}

TEST_F(ZRMBandGTIFFBlocks, OfPlanesAreNumberedPlaneByPlane) {
  const auto file = TiffBuilder().Size(40, 30).Strips(8).Samples(2).Planar();
  TiffChannels image(Write(file));
  int reserved = 0, size = 0;
  const auto* bytes = static_cast<const unsigned char*>(image.GetMaster().LoadBlockBuf(4 + 1, reserved, size));
  ASSERT_NE(nullptr, bytes);
  EXPECT_EQ(40 * 8, size);
  EXPECT_EQ(file.ValueAt(39, 15, 1), bytes[size - 1]);
}

TEST_F(ZRMBandGTIFFBlocks, ThatOverhangTheImageEndInZeros) {
  for (const bool isTiled : {false, true}) {
    for (const int compression : {1, 5}) {
      TiffBuilder file;
      file.Size(16, 22).Compression(compression).Pixel([](int x, int y, int) { return std::uint64_t(1 + x + y); });
      if (isTiled) {
        file.Tiles(16, 16);
      } else {
        file.Strips(16);
      }
      TiffChannels image(Write(compression == 1 ? file.Build() : file.Encode()));
      int reserved = 0, size = 0;
      const auto* bytes = static_cast<const unsigned char*>(image.GetMaster().LoadBlockBuf(1, reserved, size));
      ASSERT_NE(nullptr, bytes);
      ASSERT_EQ(256, size);
      EXPECT_EQ(1 + 15 + 21, bytes[95]);
      EXPECT_THAT(std::vector(bytes + 96, bytes + 256), Each(0));
    }
  }
}

TEST_F(ZRMBandGTIFFBlocks, ThatAreNotThereAreNull) {
  TiffChannels image(Write(TiffBuilder().Size(40, 30).Strips(8).Sparse(2)));
  for (const int block : {-1, 2, 4, 1000000}) {
    int reserved = 7, size = 7;
    EXPECT_EQ(nullptr, image.GetMaster().LoadBlockBuf(block, reserved, size)) << block;
    EXPECT_EQ(-1, reserved);
    EXPECT_EQ(-1, size);
  }
}

TEST_F(ZRMBandGTIFFBlocks, OfWholeSamplesGiveOneChannel) {
  for (const bool isPlanar : {false, true}) {
    auto file = TiffBuilder().Size(40, 30).Tiles(16, 16).Samples(3).Bits(16);
    if (isPlanar) file.Planar();
    TiffChannels image(Write(file));
    Room room(16 * 16 * 2);
    ASSERT_EQ(1, image.GetMaster().ReadBlockRaster(2, 1, 1, room.Get(), err_));
    EXPECT_EQ(file.ValueAt(32 + 3, 16 + 4, 1), room.Word(4 * 16 + 3));
    EXPECT_EQ(0u, room.Word(14 * 16));
    room.ExpectNothingBehind();
  }
}

TEST_F(ZRMBandGTIFFBlocks, OfWideIntegersStayInTheirRoom) {
  for (const int samples : {1, 2}) {
    const auto file = TiffBuilder().Size(16, 16).Tiles(16, 16).Bits(64).Samples(samples);
    TiffChannels image(Write(file));
    Room room(16 * 16);
    ASSERT_EQ(1, image.GetMaster().ReadBlockRaster(0, 0, samples - 1, room.Get(), err_));
    EXPECT_EQ(file.ValueAt(15, 15, samples - 1) & 0xFF, room.At(255));
    room.ExpectNothingBehind();
  }
}

TEST_F(ZRMBandGTIFFBlocks, OfOddBitsAreWidened) {
  const auto file = TiffBuilder().Size(40, 30).Strips(8).Bits(12).Samples(2);
  TiffChannels image(Write(file));
  Room room(40 * 8 * 2);
  ASSERT_EQ(1, image.GetMaster().ReadBlockOddBits(0, 1, 1, kPint16, room.Get(), err_));
  for (std::size_t x = 0; x < 40; ++x) {
    ASSERT_EQ(file.ValueAt(static_cast<int>(x), 15, 1), room.Word(7 * 40 + x));
  }
  room.ExpectNothingBehind();
}

TEST_F(ZRMBandGTIFFBlocks, OfOddBitsComeInTheTypeThatIsAskedFor) {
  const auto file = TiffBuilder().Size(20, 8).Bits(5);
  TiffChannels image(Write(file));
  Room bytes(160), words(320), longs(640);
  ASSERT_EQ(1, image.GetMaster().ReadBlockOddBits(0, 0, 0, kPint08, bytes.Get(), err_));
  ASSERT_EQ(1, image.GetMaster().ReadBlockOddBits(0, 0, 0, kPint16, words.Get(), err_));
  ASSERT_EQ(1, image.GetMaster().ReadBlockOddBits(0, 0, 0, kPint32, longs.Get(), err_));
  EXPECT_EQ(file.ValueAt(19, 7, 0), bytes.At(159));
  EXPECT_EQ(file.ValueAt(19, 7, 0), words.Word(159));
  EXPECT_EQ(file.ValueAt(19, 7, 0), longs.Word(318));
  EXPECT_EQ(0u, longs.Word(319));
  for (const Room* room : {&bytes, &words, &longs}) room->ExpectNothingBehind();
}

TEST_F(ZRMBandGTIFFBlocks, OfShortRealsAreWidened) {
  const auto file = TiffBuilder().Size(20, 8).Bits(16).Format(3).Samples(2).Pixel(
      [](int, int, int sample) { return std::uint64_t(sample == 0 ? 0x3C00 : 0xC000); });
  TiffChannels image(Write(file));
  Room room(640);
  ASSERT_EQ(1, image.GetMaster().ReadBlockOddBits(0, 0, 1, kReal32, room.Get(), err_));
  for (std::size_t i = 0; i < 160; ++i) ASSERT_EQ(0xC000u, room.Word(2 * i + 1)) << i;  // -2 has these in a single, too
  room.ExpectNothingBehind();
}

TEST_F(ZRMBandGTIFFBlocks, OfOddBitsWriteNothingInOtherTypes) {
  TiffChannels image(Write(TiffBuilder().Size(20, 8).Bits(5)));
  for (const int type : {-1, 0, 2, 4, 6, 8, 12, 16, 30}) {
    Room room(160 * 16);
    image.GetMaster().ReadBlockOddBits(0, 0, 0, type, room.Get(), err_);
    EXPECT_TRUE(room.IsUntouched()) << type;
  }
}

TEST_F(ZRMBandGTIFFBlocks, AreWithoutAPalette) {
  const auto file = TiffBuilder().Size(20, 8).Photometric(0);
  TiffChannels image(Write(file));
  Room room(160);
  ASSERT_EQ(1, image.GetMaster().ReadBlockRaster(0, 0, 0, room.Get(), err_));
  EXPECT_EQ(file.ValueAt(7, 3, 0), room.At(3 * 20 + 7));
}

TEST_F(ZRMBandGTIFFBlocks, OfForeignColoursGiveRedGreenBlueAndAlpha) {
  const auto bytes = TiffBuilder().Size(40, 30).Strips(8).Samples(4).Photometric(5).Build();
  const TiffRgba shown = DecodeTiffRgba(bytes);
  TiffChannels image(Write(bytes));
  for (int c = 0; c < 4; ++c) {
    Room room(40 * 8);
    ASSERT_EQ(1, image.GetMaster().ReadBlockRGBA(0, 3, c, room.Get(), err_));
    EXPECT_EQ(static_cast<unsigned>(shown.At(9, 29, c)), room.At(5 * 40 + 9));
    room.ExpectNothingBehind();
  }
}

TEST_F(ZRMBandGTIFFBlocks, OfASplitBitmapHaveTheFirstRowOnly) {
  const auto file = TiffBuilder().Size(20, 2001).Bits(1).Photometric(0);
  TiffChannels image(Write(file));
  Room room(20 * 2001);
  ASSERT_EQ(1, image.GetMaster().ReadBlockSplitBitmap(0, 0, room.Get(), err_));
  for (int x = 0; x < 20; ++x) EXPECT_EQ(file.ValueAt(x, 0, 0), room.At(static_cast<std::size_t>(x)));
  for (std::size_t i = 20; i < 20 * 2001; ++i) ASSERT_EQ(0u, room.At(i));
  room.ExpectNothingBehind();
}

TEST_F(ZRMBandGTIFFBlocks, OfASplitBitmapThatCannotBeReadSaySo) {
  const auto file = TiffBuilder().Size(20, 2001).Bits(1).Compression(5).Block(0, {0xFF, 0xFF, 0xFF});
  TiffChannels image(Write(file.Encode()));
  Room room(20 * 2001);
  EXPECT_EQ(0, image.GetMaster().ReadBlockSplitBitmap(0, 0, room.Get(), err_));
  EXPECT_EQ("Fail to Read scanline TIFF", err_.AsStdString());
}

TEST_F(ZRMBandGTIFFBlocks, OutsideTheImageFail) {
  TiffChannels image(Write(TiffBuilder().Size(40, 30).Tiles(16, 16).Samples(2)));
  const int places[][3] = {{3, 0, 0}, {0, 2, 0}, {-1, 0, 0}, {0, -1, 0}, {0, 0, 2}, {0, 0, -1}};
  for (const auto& place : places) {
    Room room(16 * 16 * 4);
    ZRMBandGTIFF& band = image.GetMaster();
    EXPECT_EQ(0, band.ReadBlockRaster(place[0], place[1], place[2], room.Get(), err_));
    EXPECT_EQ(0, band.ReadBlockOddBits(place[0], place[1], place[2], kPint08, room.Get(), err_));
    EXPECT_TRUE(room.IsUntouched());
  }
}

TEST_F(ZRMBandGTIFFBlocks, ThatTheFileLeavesOutFail) {
  TiffChannels image(Write(TiffBuilder().Size(40, 30).Tiles(16, 16).Samples(2).Sparse(1)));
  Room room(16 * 16);
  EXPECT_EQ(0, image.GetMaster().ReadBlockRaster(1, 0, 0, room.Get(), err_));
  EXPECT_EQ(1, image.GetMaster().ReadBlockRaster(2, 0, 0, room.Get(), err_));
}

}  // namespace
