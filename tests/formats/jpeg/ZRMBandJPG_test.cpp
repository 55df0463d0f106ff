// Bands of JPEG files: channels, windows, when the file is decoded, stops, damage and bounds of memory. Files are coded
// by libjpeg. Pixels are compared with its own decode, or with the picture before coding within the loss.

#include "ZRMBandJPG.h"

#include "FaultyDisk.h"
#include "JpegBuilder.h"
#include "ReferenceJpeg.h"
#include "TempFolder.h"
#include "XFormatId.h"
#include "XLevelMode.h"
#include "XLimits.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XThread.h"
#include "ZRMBandXLD.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

struct JpegChannels {
  explicit JpegChannels(const std::string& path) : master(nullptr) {
    opened = master.ReadFile(path, err, nullptr);
    for (int c = 1; opened && c < master.GetNumChannels(); ++c) {
      followers.push_back(std::make_unique<ZRMBandJPG>(&master));
      followers.back()->SetChannel(c);
    }
  }
  ZRMBandJPG& At(int c) { return c == 0 ? master : *followers[static_cast<std::size_t>(c - 1)]; }

  int opened = 0;
  XString err;
  ZRMBandJPG master;
  std::vector<std::unique_ptr<ZRMBandJPG>> followers;
};

class ZRMBandJPGFiles : public testing::Test {
 protected:
  std::string Write(const JpegBuilder& builder) { return Write(builder.Build()); }
  std::string Write(const std::vector<unsigned char>& bytes) {
    folder_.Write("a.jpg", bytes);
    return folder_.Path("a.jpg");
  }
  TempFolder folder_;
};

tagXArr2* Read(ZRMBandJPG& band, int level, int x0, int x1, int y0, int y1) {
  tagXArr2* out = nullptr;
  return band.ReadSubset(out, level, x0, x1, y0, y1, nullptr) ? out : nullptr;
}

tagXArr2* ReadWhole(ZRMBandJPG& band) {
  return Read(band, 0, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1);
}

/// Where the frame header's height stands in a file.
std::size_t FindFrameSize(const std::vector<unsigned char>& bytes) {
  for (std::size_t i = 2; i + 9 < bytes.size();) {
    const unsigned char marker = bytes[i + 1];
    if (marker == 0xC0 || marker == 0xC1 || marker == 0xC2 || marker == 0xC9 || marker == 0xCA) return i + 5;
    i += 2 + static_cast<std::size_t>(bytes[i + 2]) * 256 + bytes[i + 3];
  }
  return 0;
}

std::vector<unsigned char> WithSize(std::vector<unsigned char> bytes, unsigned width, unsigned height) {
  const std::size_t at = FindFrameSize(bytes);
  EXPECT_NE(0u, at);
  bytes[at] = static_cast<unsigned char>(height >> 8);
  bytes[at + 1] = static_cast<unsigned char>(height);
  bytes[at + 2] = static_cast<unsigned char>(width >> 8);
  bytes[at + 3] = static_cast<unsigned char>(width);
  return bytes;
}

TEST_F(ZRMBandJPGFiles, ColourGivesRedGreenAndBlue) {
  const std::vector<unsigned char> bytes = JpegBuilder().Size(61, 45).Build();
  JpegChannels image(Write(bytes));
  ASSERT_EQ(3, image.master.GetNumChannels());
  EXPECT_EQ(0, image.master.GetPaletteSize());
  const ReferenceJpeg reference = DecodeReference(bytes);
  for (int c = 0; c < 3; ++c) {
    const tagXArr2* out = Read(image.At(c), 0, 3, 60, 2, 44);
    ASSERT_NE(nullptr, out);
    for (int y = 2; y < 45; ++y) {
      for (int x = 3; x < 61; ++x)
        ASSERT_EQ(reference.At(x, y, c), out->Row(y - 2)[x - 3]) << c << ' ' << x << ' ' << y;
    }
  }
}

