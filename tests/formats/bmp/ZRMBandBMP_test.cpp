#include "ZRMBandBMP.h"

#include "BmpBuilder.h"
#include "FaultyDisk.h"
#include "TempFolder.h"
#include "Xepot.h"
#include "XFile.h"
#include "ZRMBandXLD.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <thread>

namespace {

/// A master with its followers over one file.
struct BmpChannels {
  explicit BmpChannels(const std::string& path) : master(nullptr) {
    opened = master.ReadFile(path, err, nullptr);
    for (int c = 1; opened && c < master.GetNumChannels(); ++c) {
      followers.push_back(std::make_unique<ZRMBandBMP>(&master));
      followers.back()->SetChannel(c);
    }
  }
  ZRMBandBMP& At(int c) { return c == 0 ? master : *followers[static_cast<std::size_t>(c - 1)]; }

  int opened = 0;
  XString err;
  ZRMBandBMP master;
  std::vector<std::unique_ptr<ZRMBandBMP>> followers;
};

class ZRMBandBMPFiles : public testing::Test {
 protected:
  std::string Write(const BmpBuilder& builder) {
    folder_.Write("a.bmp", builder.Build());
    return folder_.Path("a.bmp");
  }
  /// A file whose rows are all zero and take no room on disk.
  std::string WriteSparse(const BmpBuilder& builder, std::int64_t imageBytes) {
    const std::string path = folder_.Path("sparse.bmp");
    std::vector<unsigned char> bytes = builder.Build();
    bytes.resize(static_cast<std::size_t>(builder.HeaderBytes()));
    folder_.Write("sparse.bmp", bytes);
    EXPECT_EQ(0, truncate(path.c_str(), builder.HeaderBytes() + imageBytes));
    return path;
  }
  static std::string Failure(const std::string& path) {
    ZRMBandBMP band(nullptr);
    XString err = "left over";
    return band.ReadFile(path, err, nullptr) ? "" : err.AsStdString();
  }
  TempFolder folder_;
};

int Sample(const tagXArr2* buffer, int x, int y) {
  return buffer->Row(y)[x];
}

/// Reads a window of a band; null where that fails.
tagXArr2* Read(ZRMBandBMP& band, int level, int x0, int x1, int y0, int y1) {
  tagXArr2* out = nullptr;
  return band.ReadSubset(out, level, x0, x1, y0, y1, nullptr) ? out : nullptr;
}

TEST_F(ZRMBandBMPFiles, ReadsRedGreenBlueOf24Bits) {
  BmpChannels image(Write(BmpBuilder().Size(70, 5).Bits(24)));
  ASSERT_EQ(3, image.master.GetNumChannels());
  for (int c = 0; c < 3; ++c) {
    const tagXArr2* out = Read(image.At(c), 0, 2, 68, 1, 4);
    ASSERT_NE(nullptr, out);
    for (int y = 1; y <= 4; ++y) {
      for (int x = 2; x <= 68; ++x) {
        const int expected = c == 0 ? BmpBuilder::Red(x, y) : c == 1 ? BmpBuilder::Green(x, y) : BmpBuilder::Blue(x, y);
        ASSERT_EQ(expected, Sample(out, x - 2, y - 1)) << c << ' ' << x << ' ' << y;
      }
    }
  }
}

TEST_F(ZRMBandBMPFiles, ReadsTheFourthByteOf32BitsAsFourthChannel) {
  BmpChannels image(Write(BmpBuilder().Size(40, 3).Bits(32)));
  ASSERT_EQ(4, image.master.GetNumChannels());
  const tagXArr2* out = Read(image.At(3), 0, 0, 39, 0, 2);
  ASSERT_NE(nullptr, out);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 40; ++x) ASSERT_EQ(BmpBuilder::Fourth(x, y), Sample(out, x, y));
  }
  EXPECT_EQ(BmpBuilder::Red(39, 2), Sample(Read(image.At(0), 0, 0, 39, 0, 2), 39, 2));
}

