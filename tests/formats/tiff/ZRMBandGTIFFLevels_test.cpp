// Windows at levels, and what becomes of blocks that can't be read.

#include "FaultyDisk.h"
#include "TiffChannels.h"
#include "TiffMemory.h"
#include "XDataType.h"

#include <gmock/gmock.h>

#include <random>

namespace {

using testing::Each;

struct LevelWindow {
  int level, x0, x1, y0, y1;
};

/// Windows of any place and size, the same in every run. With `isWhole` their sizes are multiples of the step.
std::vector<LevelWindow> AnyWindows(const ReferenceTiff& image, int count, bool isWhole = false) {
  std::mt19937 random(7);
  const auto below = [&](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
  std::vector<LevelWindow> windows;
  while (static_cast<int>(windows.size()) < count) {
    LevelWindow window{below(6), below(image.width), 0, below(image.height), 0};
    const int step = 1 << window.level;
    int width = 1 + below(image.width - window.x0), height = 1 + below(image.height - window.y0);
    if (isWhole) {
      width -= width % step;
      height -= height % step;
    }
    if (width < step || height < step) continue;
    window.x1 = window.x0 + width - 1;
    window.y1 = window.y0 + height - 1;
    windows.push_back(window);
  }
  return windows;
}

class ZRMBandGTIFFLevels : public TiffFiles {
 protected:
  static void ExpectWindows(TiffChannels& image, int c, const ReferenceTiff& reference, bool isWhole = false) {
    for (const LevelWindow& w : AnyWindows(reference, 150, isWhole)) {
      ASSERT_EQ(reference.Read(w.level, w.x0, w.x1, w.y0, w.y1), image.Read(c, w.level, w.x0, w.x1, w.y0, w.y1))
          << "level " << w.level << ", " << w.x0 << " to " << w.x1 << ", " << w.y0 << " to " << w.y1;
    }
  }
  void ExpectWindows(const TiffBuilder& file) {
    TiffChannels image(Write(BytesOf(file)));
    ASSERT_TRUE(image.IsOpen()) << image.GetError();
    for (int c = 0; c < file.GetSamples(); ++c) ExpectWindows(image, c, ReferenceTiff(file, c));
  }
};

TEST_F(ZRMBandGTIFFLevels, InABlockSamplesAreTakenFromItsOwnFirstPixelOn) {
  const auto file = TiffBuilder().Size(30, 10).Tiles(5, 16).Pixel([](int x, int, int) { return std::uint64_t(x); });
  TiffChannels image(Write(file));
  // Places 1, 3, 5, 7, 9, 11, 13: the second block begins at 5 and the third at 10, though the grid has 11 there.
  EXPECT_EQ(ReferenceTiff::Samples({1, 3, 5, 7, 9, 10, 12}), image.Read(0, 1, 1, 14, 0, 1));
}

TEST_F(ZRMBandGTIFFLevels, AStepBeyondABlockLeavesBlocksOut) {
  const auto file = TiffBuilder().Size(32, 8).Tiles(4, 4).Pixel([](int x, int, int) { return std::uint64_t(x); });
  TiffChannels image(Write(file));
  EXPECT_EQ(ReferenceTiff::Samples({2, 8, 16}), image.Read(0, 3, 2, 25, 0, 7));
}

TEST_F(ZRMBandGTIFFLevels, WindowsOfTilesAreTheReferences) {
  TiffBuilder file;
  file.Size(77, 61).Tiles(16, 16);
  ExpectWindows(file);
  ExpectWindows(file.Samples(3));
  ExpectWindows(file.Planar());
  ExpectWindows(file.Bits(16).BigEndian());
}

TEST_F(ZRMBandGTIFFLevels, WindowsOfStripsAreTheReferences) {
  TiffBuilder file;
  file.Size(77, 61).Strips(7);
  ExpectWindows(file);
  ExpectWindows(file.Samples(3));
  ExpectWindows(file.Strips(1));
  ExpectWindows(file.Strips(61).Bits(32));
}

TEST_F(ZRMBandGTIFFLevels, WindowsOfOddWidthsAreTheReferences) {
  for (const int bits : {1, 4, 10, 12, 24}) {
    TiffBuilder tiles, strips;
    tiles.Size(77, 61).Tiles(16, 32).Bits(bits).Samples(2);
    strips.Size(77, 61).Strips(5).Bits(bits);
    ExpectWindows(tiles);
    ExpectWindows(strips);
  }
}

TEST_F(ZRMBandGTIFFLevels, WindowsOfCompressedBlocksAreTheReferences) {
  for (const int bits : {8, 12, 16}) {
    TiffBuilder file;
    file.Size(77, 61).Tiles(32, 16).Bits(bits).Samples(2).Compression(5);
    ExpectWindows(file);
    ExpectWindows(file.Planar().BigEndian());
  }
}

TEST_F(ZRMBandGTIFFLevels, WindowsOfColoursThatLibtiffMakesAreTheReferences) {
  for (const bool isTiled : {false, true}) {
    TiffBuilder file;
    file.Size(77, 61).Samples(4).Photometric(5);
    if (isTiled) {
      file.Tiles(16, 16);
    } else {
      file.Strips(7);
    }
    const auto bytes = file.Build();
    const TiffRgba shown = DecodeTiffRgba(bytes);
    TiffChannels image(Write(bytes));
    for (int c = 0; c < 4; ++c) {
      ReferenceTiff reference(file, c);
      reference.value = [&shown, c](int x, int y) { return static_cast<std::uint64_t>(shown.At(x, y, c)); };
      ExpectWindows(image, c, reference);
    }
  }
}

TEST_F(ZRMBandGTIFFLevels, TheBottomStripIsShorter) {
  TiffBuilder file;
  file.Size(20, 10).Strips(7);
  ExpectSamples(file, kPint08);
  ExpectSamples(file.Compression(5), kPint08);
}

TEST_F(ZRMBandGTIFFLevels, BlocksBehindASparseTileMoveUp) {
  const auto file = TiffBuilder().Size(48, 32).Tiles(16, 16).Sparse(1).Pixel(
      [](int x, int y, int) { return std::uint64_t(x + 100 * (y / 16) + 1); });
  TiffChannels image(Write(file));
  const auto row = image.Read(0, 0, 0, 47, 3, 3);
  ASSERT_EQ(48u, row.size());
  EXPECT_EQ(16u, row[15]);
  EXPECT_EQ(33u, row[16]);
  EXPECT_EQ(48u, row[31]);
  EXPECT_EQ(0u, row[32]);
  EXPECT_EQ(0u, row[47]);
  EXPECT_EQ(117u, image.Read(0, 0, 0, 47, 16, 16).at(16));
}

TEST_F(ZRMBandGTIFFLevels, WindowsOverSparseTilesAreTheReferences) {
  for (const bool isCompressed : {false, true}) {
    TiffBuilder file;
    file.Size(77, 61).Tiles(16, 16).Sparse(1).Sparse(7).Sparse(8).Sparse(10).Sparse(19);
    if (isCompressed) file.Compression(5);
    TiffChannels image(Write(isCompressed ? file.Encode() : file.Build()));
    ReferenceTiff reference(file, 0);
    reference.unreadable = {1, 7, 8, 10, 19};
    ExpectWindows(image, 0, reference, true);
  }
}

TEST_F(ZRMBandGTIFFLevels, SparseBlocksOfForeignColoursAreSkippedToo) {
  for (const bool isTiled : {false, true}) {
    TiffBuilder whole;
    whole.Size(48, 32).Samples(4).Photometric(5).Compression(5);
    if (isTiled) {
      whole.Tiles(16, 16);
    } else {
      whole.Strips(8);
    }
    const TiffRgba shown = DecodeTiffRgba(whole.Encode());
    TiffChannels image(Write(TiffBuilder(whole).Sparse(1).Encode()));
    ReferenceTiff reference(whole, 0);
    reference.unreadable = {1};
    reference.value = [&shown](int x, int y) { return static_cast<std::uint64_t>(shown.At(x, y, 0)); };
    EXPECT_EQ(reference.Read(0, 0, 47, 0, 31), image.ReadAll(0)) << isTiled;
  }
}

TEST_F(ZRMBandGTIFFLevels, ASparseBlockOfOnePlaneConcernsItsChannelOnly) {
  const auto file = TiffBuilder().Size(48, 32).Tiles(16, 16).Samples(2).Planar().Sparse(6 + 2);
  TiffChannels image(Write(file));
  ReferenceTiff second(file, 1);
  second.unreadable = {2};
  EXPECT_EQ(ReferenceTiff(file, 0).Read(0, 0, 47, 0, 31), image.ReadAll(0));
  EXPECT_EQ(second.Read(0, 0, 47, 0, 31), image.ReadAll(1));
}

TEST_F(ZRMBandGTIFFLevels, RowsBelowASkippedStripStayInPlace) {
  const auto file = TiffBuilder().Size(20, 20).Strips(4).Sparse(0).Sparse(2);
  TiffChannels image(Write(file));
  ReferenceTiff reference(file, 0);
  reference.unreadable = {0, 2};
  EXPECT_EQ(reference.Read(0, 0, 19, 0, 19), image.ReadAll(0));
  const auto all = image.ReadAll(0);
  EXPECT_THAT(ReferenceTiff::Samples(all.begin(), all.begin() + 80), Each(0u));
  EXPECT_EQ(file.ValueAt(5, 4, 0), all[4 * 20 + 5]);
  ExpectWindows(image, 0, reference, true);
}

TEST_F(ZRMBandGTIFFLevels, SkippedBlocksAreZeroAfterOtherReads) {
  const auto file = TiffBuilder().Size(32, 32).Tiles(16, 16).Sparse(3);
  TiffChannels image(Write(file));
  ASSERT_EQ(file.ValueAt(0, 0, 0), image.Read(0, 0, 0, 15, 0, 15).at(0));
  EXPECT_THAT(image.Read(0, 0, 16, 31, 16, 31), Each(0u));
}

TEST_F(ZRMBandGTIFFLevels, PixelsThatNothingWritesAreZeroWhateverThePalette) {
  const auto file = TiffBuilder().Size(32, 32).Tiles(16, 16).Photometric(0).Sparse(1);
  TiffChannels image(Write(file));
  const auto row = image.Read(0, 0, 0, 31, 0, 0);
  EXPECT_EQ(255 - file.ValueAt(3, 0, 0), row.at(3));
  EXPECT_EQ(0u, row.at(16));
}

TEST_F(ZRMBandGTIFFLevels, BlocksWithoutAByteCountAreSkipped) {
  const auto file = TiffBuilder().Size(20, 20).Strips(4).ByteCounts(3);
  TiffChannels image(Write(file));
  ASSERT_TRUE(image.IsOpen()) << image.GetError();
  ReferenceTiff reference(file, 0);
  reference.unreadable = {3, 4};
  EXPECT_EQ(reference.Read(0, 0, 19, 0, 19), image.ReadAll(0));
}

TEST_F(ZRMBandGTIFFLevels, DamagedBlocksAreSkippedWithoutAWordOnStderr) {
  const auto file = TiffBuilder().Size(48, 32).Tiles(16, 16).Compression(5).Block(1, {0xFF, 0xFF, 0xFF, 0xFF});
  testing::internal::CaptureStderr();
  TiffChannels image(Write(file.Encode()));
  EXPECT_EQ("", image.GetMaster().GetLastMessage().AsStdString());
  ReferenceTiff reference(file, 0);
  reference.unreadable = {1};
  EXPECT_EQ(reference.Read(0, 0, 47, 0, 31), image.ReadAll(0));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_NE("", image.GetMaster().GetLastMessage().AsStdString());
}

TEST_F(ZRMBandGTIFFLevels, BlocksThatTheFileEndsBeforeAreSkipped) {
  auto file = TiffBuilder().Size(20, 20).Strips(4);
  auto bytes = file.Tag(273, 4, {1000, 1080, 1160, 1240, 1320}).Build();
  bytes.resize(1000);
  for (int y = 0; y < 10; ++y) {  // two strips and a half
    for (int x = 0; x < 20; ++x) bytes.push_back(static_cast<unsigned char>(file.ValueAt(x, y, 0)));
  }
  TiffChannels image(Write(bytes));
  ReferenceTiff reference(file, 0);
  reference.unreadable = {2, 3, 4};
  EXPECT_EQ(reference.Read(0, 0, 19, 0, 19), image.ReadAll(0));
}

TEST_F(ZRMBandGTIFFLevels, AReadErrorSkipsTheBlock) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  const auto file = TiffBuilder().Size(20, 20).Strips(4).Compression(5);
  TiffChannels image(Write(file.Encode()));
  ASSERT_EQ(ReferenceTiff(file, 0).Read(0, 0, 19, 0, 3), image.Read(0, 0, 0, 19, 0, 3));
  disk.FailRead(disk.GetReadCount() + 1);
  EXPECT_THAT(image.Read(0, 0, 0, 19, 4, 7), Each(0u));
  EXPECT_EQ(ReferenceTiff(file, 0).Read(0, 0, 19, 4, 7), image.Read(0, 0, 0, 19, 4, 7));
}

TEST_F(ZRMBandGTIFFLevels, ALevelThatLeavesNoPixelFails) {
  TiffChannels image(Write(TiffBuilder().Size(40, 40).Tiles(16, 16)));
  EXPECT_TRUE(image.Read(0, 3, 0, 6, 0, 39).empty());
  EXPECT_TRUE(image.Read(0, 3, 0, 39, 0, 6).empty());
  EXPECT_EQ(1u, image.Read(0, 3, 0, 7, 0, 7).size());
  tagXArr2* out = nullptr;
  for (const int level : {-1, 31, 32, 33, 64}) {
    EXPECT_EQ(0, image.GetMaster().ReadSubset(out, level, 0, 39, 0, 39, nullptr)) << level;
  }
}

}  // namespace