TEST_F(ZRMBandJPGFiles, ColoursAreCloseToThePictureBeforeCoding) {
  JpegChannels image(Write(JpegBuilder().Size(64, 48).Quality(100)));
  for (int c = 0; c < 3; ++c) {
    EXPECT_NEAR(JpegBuilder::Sample(30, 20, c), ReadWhole(image.At(c))->Row(20)[30], 6) << c;
  }
}

TEST_F(ZRMBandJPGFiles, GreyGivesOneBandWithTheIdentityTable) {
  const std::vector<unsigned char> bytes = JpegBuilder().Size(33, 21).Grey().Build();
  JpegChannels image(Write(bytes));
  EXPECT_EQ(1, image.master.GetNumChannels());
  EXPECT_EQ(256, image.master.GetPaletteSize());
  const ReferenceJpeg reference = DecodeReference(bytes);
  const tagXArr2* out = ReadWhole(image.master);
  ASSERT_NE(nullptr, out);
  for (int y = 0; y < 21; ++y) {
    for (int x = 0; x < 33; ++x) ASSERT_EQ(reference.At(x, y, 0), out->Row(y)[x]);
  }
}

TEST_F(ZRMBandJPGFiles, ProgressiveAndArithmeticCodingAreRead) {
  for (const auto& bytes : {JpegBuilder().Progressive().Build(), JpegBuilder().Arithmetic().Build()}) {
    JpegChannels image(Write(bytes));
    const ReferenceJpeg reference = DecodeReference(bytes);
    const tagXArr2* out = ReadWhole(image.At(1));
    ASSERT_NE(nullptr, out);
    EXPECT_EQ(reference.At(31, 23, 1), out->Row(23)[31]);
  }
}

TEST_F(ZRMBandJPGFiles, FourInksBecomeRedGreenAndBlue) {
  for (const bool adobe : {true, false}) {
    JpegChannels image(Write(JpegBuilder().Cmyk(adobe).Size(40, 30).Quality(100)));
    ASSERT_EQ(3, image.master.GetNumChannels());
    for (int c = 0; c < 3; ++c) {
      const int ink = JpegBuilder::Sample(10, 8, c), black = JpegBuilder::Sample(10, 8, 3);
      const int expected = (255 - ink) * (255 - black) / 255;
      EXPECT_NEAR(expected, ReadWhole(image.At(c))->Row(8)[10], 4) << adobe << c;
    }
  }
}

TEST_F(ZRMBandJPGFiles, OpeningSetsThePlaceFromTheHeader) {
  ZRMBandJPG band(nullptr);
  XString err = "left over";
  ASSERT_EQ(1, band.ReadFile(Write(JpegBuilder().Size(40, 30)), err, nullptr));
  EXPECT_EQ("", err.AsStdString());
  EXPECT_EQ(40, band.GetXSize());
  EXPECT_EQ(30, band.GetYSize());
  EXPECT_EQ(1.0, band.GetXPixelSize());
  EXPECT_EQ(1.0, band.GetYPixelSize());
  EXPECT_EQ(0.0, band.GetULX());
  EXPECT_EQ(29.0, band.GetULY());
  EXPECT_EQ(kPint08, band.GetDataType());
  EXPECT_EQ(0.0, band.GetBandMin());
  EXPECT_EQ(255.0, band.GetBandMax());
}

TEST_F(ZRMBandJPGFiles, FollowersShareThePlaceAndTilesOfTheMaster) {
  ZRMBandJPG master(nullptr);
  XString err;
  ASSERT_EQ(1, master.ReadFile(Write(JpegBuilder().Size(40, 30)), err, nullptr));
  master.SetTileSize(64, 32);
  master.SetUpperLeft(7.0, 8.0);
  const ZRMBandJPG follower(&master);
  EXPECT_EQ(40, follower.GetXSize());
  EXPECT_EQ(7.0, follower.GetULX());
  EXPECT_EQ(64, follower.GetXTileSize());
  EXPECT_EQ(32, follower.GetYTileSize());
}

