#include "ZRMBandGTIFF.h"

#include "FaultyDisk.h"
#include "TiffChannels.h"
#include "XDataType.h"
#include "XLimits.h"
#include "XMessageBox.h"
#include "ZRMBandXLD.h"

#include <gmock/gmock.h>
#include <unistd.h>
#include <fstream>

namespace {

using testing::Each;
using testing::ElementsAre;

/// Keeps what the operator is told.
class MessageKeeper {
 public:
  MessageKeeper() {
    previous_ = XfnSetMessageBoxHandler([this](const XString& text, const XString& caption, unsigned style) {
      messages.push_back(text.AsStdString() + " | " + caption.AsStdString() + " | " + std::to_string(style));
      return int{kAnswerOk};
    });
  }
  ~MessageKeeper() { XfnSetMessageBoxHandler(previous_); }
  std::vector<std::string> messages;

 private:
  XMessageBoxHandler previous_;
};

class ZRMBandGTIFFFiles : public TiffFiles {
 protected:
  static std::string Failure(const std::string& path) {
    ZRMBandGTIFF band(nullptr);
    XString err = "left over";
    return band.ReadFile(path, err, nullptr) ? "opened" : err.AsStdString();
  }
  static std::vector<int> TagsOf(const ZRMBandGTIFF& band) {
    return {band.GetCompreType(),  band.GetSamplesPerPixel(), band.GetBitsPerSample(), band.GetPlanarConfiguration(),
            band.GetPhotometric(), band.GetSampleFormat(),    band.IsTiled(),          band.GetBlockWidth(),
            band.GetBlockHeight(), band.GetBlocksAcross(),    band.GetBlocksDown()};
  }
};

TEST_F(ZRMBandGTIFFFiles, ABandWithoutAFileIsEmpty) {
  ZRMBandGTIFF band(nullptr);
  EXPECT_THAT(TagsOf(band), Each(0));
  EXPECT_EQ(1, band.GetNumChannels());
  EXPECT_EQ(0, band.GetChannel());
  EXPECT_EQ(nullptr, band.GetFileTIFF());
  EXPECT_EQ(1.7e+308, band.GetBandMin());
  EXPECT_EQ(-1.7e+308, band.GetBandMax());
  EXPECT_EQ(0, band.InitBlockInfo());
  EXPECT_TRUE(band.GetDirectories(10).empty());
  EXPECT_EQ("", band.GetLastMessage().AsStdString());
  band.SetSize(10, 10);
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 1, 0, 1, nullptr));
  int reserved = 3, size = 4;
  EXPECT_EQ(nullptr, band.LoadBlockBuf(0, reserved, size));
}

TEST_F(ZRMBandGTIFFFiles, TheTagsOfAFileAreTold) {
  TiffChannels image(Write(TiffBuilder().Size(70, 50).Tiles(16, 32).Bits(16).Format(2).Samples(3).Planar()));
  EXPECT_THAT(TagsOf(image.GetMaster()), ElementsAre(1, 3, 16, 2, 1, 2, 1, 16, 32, 5, 2));
  EXPECT_EQ(70, image.GetMaster().GetXSize());
  EXPECT_EQ(50, image.GetMaster().GetYSize());
  ASSERT_NE(nullptr, image.GetMaster().GetFileTIFF());
  const TiffBuilder strips = TiffBuilder().Size(70, 50).Strips(16).Compression(5);
  TiffChannels other(Write(strips.Encode()));
  EXPECT_THAT(TagsOf(other.GetMaster()), ElementsAre(5, 1, 8, 1, 1, 1, 0, 70, 16, 1, 4));
  EXPECT_EQ(1, other.GetMaster().InitBlockInfo());
}

TEST_F(ZRMBandGTIFFFiles, FollowersAreOfTheMastersImage) {
  TiffChannels image(Write(TiffBuilder().Size(70, 50).Tiles(16, 32).Bits(16).Samples(3)));
  ASSERT_EQ(3, image.GetNumChannels());
  ZRMBandGTIFF& master = image.GetMaster();
  master.SetUpperLeft(10.0, 20.0);
  master.SetPixelSize(2.0, 3.0);
  const ZRMBandGTIFF follower(&master);
  EXPECT_EQ(TagsOf(master), TagsOf(follower));
  EXPECT_EQ(kPint16, follower.GetDataType());
  EXPECT_EQ(70, follower.GetXSize());
  EXPECT_EQ(50, follower.GetYSize());
  EXPECT_EQ(10.0, follower.GetULX());
  EXPECT_EQ(3.0, follower.GetYPixelSize());
  EXPECT_EQ(1, follower.GetNumChannels());
  EXPECT_EQ(1.7e+308, follower.GetBandMin());
  EXPECT_EQ(master.GetFileTIFF(), follower.GetFileTIFF());
}