TEST_F(ZRMBandBMPFiles, Applies8BitPaletteToThreeChannels) {
  BmpChannels image(Write(BmpBuilder().Size(9, 4).Bits(8)));
  ASSERT_EQ(3, image.master.GetNumChannels());
  EXPECT_EQ(256, image.master.GetPaletteSize());
  EXPECT_EQ(kPint08, image.At(2).GetDataType());
  const int index = BmpBuilder::Blue(8, 3);
  EXPECT_EQ(BmpBuilder::PaletteRed(index), Sample(Read(image.At(0), 0, 0, 8, 0, 3), 8, 3));
  EXPECT_EQ(BmpBuilder::PaletteGreen(index), Sample(Read(image.At(1), 0, 0, 8, 0, 3), 8, 3));
  EXPECT_EQ(BmpBuilder::PaletteBlue(index), Sample(Read(image.At(2), 0, 0, 8, 0, 3), 8, 3));
}

TEST_F(ZRMBandBMPFiles, IndicesBeyondTheColourTableAreBlack) {
  BmpChannels image(Write(BmpBuilder().Size(4, 1).Bits(8).Palette(2).ClrUsed(2).Pixel([](int x, int) { return x; })));
  ASSERT_EQ(1, image.opened) << image.err.GetText();
  const tagXArr2* out = Read(image.At(0), 0, 0, 3, 0, 0);
  EXPECT_EQ(BmpBuilder::PaletteRed(1), Sample(out, 1, 0));
  EXPECT_EQ(0, Sample(out, 2, 0));
}

TEST_F(ZRMBandBMPFiles, Takes16BitsAsTwoBytesWithoutDecoding) {
  BmpChannels image(Write(BmpBuilder().Size(5, 2).Bits(16)));
  ASSERT_EQ(2, image.master.GetNumChannels());
  EXPECT_EQ(0, Sample(Read(image.At(0), 0, 0, 4, 0, 1), 4, 1));
  EXPECT_EQ(BmpBuilder::Green(4, 1), Sample(Read(image.At(1), 0, 0, 4, 0, 1), 4, 1));
}

TEST_F(ZRMBandBMPFiles, TakesDirectPixelsPastAColourTable) {
  BmpChannels image(Write(BmpBuilder().Size(5, 2).Bits(24).Palette(3).ClrUsed(3)));
  ASSERT_EQ(3, image.master.GetNumChannels());
  EXPECT_EQ(BmpBuilder::Red(4, 1), Sample(Read(image.At(0), 0, 0, 4, 0, 1), 4, 1));
}

TEST_F(ZRMBandBMPFiles, AColourTableOf32BitsLeavesThreeChannels) {
  BmpChannels image(Write(BmpBuilder().Size(5, 2).Bits(32).Palette(3).ClrUsed(3)));
  ASSERT_EQ(3, image.master.GetNumChannels());
  EXPECT_EQ(BmpBuilder::Blue(4, 1), Sample(Read(image.At(2), 0, 0, 4, 0, 1), 4, 1));
}

TEST_F(ZRMBandBMPFiles, TakesPixelsDirectlyAfterThePalette) {
  BmpChannels image(Write(BmpBuilder().Size(5, 2).Bits(24).OffBits(4000)));
  ASSERT_EQ(1, image.opened);
  EXPECT_EQ(BmpBuilder::Red(4, 1), Sample(Read(image.At(0), 0, 0, 4, 0, 1), 4, 1));
}

TEST_F(ZRMBandBMPFiles, NeverLooksAtTheCompression) {
  BmpChannels image(Write(BmpBuilder().Size(5, 2).Bits(24).Compression(1)));
  ASSERT_EQ(1, image.opened);
  EXPECT_EQ(BmpBuilder::Green(0, 0), Sample(Read(image.At(1), 0, 0, 4, 0, 1), 0, 0));
}

TEST_F(ZRMBandBMPFiles, NamesTheFileThatCannotBeOpened) {
  EXPECT_EQ("Can't open file : " + folder_.Path("none.bmp"), Failure(folder_.Path("none.bmp")));
}