TEST_F(ZRMBandJPGFiles, AMissingFileIsNotNamed) {
  ZRMBandJPG band(nullptr);
  XString err;
  EXPECT_EQ(0, band.ReadFile(folder_.Path("none.jpg"), err, nullptr));
  EXPECT_EQ("Can't open file", err.AsStdString());
}

TEST_F(ZRMBandJPGFiles, OtherBytesAreRefusedWithTheDecodersReason) {
  ZRMBandJPG band(nullptr);
  XString err;
  EXPECT_EQ(0, band.ReadFile(Write(std::vector<unsigned char>{'B', 'M', 1, 2}), err, nullptr));
  EXPECT_EQ(0, err.Find("Can't read JPEG header : Not a JPEG file"));
  EXPECT_EQ(0, band.ReadFile(Write(std::vector<unsigned char>{}), err, nullptr));
  EXPECT_EQ("Can't read JPEG header : Premature end of file", err.AsStdString());
}

TEST_F(ZRMBandJPGFiles, TwoComponentsAreRefused) {
  ZRMBandJPG band(nullptr);
  XString err;
  EXPECT_EQ(0, band.ReadFile(Write(JpegBuilder().TwoComponents()), err, nullptr));
  EXPECT_EQ("Not supported number of components: 2", err.AsStdString());
}

TEST_F(ZRMBandJPGFiles, EveryLevelIsAnsweredAtFullSize) {
  JpegChannels image(Write(JpegBuilder().Size(40, 30)));
  for (const int level : {0, 2, 9}) {
    const tagXArr2* out = Read(image.At(2), level, 0, 39, 0, 29);
    ASSERT_NE(nullptr, out);
    EXPECT_EQ(40, out->xSize);
    EXPECT_EQ(30, out->ySize);
  }
}

TEST_F(ZRMBandJPGFiles, TheTargetLevelIsAlwaysZero) {
  ZRMBandJPG band(nullptr);
  band.SetSize(4096, 4096);
  EXPECT_EQ(0, band.GetHighestLevelForTarget(0, 4095, 0, 4095, 1, 1));
}

TEST_F(ZRMBandJPGFiles, AColourFileIsDecodedOnce) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  JpegChannels image(Write(JpegBuilder()));
  const int opensBefore = disk.GetOpenCount();
  for (int i = 0; i < 3; ++i) ASSERT_NE(nullptr, Read(image.At(i), 0, i, 20, 0, 20));
  EXPECT_EQ(opensBefore + 1, disk.GetOpenCount());
}

TEST_F(ZRMBandJPGFiles, AGreyFileIsDecodedAgainOnEveryRead) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  JpegChannels image(Write(JpegBuilder().Grey()));
  const int opensBefore = disk.GetOpenCount();
  for (int i = 0; i < 3; ++i) ASSERT_NE(nullptr, Read(image.master, 0, i, 20, 0, 20));
  EXPECT_EQ(opensBefore + 3, disk.GetOpenCount());
}

TEST_F(ZRMBandJPGFiles, PlanesSurviveTheFile) {
  const std::string path = Write(JpegBuilder());
  JpegChannels image(path);
  ASSERT_NE(nullptr, ReadWhole(image.master));
  std::remove(path.c_str());
  image.master.CleanupMemory(1, 1);
  EXPECT_NE(nullptr, Read(image.master, 0, 1, 5, 1, 5));
}

TEST_F(ZRMBandJPGFiles, OpeningAgainDropsThePlanes) {
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  ASSERT_NE(nullptr, ReadWhole(image.master));
  XString err;
  ASSERT_EQ(1, image.master.ReadFile(Write(JpegBuilder().Size(16, 8)), err, nullptr));
  const tagXArr2* out = ReadWhole(image.master);
  ASSERT_NE(nullptr, out);
  EXPECT_EQ(16, out->xSize);
}

TEST_F(ZRMBandJPGFiles, ASizeSetByOthersDoesNotLeadOutOfThePlanes) {
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  ASSERT_NE(nullptr, ReadWhole(image.master));
  image.master.SetSize(500, 500);
  EXPECT_EQ(nullptr, Read(image.master, 0, 0, 499, 0, 499));
}