TEST_F(ZRMBandGTIFFFiles, EmptiesTheErrorFirst) {
  ZRMBandGTIFF band(nullptr);
  XString err = "left over";
  EXPECT_EQ(1, band.ReadFile(Write(TiffBuilder()), err, nullptr));
  EXPECT_EQ("", err.AsStdString());
}

TEST_F(ZRMBandGTIFFFiles, NamesTheFileThatCannotBeOpened) {
  const std::string none = folder_.Path("none.tif");
  EXPECT_EQ("Can't open file : " + none, Failure(none));
  for (const TiffBuilder::Bytes& bytes : {TiffBuilder::Bytes{}, {'I', 'I'}, {'I', 'I', 42, 0, 255, 0, 0, 0}}) {
    const std::string path = Write(bytes);
    EXPECT_EQ("Can't open file : " + path, Failure(path));
  }
  const std::string refused = Write(TiffBuilder());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailOpen(1);
  EXPECT_EQ("Can't open file : " + refused, Failure(refused));
}

TEST_F(ZRMBandGTIFFFiles, AFileWithoutItsByteCountsCannotBeOpened) {
  const std::string path = Write(TiffBuilder().Size(20, 20).Strips(4).Without(279));
  EXPECT_EQ("Can't open file : " + path, Failure(path));
}

TEST_F(ZRMBandGTIFFFiles, AMissingDecoderIsToldToTheOperator) {
  const MessageKeeper keeper;
  EXPECT_EQ("", Failure(Write(TiffBuilder().Compression(34712))));
  EXPECT_THAT(keeper.messages, ElementsAre("Fail to open fie [missing codec : 34712] | Reading GeoTIFF... | 16"));
}

TEST_F(ZRMBandGTIFFFiles, JpegOf12BitsIsRefusedBeforeTheOperator) {
  const MessageKeeper keeper;
  EXPECT_EQ("", Failure(Write(TiffBuilder().Bits(12).Compression(7))));
  EXPECT_THAT(keeper.messages, ElementsAre("Current version does not support 12 bit JPEG TIFF | Reading GeoTIFF | 16"));
}

TEST_F(ZRMBandGTIFFFiles, SoundFilesTellTheOperatorNothing) {
  const MessageKeeper keeper;
  EXPECT_EQ("opened", Failure(Write(TiffBuilder().Compression(5).Encode())));
  EXPECT_EQ("opened", Failure(Write(TiffBuilder().Size(16, 16).Compression(7).Encode())));
  EXPECT_TRUE(keeper.messages.empty());
}

TEST_F(ZRMBandGTIFFFiles, NothingOfARefusedFileIsKept) {
  const MessageKeeper keeper;
  ZRMBandGTIFF band(nullptr);
  XString err;
  ASSERT_EQ(1, band.ReadFile(Write(TiffBuilder().Photometric(0)), err, nullptr));
  ASSERT_EQ(256, band.GetNumOfPalette());
  EXPECT_EQ(0, band.ReadFile(Write(TiffBuilder().Compression(34712)), err, nullptr));
  EXPECT_EQ(nullptr, band.GetFileTIFF());
  EXPECT_EQ(0, band.GetNumOfPalette());
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 1, 0, 1, nullptr));
}

TEST_F(ZRMBandGTIFFFiles, OpeningAgainReplacesTheImage) {
  ZRMBandGTIFF band(nullptr);
  XString err;
  ASSERT_EQ(1, band.ReadFile(Write(TiffBuilder().Size(20, 10)), err, nullptr));
  const auto second = TiffBuilder().Size(9, 8).Bits(16).Samples(2);
  ASSERT_EQ(1, band.ReadFile(Write(second), err, nullptr));
  EXPECT_EQ(9, band.GetXSize());
  EXPECT_EQ(2, band.GetNumChannels());
  EXPECT_EQ(kPint16, band.GetDataType());
  tagXArr2* out = nullptr;
  ASSERT_EQ(1, band.ReadSubset(out, 0, 8, 8, 7, 7, nullptr));
  EXPECT_EQ(second.ValueAt(8, 7, 0), static_cast<unsigned>(out->data[0] | out->data[1] << 8));
}

