#include "ByteFlips.h"
#include "ForeignFiles.h"
#include "MemoryDisk.h"
#include "Oracle.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XCIBframe.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>

// Frames of other programs come out as GDAL has them. Damaged frames are read as far as they can be, codes behind the
// end of a file being 0, or refused.

namespace {

using Bytes = std::vector<unsigned char>;

class ForeignFrames : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(path_)) GTEST_SKIP() << "no shared data";
    ASSERT_TRUE(XRSFileIO::LoadFileRaster(&file_, kFormatCADRG, path_, err_, 0, kLevelNone, nullptr));
  }

  const std::string path_ = PathOfForeign("rpf", GetParam());
  XRSFile file_;
  XString err_;
};

/// None of these frames has a mask, so no pixel is transparent.
TEST_P(ForeignFrames, HaveTheColoursThatGdalReads) {
  const OracleImage oracle = ReadWithGdal(path_);
  ASSERT_TRUE(oracle.isOpen);
  ASSERT_EQ(3u, oracle.channels.size());
  ASSERT_EQ(3, file_.GetNumOfBands());
  for (std::size_t c = 0; c < 3; ++c) {
    ZRMBand& band = *file_.GetBandAt(static_cast<int>(c));
    const Pixels pixels = ReadPixels(band, 0, WholeWindowOf(band));
    EXPECT_EQ(oracle.width, pixels.width);
    EXPECT_EQ(oracle.height, pixels.height);
    EXPECT_EQ(0, LargestDifference(oracle.channels[c], pixels.bytes)) << "channel " << c;
  }
}

TEST_P(ForeignFrames, HaveTheCodesThatGdalReads) {
  XCIBframe frame;
  ASSERT_TRUE(frame.LoadFile(path_, 1, 1));
  const StoredImage stored = ReadStoredWithGdal(path_);
  ASSERT_EQ(1u, stored.planes.size());
  EXPECT_TRUE(std::ranges::equal(stored.planes[0].bytes, std::span(frame.DetacheData(), 1536 * 1536)));
}

TEST_P(ForeignFrames, LieWhereGdalPutsThem) {
  const StoredImage stored = ReadStoredWithGdal(path_);
  const ZRMBand& band = *file_.GetBandAt(0);
  EXPECT_NEAR(stored.transform[0], band.GetULX(), 1e-12);
  EXPECT_NEAR(stored.transform[1], band.GetXPixelSize(), 1e-6);
  EXPECT_NEAR(stored.transform[3], band.GetULY(), 1e-12);
  EXPECT_NEAR(-stored.transform[5], band.GetYPixelSize(), 1e-6);
  XString wkt;
  ASSERT_TRUE(band.GetSR()->exportToWkt(wkt));
  EXPECT_TRUE(AreSameSystems(stored.wkt, wkt.AsStdString()));
}

const char* const kFrames[] = {"001zc013.on1"};

INSTANTIATE_TEST_SUITE_P(Files, ForeignFrames, testing::ValuesIn(kFrames),
                         [](const auto& name) { return TestNameOf(name.param); });

TEST(ForeignFrameFolder, HoldsNoFrameThatIsNotListed) {
  ExpectAllListed("rpf", {".on1", ".tp1", ".gn1", ".jn1", ".ja1", ".i21", ".i11"}, {kFrames[0]});
}

class FrameDamage : public testing::TestWithParam<Sample> {
 protected:
  /// Whether the bytes open; what opens must then read whole.
  static bool Try(const Bytes& bytes) {
    MemoryDisk disk;
    disk.Add("damaged", bytes);
    const zrk::ScopedDisk scoped(disk);
    XRSFile file;
    XString err;
    const int isOpen = XRSFileIO::LoadFileRaster(&file, GetParam().formatId, "damaged", err, 0, kLevelNone, nullptr);
    EXPECT_EQ(isOpen != 0, file.GetNumOfBands() > 0);
    EXPECT_EQ(!isOpen && GetParam().formatId == kFormatCIB, !err.IsEmpty());
    for (int i = 0; i < file.GetNumOfBands(); ++i) {
      EXPECT_EQ(100, ReadPixels(*file.GetBandAt(i), 0, {1436, 1535, 1436, 1535}).width);
    }
    return isOpen != 0;
  }

  const Bytes sound_ = ReadBytes(PathOf(GetParam()));
};

TEST_P(FrameDamage, IsNotSeenInASoundFile) {
  EXPECT_TRUE(Try(sound_));
}

TEST_P(FrameDamage, ToTheFirstByteRefusesTheFile) {
  Bytes bytes = sound_;
  bytes[0] ^= 0xFF;
  EXPECT_FALSE(Try(bytes));
}

/// The last subframe ends where the file does, and one that a mask says to be there must be whole.
TEST_P(FrameDamage, ByTruncationRefusesTheFile) {
  for (std::size_t i = 0; i < 200; i += TrialStep()) {
    const std::size_t place = i < 100 ? 12 * i : sound_.size() * i / 200;
    SCOPED_TRACE(place);
    EXPECT_FALSE(Try({sound_.begin(), sound_.begin() + static_cast<std::ptrdiff_t>(place)}));
    if (HasFailure()) break;
  }
}

TEST_P(FrameDamage, ToOneByteEndsInARefusalOrAReadableFile) {
  FlipBytes(sound_, TrialCount(2000), {0, 2400}, &FrameDamage::Try);
}

std::vector<Sample> SmallFrames() {
  std::vector<Sample> samples = SmallSamples();
  std::erase_if(samples,
                [](const Sample& sample) { return sample.formatId != kFormatCADRG && sample.formatId != kFormatCIB; });
  return samples;
}

INSTANTIATE_TEST_SUITE_P(Samples, FrameDamage, testing::ValuesIn(SmallFrames()),
                         [](const auto& sample) { return std::string(sample.param.name); });

}  // namespace