TEST_F(ZRMBandJPGFiles, AFileThatChangedItsColoursFails) {
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  Write(JpegBuilder().Size(32, 24).Grey());
  EXPECT_EQ(nullptr, Read(image.master, 0, 0, 31, 0, 23));
}

TEST_F(ZRMBandJPGFiles, AFailedOpenLeavesNothingToRead) {
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  ASSERT_NE(nullptr, ReadWhole(image.At(1)));
  XString err;
  EXPECT_EQ(0, image.master.ReadFile(Write(std::vector<unsigned char>{1, 2, 3}), err, nullptr));
  EXPECT_EQ(0, image.master.GetNumChannels());
  EXPECT_EQ(nullptr, Read(image.At(1), 0, 0, 31, 0, 23));
}

TEST_F(ZRMBandJPGFiles, AReportMayReadTheBandItself) {
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  class Reader : public XMessageTarget {
   public:
    explicit Reader(ZRMBandJPG& band) : band_(band) {}
    void PostMessage(unsigned, XThread*, long) override { numRead += Read(band_, 0, 0, 3, 0, 3) ? 1 : 0; }
    int numRead = 0;

   private:
    ZRMBandJPG& band_;
  } reader(image.master);
  XThread thread(&reader);
  ASSERT_EQ(1, image.master.ExtractDataFromFile(&thread));
  EXPECT_EQ(24, reader.numRead);
}

TEST_F(ZRMBandJPGFiles, AFileThatChangedItsShapeFails) {
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  Write(JpegBuilder().Size(16, 8));
  EXPECT_EQ(nullptr, Read(image.master, 0, 0, 31, 0, 23));
}

TEST_F(ZRMBandJPGFiles, InvalidWindowsFailAndLeaveTheOutput) {
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  tagXArr2 untouched;
  tagXArr2* out = &untouched;
  EXPECT_EQ(0, image.master.ReadSubset(out, 0, 0, 32, 0, 23, nullptr));
  EXPECT_EQ(0, image.At(1).ReadSubset(out, 0, 5, 4, 0, 23, nullptr));
  EXPECT_EQ(&untouched, out);
}

TEST_F(ZRMBandJPGFiles, LevelDataIsNotAsked) {
  class AnsweringLevels : public ZRMBandXLD {
    int ReadSubset(tagXArr2*&, int, int, int, int, int, int*) override { return 1; }
  };
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  image.master.SetBandXLD(new AnsweringLevels);  // the band takes it over
  const tagXArr2* out = Read(image.master, 1, 0, 31, 0, 23);
  ASSERT_NE(nullptr, out);
  EXPECT_EQ(32, out->xSize);
}

class PercentRecorder : public XMessageTarget {
 public:
  void PostMessage(unsigned message, XThread*, long value) override {
    EXPECT_EQ(kXThreadMessage, message);
    percents.push_back(value);
  }
  std::vector<long> percents;
};

TEST_F(ZRMBandJPGFiles, ExtractingReportsEachRowUpToTheWhole) {
  JpegChannels image(Write(JpegBuilder().Size(32, 21)));
  PercentRecorder recorder;
  XThread thread(&recorder);
  ASSERT_EQ(1, image.At(2).ExtractDataFromFile(&thread));
  ASSERT_EQ(21u, recorder.percents.size());
  EXPECT_EQ(0, recorder.percents.front());
  EXPECT_EQ(50, recorder.percents[10]);
  EXPECT_EQ(100, recorder.percents.back());
}

TEST_F(ZRMBandJPGFiles, AnyNonzeroStateStopsExtracting) {
  JpegChannels image(Write(JpegBuilder()));
  XThread thread;
  for (const int state : {1, 2}) {
    thread.SetState(state);
    EXPECT_EQ(0, image.master.ExtractDataFromFile(&thread));
  }
  EXPECT_NE(nullptr, ReadWhole(image.master));
}