TEST_F(ZRMBandGTIFFFiles, TheImagesBehindTheFirstAreListed) {
  const auto reduced = TiffBuilder().Size(35, 25).Tiles(16, 32).Bits(16).Samples(3).Tag(254, 4, {1});
  const auto mask = TiffBuilder().Size(70, 50).Strips(8).Bits(1).Tag(254, 4, {4});
  TiffChannels image(Write(TiffBuilder().Size(70, 50).Next(reduced).Next(mask)));
  const auto directories = image.GetMaster().GetDirectories(10);
  ASSERT_EQ(2u, directories.size());
  EXPECT_EQ(35, directories[0].width);
  EXPECT_EQ(25, directories[0].height);
  EXPECT_EQ(3, directories[0].samplesPerPixel);
  EXPECT_EQ(16, directories[0].bitsPerSample);
  EXPECT_EQ(1, directories[0].compression);
  EXPECT_EQ(1u, directories[0].subfile);
  EXPECT_EQ(16, directories[0].blockWidth);
  EXPECT_EQ(32, directories[0].blockHeight);
  EXPECT_TRUE(directories[0].isTiled);
  EXPECT_EQ(4u, directories[1].subfile);
  EXPECT_EQ(70, directories[1].blockWidth);
  EXPECT_EQ(8, directories[1].blockHeight);
  EXPECT_FALSE(directories[1].isTiled);
  EXPECT_EQ(1u, image.GetMaster().GetDirectories(1).size());
  EXPECT_EQ(70, image.GetMaster().GetXSize());
}

TEST_F(ZRMBandGTIFFFiles, InvalidWindowsFailAndLeaveTheOutput) {
  TiffChannels image(Write(TiffBuilder().Size(8, 6).Samples(2)));
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

TEST_F(ZRMBandGTIFFFiles, SizesAndChannelsSetByOthersDoNotLeadOutOfTheImage) {
  TiffChannels image(Write(TiffBuilder().Size(8, 6).Samples(2)));
  ZRMBandGTIFF& follower = image.At(1);
  tagXArr2* out = nullptr;
  follower.SetSize(400, 400);
  EXPECT_EQ(0, follower.ReadSubset(out, 0, 0, 399, 0, 399, nullptr));
  EXPECT_EQ(0, follower.ReadSubset(out, 0, 0, 7, 0, 6, nullptr));
  EXPECT_EQ(1, follower.ReadSubset(out, 0, 0, 7, 0, 5, nullptr));
  for (const int channel : {-1, 2, 1000000}) {
    follower.SetChannel(channel);
    EXPECT_EQ(0, follower.ReadSubset(out, 0, 0, 7, 0, 5, nullptr)) << channel;
  }
}

TEST_F(ZRMBandGTIFFFiles, AStopWordEndsTheRead) {
  const auto file = TiffBuilder().Size(64, 64).Tiles(16, 16);
  TiffChannels image(Write(file));
  int stop = 1;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, image.GetMaster().ReadSubset(out, 0, 0, 63, 0, 63, &stop));
  stop = 0;
  ASSERT_EQ(1, image.GetMaster().ReadSubset(out, 0, 0, 63, 0, 63, &stop));
  EXPECT_EQ(file.ValueAt(63, 63, 0), out->Row(63)[63]);
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

TEST_F(ZRMBandGTIFFFiles, LevelDataIsAskedFirstAndTheSourceWhereItDeclines) {
  const auto file = TiffBuilder().Size(8, 6).Samples(2);
  TiffChannels image(Write(file));
  for (int c = 0; c < 2; ++c) {
    auto* levels = new OnePixelLevels;  // the band takes it over
    image.At(c).SetBandXLD(levels);
    int stop = 0;
    tagXArr2* out = nullptr;
    ASSERT_EQ(1, image.At(c).ReadSubset(out, 1, 0, 7, 0, 5, &stop));
    EXPECT_EQ(77, out->data[0]);
    EXPECT_EQ(&stop, levels->lastCancel);
    ASSERT_EQ(1, image.At(c).ReadSubset(out, 0, 0, 7, 0, 5, &stop));
    EXPECT_EQ(file.ValueAt(7, 5, c), out->Row(5)[7]);
    levels->lastCancel = nullptr;
    EXPECT_EQ(0, image.At(c).ReadSubset(out, 1, 0, 8, 0, 5, &stop));
    EXPECT_EQ(nullptr, levels->lastCancel);
  }
}

TEST_F(ZRMBandGTIFFFiles, MemoryIsGivenBackOnRequestOnly) {
  const auto file = TiffBuilder().Size(40, 30).Tiles(16, 16).Samples(2).Compression(5);
  TiffChannels image(Write(file.Encode()));
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(ReferenceTiff(file, 1).Read(0, 0, 39, 0, 29), image.ReadAll(1));
    EXPECT_EQ(ReferenceTiff(file, 0).Read(0, 0, 39, 0, 29), image.ReadAll(0));
    image.At(1).CleanupMemory(round % 2, 1);
  }
}