TEST_F(ZRMBandBMPFiles, EmptiesTheErrorFirst) {
  ZRMBandBMP band(nullptr);
  XString err = "left over";
  EXPECT_EQ(1, band.ReadFile(Write(BmpBuilder()), err, nullptr));
  EXPECT_EQ("", err.AsStdString());
}

TEST_F(ZRMBandBMPFiles, RefusesTopDownRows) {
  EXPECT_EQ("Can't allocate memory", Failure(Write(BmpBuilder().TopDown())));
}

TEST_F(ZRMBandBMPFiles, RefusesSmallBitCounts) {
  EXPECT_EQ("Not supported bit count: 1", Failure(Write(BmpBuilder().Bits(1))));
  EXPECT_EQ("Not supported bit count: 4", Failure(Write(BmpBuilder().Bits(4))));
}

TEST_F(ZRMBandBMPFiles, TellsRowsCutShort) {
  std::vector<unsigned char> bytes = BmpBuilder().Build();
  bytes.pop_back();
  folder_.Write("short.bmp", bytes);
  EXPECT_EQ("Can't read bitmap bits", Failure(folder_.Path("short.bmp")));
}

TEST_F(ZRMBandBMPFiles, TellsAReadErrorInTheRows) {
  const std::string path = Write(BmpBuilder());
  FaultyDisk disk;
  disk.FailRead(2);
  const zrk::ScopedDisk scope(disk);
  EXPECT_EQ("Can't read bitmap bits", Failure(path));
}

TEST_F(ZRMBandBMPFiles, HoldsImagesBelowTheThresholdInMemory) {
  ZRMBandBMP band(nullptr);
  XString err;
  const std::string path = WriteSparse(BmpBuilder().Size(1, 1).Bits(8).Claim(4, 7999999), 31999996);
  ASSERT_EQ(1, band.ReadFile(path, err, nullptr));
  EXPECT_EQ(ZRMBandBMP::kSourceMemory, band.GetSourceType());
  EXPECT_EQ(0, band.GetOffset());
}

TEST_F(ZRMBandBMPFiles, MapsImagesFromTheThresholdOn) {
  ZRMBandBMP band(nullptr);
  XString err;
  const std::string path = WriteSparse(BmpBuilder().Size(1, 1).Bits(8).Claim(4, 8000000), 32000000);
  ASSERT_EQ(1, band.ReadFile(path, err, nullptr));
  EXPECT_EQ(ZRMBandBMP::kSourceView, band.GetSourceType());
  EXPECT_EQ(54 + 1024, band.GetOffset());
  EXPECT_NE(nullptr, Read(band, 0, 0, 3, 7999999, 7999999));
}

TEST_F(ZRMBandBMPFiles, ReadsThroughTheFileWhereItCannotBeMapped) {
  const std::string path = WriteSparse(BmpBuilder().Size(1, 1).Bits(8).Claim(4, 8000000), 32000000);
  FaultyDisk disk;
  disk.FailMap(1);
  const zrk::ScopedDisk scope(disk);
  ZRMBandBMP band(nullptr);
  XString err;
  ASSERT_EQ(1, band.ReadFile(path, err, nullptr));
  EXPECT_EQ(ZRMBandBMP::kSourceFile, band.GetSourceType());
  const tagXArr2* out = Read(band, 1, 0, 3, 0, 3);
  ASSERT_NE(nullptr, out);
  EXPECT_EQ(2, out->xSize);
}

TEST_F(ZRMBandBMPFiles, FailsOnlyForRowsThatAMappedFileLacks) {
  ZRMBandBMP band(nullptr);
  XString err;
  const std::string path = WriteSparse(BmpBuilder().Size(1, 1).Bits(8).Claim(4, 8000000), 16000000);
  ASSERT_EQ(1, band.ReadFile(path, err, nullptr));
  EXPECT_NE(nullptr, Read(band, 0, 0, 3, 4000000, 7999999));
  EXPECT_EQ(nullptr, Read(band, 0, 0, 3, 3999999, 3999999));
}