TEST_F(ZRMBandJPGFiles, AStopThatIsSetBeforeTheDecodeLetsNoRowBeReported) {
  for (const bool isGrey : {false, true}) {
    JpegChannels image(Write(isGrey ? JpegBuilder().Grey() : JpegBuilder()));
    PercentRecorder recorder;
    XThread thread(&recorder);
    thread.SetState(1);
    EXPECT_EQ(0, image.master.ExtractDataFromFile(&thread));
    EXPECT_TRUE(recorder.percents.empty());
  }
}

TEST_F(ZRMBandJPGFiles, TheStateWordStopsAReadWhetherOrNotThePlanesAreThere) {
  JpegChannels image(Write(JpegBuilder()));
  int cancel = 1;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, image.At(1).ReadSubset(out, 0, 0, 31, 0, 23, &cancel));
  ASSERT_NE(nullptr, ReadWhole(image.master));
  EXPECT_EQ(0, image.master.ReadSubset(out, 0, 0, 31, 0, 23, &cancel));
  EXPECT_EQ(0, image.At(1).ReadSubset(out, 0, 0, 31, 0, 23, &cancel));
  EXPECT_EQ(nullptr, out);
}

TEST_F(ZRMBandJPGFiles, TheStateWordStopsTheFirstRead) {
  JpegChannels image(Write(JpegBuilder()));
  int cancel = 1;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, image.master.ReadSubset(out, 0, 0, 31, 0, 23, &cancel));
  cancel = 0;
  EXPECT_EQ(1, image.master.ReadSubset(out, 0, 0, 31, 0, 23, &cancel));
}

TEST_F(ZRMBandJPGFiles, ATruncatedFileFailsTheReadSilently) {
  for (const auto& builder : {JpegBuilder().Size(64, 48), JpegBuilder().Size(64, 48).Progressive()}) {
    std::vector<unsigned char> bytes = builder.Build();
    bytes.resize(bytes.size() * 3 / 4);
    JpegChannels image(Write(bytes));
    ASSERT_EQ(1, image.opened);
    testing::internal::CaptureStderr();
    EXPECT_EQ(nullptr, ReadWhole(image.At(1)));
    EXPECT_EQ(0, image.master.CalcStatistics(1));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
  }
}

TEST_F(ZRMBandJPGFiles, DamagedCodesFailTheReadSilently) {
  std::vector<unsigned char> bytes = JpegBuilder().Size(64, 48).Build();
  for (std::size_t i = bytes.size() - 200; i < bytes.size() - 100; ++i) bytes[i] = 0xFE;
  JpegChannels image(Write(bytes));
  testing::internal::CaptureStderr();
  EXPECT_EQ(nullptr, ReadWhole(image.master));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(ZRMBandJPGFiles, APromiseOfHugePlanesIsHeldAgainstTheFileLength) {
  for (const auto& builder : {JpegBuilder(), JpegBuilder().Progressive()}) {
    JpegChannels image(Write(WithSize(builder.Build(), 65500, 32000)));
    ASSERT_EQ(1, image.opened) << image.err.GetText();
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(nullptr, Read(image.master, 0, 0, 9, 0, 9));
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 50 * 1024);
  }
}

std::size_t CountHeldBytes() {
  const struct mallinfo2 held = mallinfo2();
  return held.uordblks + held.hblkhd;
}

/// 4,000,000 samples: a buffer of that size is there for the result, and no second one for the image.
TEST_F(ZRMBandJPGFiles, AReadOfAGreyImageHoldsItOnce) {
  JpegChannels image(Write(JpegBuilder().Size(2000, 2000).Grey()));
  const std::size_t before = CountHeldBytes();
  ASSERT_NE(nullptr, Read(image.master, 0, 0, 1999, 0, 1999));
  EXPECT_LT(CountHeldBytes(), before + 6000000);
}

/// Keeps the most that was held at a message.
class HeldBytes : public XMessageTarget {
 public:
  void PostMessage(unsigned, XThread*, long) override { most = std::max(most, CountHeldBytes()); }
  std::size_t most = 0;
};

