// Sizes, windows, and what is refused.

#include "BlockPictures.h"
#include "XImageCodec.h"
#include "XLimits.h"

#include <gtest/gtest.h>
#include <squish.h>

#include <climits>

namespace {

TEST(BlockCoder, TellsTheBytesOfABlockedPicture) {
  EXPECT_EQ(8u, zrk::BlockBytes({kDxt1, 2, 2}));
  EXPECT_EQ(32u, zrk::BlockBytes({kDxt1, 5, 5}));
  EXPECT_EQ(64u, zrk::BlockBytes({kDxt3, 5, 5}));
  EXPECT_EQ(64u, zrk::BlockBytes({kDxt5, 5, 5}));
  EXPECT_EQ(32768u, zrk::BlockBytes({kDxt1, 256, 256}));
}

TEST(BlockCoder, HasNoBytesForWhatCannotBe) {
  for (const int type : {0, 3, 5, 6, 7, 8, -1, 1 << 9, INT_MAX, INT_MIN}) {
    EXPECT_EQ(0u, zrk::BlockBytes({static_cast<_XDXTTYPE>(type), 4, 4})) << type;
  }
  for (const int size : {0, -1, -4, INT_MIN}) {
    EXPECT_EQ(0u, zrk::BlockBytes({kDxt1, size, 4})) << size;
    EXPECT_EQ(0u, zrk::BlockBytes({kDxt5, 4, size})) << size;
  }
  // 65,536 columns and as many rows are 2^31 bytes of DXT1; with one row of blocks less they fit into an int.
  EXPECT_EQ(0u, zrk::BlockBytes({kDxt1, 65536, 65536}));
  EXPECT_EQ(2147352576u, zrk::BlockBytes({kDxt1, 65536, 65532}));
  EXPECT_EQ(0u, zrk::BlockBytes({kDxt1, INT_MAX, INT_MAX}));
}

TEST(BlockCoder, RefusesFormatsThatItCannotTake) {
  const Bytes pixels(64 * 4);
  Bytes blocks(32, 0xEE);
  for (const int format : {-1, 0, 8, 13, 14, 15, 16, 17, INT_MAX}) {
    EXPECT_FALSE(zrk::EncodeBlocks(pixels, static_cast<_XPIXELFORMAT>(format), {kDxt1, 4, 4}, blocks)) << format;
    EXPECT_FALSE(zrk::DecodeBlocksAs(pixels, {kDxt1, 4, 4}, static_cast<_XPIXELFORMAT>(format), blocks)) << format;
  }
  for (const auto format : {kPixelGray, kPixelRgb, kPixelBgr, kPixelBgra, kPixelArgb, kPixelAbgr}) {
    EXPECT_FALSE(zrk::EncodeBlocks(pixels, format, {kDxt3, 4, 4}, blocks)) << format;
    EXPECT_FALSE(zrk::EncodeBlocks(pixels, format, {kDxt5, 4, 4}, blocks)) << format;
  }
  EXPECT_EQ(Bytes(32, 0xEE), blocks);
}

TEST(BlockCoder, RefusesTypesAndSizesThatCannotBe) {
  const Bytes in(4096);
  Bytes out(4096, 0xEE);
  for (const zrk::BlockShape& shape : {zrk::BlockShape{kDxtNone, 4, 4},
                                       {static_cast<_XDXTTYPE>(3), 4, 4},
                                       {static_cast<_XDXTTYPE>(8), 4, 4},
                                       {kDxt1, 0, 4},
                                       {kDxt1, 4, -4},
                                       {kDxt1, INT_MAX, INT_MAX},
                                       {kDxt5, 1 << 30, 1 << 30}}) {
    EXPECT_FALSE(zrk::EncodeBlocks(in, kPixelRgba, shape, out));
    EXPECT_FALSE(zrk::DecodeBlocks(in, shape, out));
    EXPECT_FALSE(zrk::DecodeBlocksAs(in, shape, kPixelRgba, out));
    EXPECT_FALSE(zrk::DecodeBlockWindow(in, shape, {0, 0, 0, 0}, {out.data(), 4, false}));
  }
  EXPECT_EQ(Bytes(4096, 0xEE), out);
}

TEST(BlockCoder, RefusesRoomThatIsTooSmall) {
  const std::size_t pixelBytes = 5 * 5 * 4;
  Bytes pixels(pixelBytes, 0xEE), blocks(64, 0xEE);
  const std::span<std::uint8_t> fewPixels(pixels.data(), pixelBytes - 1), fewBlocks(blocks.data(), 31);
  const zrk::BlockShape shape{kDxt1, 5, 5};
  EXPECT_FALSE(zrk::EncodeBlocks(fewPixels, kPixelRgba, shape, blocks));
  EXPECT_FALSE(zrk::EncodeBlocks(pixels, kPixelRgba, shape, fewBlocks));
  EXPECT_FALSE(zrk::DecodeBlocks(fewBlocks, shape, pixels));
  EXPECT_FALSE(zrk::DecodeBlocks(blocks, shape, fewPixels));
  EXPECT_FALSE(zrk::DecodeBlocksAs(fewBlocks, shape, kPixelRgba, pixels));
  EXPECT_FALSE(zrk::DecodeBlocksAs(blocks, shape, kPixelRgba, fewPixels));
  EXPECT_FALSE(zrk::DecodeBlockWindow(fewBlocks, shape, {0, 0, 0, 0}, {pixels.data(), 4, false}));
  EXPECT_EQ(Bytes(pixelBytes, 0xEE), pixels);
  EXPECT_EQ(Bytes(64, 0xEE), blocks);
}

TEST(BlockCoder, RefusesWindowsThatDoNotLieInside) {
  const Bytes blocks(32);
  Bytes rgba(100);
  for (const zrk::Window& window :
       {zrk::Window{-1, 0, 0, 0}, {0, 5, 0, 0}, {0, 0, 0, 5}, {2, 1, 0, 0}, {0, 0, 0, INT_MAX}}) {
    EXPECT_FALSE(zrk::DecodeBlockWindow(blocks, {kDxt1, 5, 5}, window, {rgba.data(), 20, false}));
  }
}

/// Pixels of a window out of a whole picture, with rows and components as asked.
Bytes Crop(const Bytes& whole, int width, const zrk::Window& window, bool isBgra, bool isLowestFirst) {
  Bytes cropped;
  for (int i = 0; i < window.Height(); ++i) {
    const int y = isLowestFirst ? window.y1 - i : window.y0 + i;
    for (int x = window.x0; x <= window.x1; ++x) {
      const std::uint8_t* pixel = &whole[(std::size_t(y) * std::size_t(width) + std::size_t(x)) * 4];
      for (const int k : {isBgra ? 2 : 0, 1, isBgra ? 0 : 2, 3}) cropped.push_back(pixel[k]);
    }
  }
  return cropped;
}

Bytes DecodeWindow(const Bytes& blocks, const zrk::BlockShape& shape, const zrk::Window& window, bool isBgra,
                   bool isLowestFirst) {
  Bytes pixels(std::size_t(window.Width()) * std::size_t(window.Height()) * 4);
  const std::ptrdiff_t rowBytes = std::ptrdiff_t{window.Width()} * 4;
  const zrk::PixelRows up{pixels.data() + (window.Height() - 1) * rowBytes, -rowBytes, isBgra};
  const zrk::PixelRows down{pixels.data(), rowBytes, isBgra};
  EXPECT_TRUE(zrk::DecodeBlockWindow(blocks, shape, window, isLowestFirst ? up : down));
  return pixels;
}

TEST(BlockCoder, UnpacksAnyWindowInEitherOrder) {
  std::mt19937_64 random(3);
  const auto upTo = [&](int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); };
  for (int i = 0; i < 600; ++i) {
    const zrk::BlockShape shape{static_cast<_XDXTTYPE>(1 << i % 3), 1 + upTo(i % 10 ? 40 : 600), 1 + upTo(30)};
    const Bytes blocks = RandomBytes(zrk::BlockBytes(shape), random);
    const Bytes whole = Decode(blocks, shape.width, shape.height, shape.type);
    zrk::Window window{upTo(shape.width - 1), 0, upTo(shape.height - 1), 0};
    window.x1 = window.x0 + upTo(shape.width - 1 - window.x0);
    window.y1 = window.y0 + upTo(shape.height - 1 - window.y0);
    const bool isBgra = i & 1, isLowestFirst = i & 2;
    ASSERT_EQ(Crop(whole, shape.width, window, isBgra, isLowestFirst),
              DecodeWindow(blocks, shape, window, isBgra, isLowestFirst));
  }
}