TEST_F(ZRMBandBMPFiles, FailsAfterAMappedFileHasShrunk) {
  ZRMBandBMP band(nullptr);
  XString err;
  const std::string path = WriteSparse(BmpBuilder().Size(1, 1).Bits(8).Claim(4, 8000000), 32000000);
  ASSERT_EQ(1, band.ReadFile(path, err, nullptr));
  ASSERT_NE(nullptr, Read(band, 0, 0, 3, 0, 10));
  ASSERT_EQ(0, truncate(path.c_str(), 4096));
  EXPECT_EQ(nullptr, Read(band, 0, 0, 3, 0, 10));
}

TEST_F(ZRMBandBMPFiles, APromiseOfHugeImagesCostsNoMemory) {
  std::vector<unsigned char> bytes = BmpBuilder().Size(2, 2).Bits(8).Claim(65536, 32767).Build();
  folder_.Write("huge.bmp", bytes);
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  ZRMBandBMP band(nullptr);
  XString err;
  ASSERT_EQ(1, band.ReadFile(folder_.Path("huge.bmp"), err, nullptr));
  EXPECT_EQ(nullptr, Read(band, 0, 0, 65535, 0, 32766));
  EXPECT_EQ(0, band.CalcStatistics(1));
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 100 * 1024);
}

/// All samples are 0 but the red one of the upper left pixel, which is 1.
TEST_F(ZRMBandBMPFiles, StatisticsOfAMappedImageHoldSomeRowsOfItAtATime) {
  ZRMBandBMP band(nullptr);
  XString err;
  const std::string path = WriteSparse(BmpBuilder().Size(1, 1).Bits(24).Claim(4000, 5001), 60012000);
  std::fstream(path, std::ios::binary | std::ios::in | std::ios::out).seekp(-11998, std::ios::end).put(1);
  ASSERT_EQ(1, band.ReadFile(path, err, nullptr));
  ASSERT_EQ(1, band.CalcStatistics(1));
  EXPECT_EQ(0.0, band.GetBandMin());
  EXPECT_EQ(1.0, band.GetBandMax());
  EXPECT_DOUBLE_EQ(1.0 / (4000.0 * 5001.0), band.GetBandMean());
  EXPECT_EQ(4000 * 5001 - 1, band.GetHistogram()[0]);
  EXPECT_EQ(1, band.GetHistogram()[255]);
  ASSERT_NE(nullptr, band.GetResult(2));
  EXPECT_LE(band.GetResult(2)->ySize, 1048);
}

TEST_F(ZRMBandBMPFiles, APromiseBelowTheThresholdIsHeldAgainstTheFileLength) {
  folder_.Write("liar.bmp", BmpBuilder().Size(2, 2).Bits(24).Claim(3000, 3000).Build());
  EXPECT_EQ("Can't read bitmap bits", Failure(folder_.Path("liar.bmp")));
}

TEST_F(ZRMBandBMPFiles, AnImageInMemoryIgnoresTheLevel) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6).Bits(24)));
  for (const int level : {1, 3, 40}) {
    const tagXArr2* out = Read(image.At(0), level, 0, 7, 0, 5);
    ASSERT_NE(nullptr, out);
    EXPECT_EQ(8, out->xSize);
    EXPECT_EQ(6, out->ySize);
    EXPECT_EQ(BmpBuilder::Red(7, 5), Sample(out, 7, 5));
  }
}

/// The same bitmap behind an open file, which is what honours the level.
std::unique_ptr<ZRMBandBMP> OpenThroughFile(const std::string& path) {
  ZRMBandBMP parser(nullptr);
  XString err;
  if (!parser.ReadFile(path, err, nullptr)) return nullptr;
  auto file = std::make_unique<XFile>();
  if (!file->Open(path, XFile::kRead | XFile::kShareDenyNone)) return nullptr;
  auto band = std::make_unique<ZRMBandBMP>(nullptr);
  if (!band->SetImage(file.get(), 54 + 4 * parser.GetPaletteSize(), parser.GetBitmapInfo())) return nullptr;
  [[maybe_unused]] XFile* taken = file.release();
  return band;
}