TEST_F(ZRMBandGTIFFFiles, StatisticsAreThoseOfAllPixels) {
  TiffChannels image(Write(TiffBuilder().Size(2, 2).Bits(16).Format(2).Samples(2).Pixel([](int x, int y, int sample) {
    return static_cast<std::uint64_t>(10 * (2 * y + x) + 10) * (sample == 0 ? 1 : static_cast<std::uint64_t>(-1));
  })));
  ASSERT_EQ(1, image.At(1).CalcStatistics(0));
  EXPECT_EQ(-40.0, image.At(1).GetBandMin());
  EXPECT_EQ(-10.0, image.At(1).GetBandMax());
  EXPECT_EQ(-25.0, image.At(1).GetBandMean());
  ASSERT_EQ(1, image.At(0).CalcStatistics(0));
  EXPECT_EQ(40.0, image.At(0).GetBandMax());
}

TEST_F(ZRMBandGTIFFFiles, TheTargetLevelIsThatOfThePyramidArithmetic) {
  ZRMBandGTIFF band(nullptr);
  band.SetSize(4096, 4096);
  EXPECT_EQ(3, band.GetHighestLevelForTarget(0, 4095, 0, 4095, 512, 512));
  EXPECT_EQ(0, band.GetHighestLevelForTarget(0, 99, 0, 99, 512, 512));
}

/// Other limits while it lives.
class ScopedLimits {
 public:
  explicit ScopedLimits(const tagXLimits& limits) : before_(XfnGetLimits()) { XfnSetLimits(limits); }
  ~ScopedLimits() { XfnSetLimits(before_); }

 private:
  tagXLimits before_;
};

TEST_F(ZRMBandGTIFFFiles, ImagesAndBlocksBeyondTheLimitsAreRefused) {
  tagXLimits limits = XfnGetLimits();
  limits.decodedTileBytes = 64 * 64;
  limits.imagePixels = 100 * 100;
  const ScopedLimits scope(limits);
  EXPECT_EQ("opened", Failure(Write(TiffBuilder().Size(64, 64).Compression(5).Encode())));
  EXPECT_EQ("A block of the image is too large", Failure(Write(TiffBuilder().Size(64, 65).Compression(5).Encode())));
  EXPECT_EQ("opened", Failure(Write(TiffBuilder().Size(100, 100))));
  EXPECT_EQ("The image is too large", Failure(Write(TiffBuilder().Size(100, 101))));
}

/// Bytes of the process that are in memory.
std::int64_t CountResidentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::int64_t all = 0, resident = 0;
  statm >> all >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

TEST_F(ZRMBandGTIFFFiles, APromiseOfHugeBlocksCostsNoMemory) {
  struct Kind {
    int compression, photometric, samples;
  };
  for (const Kind kind : {Kind{1, 1, 1}, {5, 1, 1}, {8, 1, 1}, {32773, 1, 1}, {1, 5, 4}, {5, 5, 4}}) {
    const auto strip = TiffBuilder()
                           .Size(8, 6)
                           .Compression(kind.compression)
                           .Photometric(kind.photometric)
                           .Samples(kind.samples)
                           .Claim(15000, 15000);
    const auto tile = TiffBuilder(strip).Tag(322, 4, {15008}).Tag(323, 4, {15008});
    for (const TiffBuilder& file : {strip, tile}) {
      const std::int64_t before = CountResidentBytes();
      TiffChannels image(Write(file));
      ASSERT_TRUE(image.IsOpen()) << image.GetError();
      EXPECT_THAT(image.Read(0, 0, 0, 0, 0, 0), Each(0u));
      EXPECT_LT(CountResidentBytes() - before, 50 << 20) << kind.compression << ' ' << kind.photometric;
    }
  }
}

}  // namespace