TEST(BlockCoder, MakesAWindowOfTheBlocksThatItTouches) {
  std::mt19937_64 random(5);
  Bytes blocks = RandomBytes(zrk::BlockBytes({kDxt1, 64, 64}), random);
  const zrk::Window window{8, 23, 16, 35};
  const Bytes before = DecodeWindow(blocks, {kDxt1, 64, 64}, window, false, false);
  for (int row = 0; row < 16; ++row) {
    for (int column = 0; column < 16; ++column) {
      const bool isTouched = column >= 2 && column <= 5 && row >= 4 && row <= 8;
      if (!isTouched) std::memset(&blocks[std::size_t(row * 16 + column) * 8], 0x5A, 8);
    }
  }
  EXPECT_EQ(before, DecodeWindow(blocks, {kDxt1, 64, 64}, window, false, false));
}

TEST(BlockCoder, PacksTheLargerKindsAsSquishDoes) {
  std::mt19937_64 random(9);
  const Bytes rgba = RandomBytes(7 * 6 * 4, random);
  for (const auto type : {kDxt3, kDxt5}) {
    Bytes expected(zrk::BlockBytes({type, 7, 6}));
    squish::CompressImage(rgba.data(), 7, 6, expected.data(), type);
    EXPECT_EQ(expected, Encode(rgba, kPixelRgba, 7, 6, type));
  }
}