TEST_F(ZRMBandBMPFiles, AnImageBehindAFileIsDecimatedByTheLevel) {
  const auto band = OpenThroughFile(Write(BmpBuilder().Size(21, 13).Bits(24)));
  ASSERT_NE(nullptr, band);
  EXPECT_EQ(ZRMBandBMP::kSourceFile, band->GetSourceType());
  const tagXArr2* out = Read(*band, 2, 3, 20, 2, 12);
  ASSERT_NE(nullptr, out);
  ASSERT_EQ(18 >> 2, out->xSize);
  ASSERT_EQ(11 >> 2, out->ySize);
  for (int j = 0; j < out->ySize; ++j) {
    for (int i = 0; i < out->xSize; ++i) ASSERT_EQ(BmpBuilder::Red(3 + 4 * i, 2 + 4 * j), Sample(out, i, j));
  }
}

TEST_F(ZRMBandBMPFiles, ALevelWithoutPixelsFailsBehindAFile) {
  const auto band = OpenThroughFile(Write(BmpBuilder().Size(21, 13).Bits(24)));
  ASSERT_NE(nullptr, band);
  EXPECT_EQ(nullptr, Read(*band, 3, 0, 6, 0, 6));
  const tagXArr2* out = Read(*band, 3, 0, 7, 0, 8);
  ASSERT_NE(nullptr, out);
  EXPECT_EQ(1, out->xSize * out->ySize);
  for (const int level : {-1, 31, 32, 64}) EXPECT_EQ(nullptr, Read(*band, level, 0, 20, 0, 12)) << level;
}

TEST_F(ZRMBandBMPFiles, AReadErrorBehindAFileFailsTheRead) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  const auto band = OpenThroughFile(Write(BmpBuilder().Size(21, 13).Bits(24)));
  ASSERT_NE(nullptr, band);
  disk.FailRead(disk.GetReadCount() + 5);
  EXPECT_EQ(nullptr, Read(*band, 0, 0, 20, 0, 12));
  EXPECT_EQ(nullptr, band->GetResult(0));
}

TEST_F(ZRMBandBMPFiles, InvalidWindowsFailAndLeaveTheOutput) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  tagXArr2 untouched;
  const int windows[][4] = {{0, 8, 0, 5}, {0, 7, 0, 6}, {3, 2, 0, 5}, {0, 7, 4, 3}, {-1, 7, 0, 5}, {0, 7, -1, 5}};
  for (const auto& w : windows) {
    for (int c = 0; c < 2; ++c) {
      tagXArr2* out = &untouched;
      EXPECT_EQ(0, image.At(c).ReadSubset(out, 0, w[0], w[1], w[2], w[3], nullptr));
      EXPECT_EQ(&untouched, out);
    }
  }
}

TEST_F(ZRMBandBMPFiles, AFollowerReadTwiceDecodesOnce) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  tagXArr2* first = Read(image.At(1), 0, 0, 7, 0, 5);
  ASSERT_NE(nullptr, first);
  first->data[0] = 250;  // a second decode would put the pixel back
  EXPECT_EQ(first, Read(image.At(1), 0, 0, 7, 0, 5));
  EXPECT_EQ(250, first->data[0]);
  EXPECT_EQ(BmpBuilder::Green(1, 0), Sample(Read(image.At(1), 0, 1, 7, 0, 5), 0, 0));
}

TEST_F(ZRMBandBMPFiles, TheMastersReadServesTheFollowers) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  ASSERT_NE(nullptr, Read(image.master, 0, 2, 5, 1, 4));
  int request[5];
  image.master.GetPrevReadSubsetParam(request[0], request[1], request[2], request[3], request[4]);
  EXPECT_THAT(request, testing::ElementsAre(0, 2, 5, 1, 4));
  EXPECT_EQ(image.master.GetResult(2), Read(image.At(2), 0, 2, 5, 1, 4));
}