/// 16,000,000 samples, all of which one decoding gives the build. They may be held once, and the half-size rows beside
/// them, while it goes on and when it has given back what it can.
TEST_F(ZRMBandJPGFiles, ALevelBuildOfAGreyImageHoldsItOnce) {
  const std::string path = Write(JpegBuilder().Size(4000, 4000).Grey());
  XRSFile file;
  XString err;
  ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatJPG, path, err, 0, kLevelNone, nullptr)) << err;
  const std::size_t before = CountHeldBytes();
  HeldBytes held;
  XThread thread(&held);
  ASSERT_EQ(1, XRSFileIO::CreateFileXLD(&file, path, err, kLevelBuild, &thread)) << err;
  EXPECT_LT(std::max(held.most, CountHeldBytes()), before + 26000000);
}

TEST_F(ZRMBandJPGFiles, StatisticsOfALargeColourImageKeepSomeRowsOfIt) {
  JpegChannels image(Write(JpegBuilder().Size(3000, 3000)));
  ASSERT_EQ(1, image.master.CalcStatistics(0));
  ASSERT_NE(nullptr, image.master.GetResult(0));
  EXPECT_LE(image.master.GetResult(0)->ySize, 1602);
}

TEST_F(ZRMBandJPGFiles, AWindowOfAGreyImageIsThatOfTheWhole) {
  JpegChannels image(Write(JpegBuilder().Size(32, 24).Grey()));
  const tagXArr2* out = ReadWhole(image.master);
  ASSERT_NE(nullptr, out);
  std::vector<unsigned char> expected;
  for (int y = 5; y <= 9; ++y) expected.insert(expected.end(), out->Row(y) + 3, out->Row(y) + 29);
  out = Read(image.master, 0, 3, 28, 5, 9);
  ASSERT_NE(nullptr, out);
  EXPECT_EQ(expected, std::vector<unsigned char>(out->data, out->data + expected.size()));
}

TEST_F(ZRMBandJPGFiles, PlanesBeyondAnIntFail) {
  JpegChannels image(Write(WithSize(JpegBuilder().Arithmetic().Build(), 65500, 65500)));
  ASSERT_EQ(1, image.opened);
  EXPECT_EQ(nullptr, Read(image.master, 0, 0, 9, 0, 9));
}

/// Puts limits in force for its own lifetime.
class ScopedLimits {
 public:
  explicit ScopedLimits(const tagXLimits& limits) : before_(XfnGetLimits()) { XfnSetLimits(limits); }
  ~ScopedLimits() { XfnSetLimits(before_); }

 private:
  tagXLimits before_;
};

TEST_F(ZRMBandJPGFiles, TheNumberOfScansIsLimited) {
  JpegChannels image(Write(JpegBuilder().Progressive()));
  tagXLimits limits;
  limits.jpegScans = 3;
  {
    const ScopedLimits scope(limits);
    EXPECT_EQ(nullptr, ReadWhole(image.master));
  }
  EXPECT_NE(nullptr, ReadWhole(image.master));
}

TEST_F(ZRMBandJPGFiles, TheNumberOfPixelsIsLimited) {
  tagXLimits limits;
  limits.imagePixels = 32 * 24 - 1;
  const ScopedLimits scope(limits);
  JpegChannels image(Write(JpegBuilder().Size(32, 24)));
  EXPECT_EQ(0, image.opened);
  EXPECT_EQ("Image is too large", image.err.AsStdString());
}

TEST_F(ZRMBandJPGFiles, TheDecodersMemoryIsLimitedWhateverTheEnvironmentSays) {
  setenv("JPEGMEM", "1000000", 1);
  tagXLimits limits;
  limits.decodedTileBytes = 4096;
  JpegChannels image(Write(JpegBuilder().Size(256, 256).Progressive()));
  {
    const ScopedLimits scope(limits);
    EXPECT_EQ(nullptr, ReadWhole(image.master));
  }
  EXPECT_NE(nullptr, ReadWhole(image.master));
  unsetenv("JPEGMEM");
}

}  // namespace