TEST(XImageCodec, UnpacksBlueFirstAndTheLowestRowFirst) {
  // The upper left pixel is cyan, and those beside it are red.
  XImageCodec codec(6, 1);
  ASSERT_EQ(32, codec.GetPackedBytes());
  Bytes blocks = {0x00, 0xF8, 0xFF, 0x07, 0, 0, 0, 0};
  blocks[4] = 0x01;
  blocks.resize(32);
  unsigned char* target = nullptr;
  ASSERT_TRUE(codec.DecodeDXT1(21, blocks.data(), target));
  ASSERT_EQ(codec.buffer, target);
  const unsigned char* top = target + 5 * 6 * 4;
  EXPECT_EQ((Bytes{255, 255, 0, 255, 0, 0, 255, 255}), Bytes(top, top + 8));
}

TEST(XImageCodec, UnpacksToRoomOfTheCaller) {
  XImageCodec codec(4, 1);
  Bytes blocks = {0xFF, 0xFF, 0, 0, 0, 0, 0, 0}, room(64);
  unsigned char* target = room.data();
  ASSERT_TRUE(codec.DecodeDXT1(21, blocks.data(), target));
  EXPECT_EQ(room.data(), target);
  EXPECT_EQ(Bytes(64, 255), room);
  EXPECT_EQ(Bytes(64, 0), Bytes(codec.buffer, codec.buffer + 64));
}

TEST(XImageCodec, PacksWhatItUnpacks) {
  XImageCodec codec(8, 1);
  for (std::size_t i = 0; i < 8 * 8; ++i) {
    const std::uint8_t value = i % 8 < 4 ? 0 : 255;
    std::memset(codec.buffer + 4 * i, value, 3);
    codec.buffer[4 * i + 3] = 255;
  }
  const Bytes before(codec.buffer, codec.buffer + 256);
  Bytes blocks(32);
  ASSERT_TRUE(codec.EncodeDXT1(codec.buffer, blocks.data()));
  std::memset(codec.buffer, 0xA0, 256);
  unsigned char* target = codec.buffer;
  ASSERT_TRUE(codec.DecodeDXT1(21, blocks.data(), target));
  EXPECT_EQ(before, Bytes(codec.buffer, codec.buffer + 256));
}

TEST(XImageCodec, HasNoRoomForTilesThatCannotBe) {
  Bytes blocks(64);
  for (const int size : {0, -1, INT_MIN, 1 << 20, INT_MAX}) {
    XImageCodec codec(size, 1);
    unsigned char* target = blocks.data();
    EXPECT_EQ(nullptr, codec.buffer) << size;
    EXPECT_EQ(0, codec.GetPackedBytes()) << size;
    EXPECT_FALSE(codec.DecodeDXT1(21, blocks.data(), target)) << size;
    EXPECT_FALSE(codec.EncodeDXT1(blocks.data(), target)) << size;
  }
  XImageCodec codec(4, 1);
  unsigned char* target = nullptr;
  EXPECT_FALSE(codec.DecodeDXT1(21, nullptr, target));
  EXPECT_EQ(nullptr, target);
  EXPECT_FALSE(codec.EncodeDXT1(nullptr, blocks.data()));
  EXPECT_FALSE(codec.EncodeDXT1(blocks.data(), nullptr));
}

TEST(XImageCodec, KeepsToTheLimitForDecodedTiles) {
  const tagXLimits usual = XfnGetLimits();
  tagXLimits low = usual;
  low.decodedTileBytes = 16 * 16 * 4;
  XfnSetLimits(low);
  EXPECT_NE(nullptr, XImageCodec(16, 1).buffer);
  EXPECT_EQ(nullptr, XImageCodec(17, 1).buffer);
  XfnSetLimits(usual);
}

}  // namespace