TEST_F(ZRMBandBMPFiles, ResultsAreOfTheCallingThread) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  ASSERT_NE(nullptr, Read(image.master, 0, 0, 7, 0, 5));
  std::thread([&] {
    EXPECT_EQ(nullptr, image.master.GetResult(0));
    const tagXArr2* out = Read(image.At(1), 0, 0, 7, 0, 5);
    ASSERT_NE(nullptr, out);
    EXPECT_EQ(BmpBuilder::Green(7, 5), Sample(out, 7, 5));
  }).join();
}

TEST_F(ZRMBandBMPFiles, ResultsOfChannelsThatAreNotThereAreNull) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  EXPECT_EQ(nullptr, image.master.GetResult(0));
  ASSERT_NE(nullptr, Read(image.master, 0, 0, 7, 0, 5));
  EXPECT_EQ(nullptr, image.master.GetResult(-1));
  EXPECT_EQ(nullptr, image.master.GetResult(3));
  EXPECT_EQ(nullptr, image.At(1).GetResult(0));
}

TEST_F(ZRMBandBMPFiles, FollowersShareThePlaceOfTheMaster) {
  ZRMBandBMP master(nullptr);
  XString err;
  ASSERT_EQ(1, master.ReadFile(Write(BmpBuilder().Size(8, 6)), err, nullptr));
  EXPECT_EQ(0.0, master.GetULX());
  EXPECT_EQ(5.0, master.GetULY());
  master.SetPixelSize(2.0, 3.0);
  master.SetUpperLeft(10.0, 20.0);
  master.GetSR()->importFromEPSG(4326);
  const ZRMBandBMP follower(&master);
  EXPECT_EQ(8, follower.GetXSize());
  EXPECT_EQ(6, follower.GetYSize());
  EXPECT_EQ(2.0, follower.GetXPixelSize());
  EXPECT_EQ(3.0, follower.GetYPixelSize());
  EXPECT_EQ(10.0, follower.GetULX());
  EXPECT_EQ(20.0, follower.GetULY());
  EXPECT_TRUE(follower.GetSR()->IsSame(*master.GetSR()));
}

TEST_F(ZRMBandBMPFiles, MemoryIsKeptWhateverIsAsked) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  const tagXArr2* out = Read(image.master, 0, 0, 7, 0, 5);
  image.master.CleanupMemory(1, 1);
  EXPECT_EQ(out, image.master.GetResult(0));
}

TEST_F(ZRMBandBMPFiles, StatisticsAreThoseOfAllPixels) {
  BmpChannels image(Write(BmpBuilder().Size(2, 2).Bits(24).Pixel([](int x, int y) { return 10u * (2 * y + x) + 10; })));
  ZRMBandBMP& blue = image.At(2);
  EXPECT_EQ(0.0, blue.GetBandMin());
  EXPECT_EQ(255.0, blue.GetBandMax());
  ASSERT_EQ(1, blue.CalcStatistics(0));
  EXPECT_EQ(10.0, blue.GetBandMin());
  EXPECT_EQ(40.0, blue.GetBandMax());
  EXPECT_EQ(25.0, blue.GetBandMean());
  EXPECT_NEAR(12.909944487358056, blue.GetBandStdDev(), 1e-12);
  EXPECT_EQ(0, blue.GetHistogram()[0]);
  ASSERT_EQ(1, blue.CalcStatistics(1));
  EXPECT_EQ(1, blue.GetHistogram()[0]);
  EXPECT_EQ(1, blue.GetHistogram()[255]);
}

TEST_F(ZRMBandBMPFiles, TheTargetLevelIsThatOfThePyramidArithmetic) {
  ZRMBandBMP band(nullptr);
  band.SetSize(4096, 4096);
  EXPECT_EQ(4, band.GetLevel());
  EXPECT_EQ(3, band.GetHighestLevelForTarget(0, 4095, 0, 4095, 512, 512));
  EXPECT_EQ(0, band.GetHighestLevelForTarget(0, 99, 0, 99, 512, 512));
}

/// Level data that serves every level above 0 with one pixel of a known value.
class OnePixelLevels : public ZRMBandXLD {
 public:
  using ZRMBandXLD::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int, int, int, int, int* cancel) override {
    lastCancel = cancel;
    if (level <= 0) return 0;
    pixel_.data[0] = 77;
    out = &pixel_;
    return 1;
  }
  int* lastCancel = nullptr;

 private:
  tagXArr2 pixel_{1, 1, 1};
};

TEST_F(ZRMBandBMPFiles, LevelDataIsAskedFirstAndTheSourceWhereItDeclines) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  auto* levels = new OnePixelLevels;  // the band takes it over
  image.master.SetBandXLD(levels);
  int stop = 0;
  tagXArr2* out = nullptr;
  ASSERT_EQ(1, image.master.ReadSubset(out, 1, 0, 7, 0, 5, &stop));
  EXPECT_EQ(77, out->data[0]);
  EXPECT_EQ(&stop, levels->lastCancel);
  ASSERT_EQ(1, image.master.ReadSubset(out, 0, 0, 7, 0, 5, &stop));
  EXPECT_EQ(BmpBuilder::Red(7, 5), Sample(out, 7, 5));
}

TEST_F(ZRMBandBMPFiles, OpeningAgainReplacesTheImage) {
  ZRMBandBMP band(nullptr);
  XString err;
  ASSERT_EQ(1, band.ReadFile(Write(BmpBuilder().Size(8, 6)), err, nullptr));
  EXPECT_EQ(0, band.ReadFile(folder_.Path("none.bmp"), err, nullptr));
  EXPECT_EQ(ZRMBandBMP::kSourceNone, band.GetSourceType());
  EXPECT_EQ(nullptr, Read(band, 0, 0, 1, 0, 1));
  ASSERT_EQ(1, band.ReadFile(Write(BmpBuilder().Size(3, 2)), err, nullptr));
  EXPECT_EQ(3, band.GetXSize());
}

TEST_F(ZRMBandBMPFiles, ASizeSetByOthersDoesNotLeadOutOfTheImage) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  image.master.SetSize(400, 400);
  EXPECT_EQ(nullptr, Read(image.master, 0, 0, 399, 0, 399));
  EXPECT_EQ(nullptr, Read(image.master, 0, 0, 7, 0, 6));
  const tagXArr2* out = Read(image.master, 0, 0, 7, 0, 5);
  ASSERT_NE(nullptr, out);
  EXPECT_EQ(BmpBuilder::Red(7, 5), Sample(out, 7, 5));
}

TEST_F(ZRMBandBMPFiles, AFollowerDoesNotTakeResultsOfTheImageBefore) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  ASSERT_NE(nullptr, Read(image.At(1), 0, 0, 7, 0, 5));
  XString err;
  ASSERT_EQ(
      1, image.master.ReadFile(Write(BmpBuilder().Size(8, 6).Pixel([](int, int) { return 0x4D4D4Du; })), err, nullptr));
  EXPECT_EQ(nullptr, image.master.GetResult(1));
  EXPECT_EQ(0x4D, Sample(Read(image.At(1), 0, 0, 7, 0, 5), 3, 3));
}

TEST_F(ZRMBandBMPFiles, AFollowerTakesNoResultOfAnotherRequest) {
  BmpChannels image(Write(BmpBuilder().Size(8, 6)));
  ASSERT_NE(nullptr, Read(image.master, 0, 0, 1, 0, 1));
  image.master.SetBandXLD(new OnePixelLevels);  // the band takes it over
  EXPECT_EQ(nullptr, Read(image.At(1), 1, 0, 7, 0, 5));
  EXPECT_NE(nullptr, Read(image.At(1), 0, 0, 7, 0, 5));
}

TEST_F(ZRMBandBMPFiles, TakesItsOwnHeaderForAnotherImage) {
  ZRMBandBMP band(nullptr);
  XString err;
  ASSERT_EQ(1, band.ReadFile(Write(BmpBuilder().Size(8, 6)), err, nullptr));
  std::vector<unsigned char> rows(24 * 6, 9);
  ASSERT_EQ(1, band.SetImage(rows.data(), 0, band.GetBitmapInfo(), 1));
  EXPECT_EQ(9, Sample(Read(band, 0, 0, 7, 0, 5), 7, 5));
}

TEST(ZRMBandBMP, TakesACopyOfPixelsFromWhereTheyBegin) {
  std::vector<unsigned char> rows = {1, 2, 3, 0, 4, 5, 6, 0};  // bottom row first
  BITMAPINFO info{};
  info.bmiHeader.biWidth = 1;
  info.bmiHeader.biHeight = 2;
  info.bmiHeader.biBitCount = 24;
  ZRMBandBMP band(nullptr);
  ASSERT_EQ(1, band.SetImage(rows.data(), 4, &info, 0));
  rows.assign(rows.size(), 0);
  EXPECT_EQ(ZRMBandBMP::kSourceMemory, band.GetSourceType());
  EXPECT_EQ(0, band.GetOffset());
  const tagXArr2* out = Read(band, 0, 0, 0, 0, 1);
  ASSERT_NE(nullptr, out);
  EXPECT_EQ(6, Sample(out, 0, 0));
  EXPECT_EQ(3, Sample(out, 0, 1));
}

TEST(ZRMBandBMP, LooksAtDirectPixelsWhereTheyLie) {
  std::vector<unsigned char> rows = {0, 0, 0, 0, 1, 2, 3, 0, 4, 5, 6, 0};
  BITMAPINFO info{};
  info.bmiHeader.biWidth = 1;
  info.bmiHeader.biHeight = 2;
  info.bmiHeader.biBitCount = 24;
  ZRMBandBMP band(nullptr);
  ASSERT_EQ(1, band.SetImage(rows.data(), 4, &info, 1));
  EXPECT_EQ(ZRMBandBMP::kSourceView, band.GetSourceType());
  EXPECT_EQ(4, band.GetOffset());
  rows[10] = 60;
  EXPECT_EQ(60, Sample(Read(band, 0, 0, 0, 0, 1), 0, 0));
  EXPECT_EQ(1.0, band.GetULY());
}

TEST(ZRMBandBMP, RefusesImagesThatCannotBe) {
  unsigned char rows[16] = {};
  BITMAPINFO info{};
  info.bmiHeader.biWidth = 1;
  info.bmiHeader.biHeight = 2;
  info.bmiHeader.biBitCount = 24;
  ZRMBandBMP band(nullptr);
  EXPECT_EQ(0, band.SetImage(nullptr, 0, &info, 0));
  EXPECT_EQ(0, band.SetImage(rows, 0, nullptr, 0));
  EXPECT_EQ(0, band.SetImage(rows, -1, &info, 1));
  EXPECT_EQ(0, band.SetImage(static_cast<XFile*>(nullptr), 0, &info));
  EXPECT_EQ(0, band.SetImage(rows, INT64_MAX, &info, 1));
  info.bmiHeader.biHeight = -2;
  EXPECT_EQ(0, band.SetImage(rows, 0, &info, 0));
  info.bmiHeader.biHeight = 2;
  info.bmiHeader.biBitCount = 4;
  EXPECT_EQ(0, band.SetImage(rows, 0, &info, 0));
  EXPECT_EQ(ZRMBandBMP::kSourceNone, band.GetSourceType());
}

TEST(ZRMBandBMP, WithoutAnImageHasNoChannels) {
  ZRMBandBMP band(nullptr);
  EXPECT_EQ(0, band.GetNumChannels());
  EXPECT_EQ(0, band.GetPaletteSize());
  EXPECT_EQ(nullptr, band.GetBitmapInfo());
  EXPECT_EQ(0, band.GetChannel());
  EXPECT_EQ(kPint08, band.GetDataType());
}

}  // namespace
