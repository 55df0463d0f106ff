#include "ByteFlips.h"
#include "MemoryDisk.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

// Damaged files are opened and read, or refused with a sentence, and nothing else happens.

namespace {

class Damage : public testing::TestWithParam<Sample> {
 protected:
  struct Result {
    bool isOpen = false;
    int numReads = 0;  ///< that gave pixels
  };

  /// Opens the bytes and reads; what must hold for any bytes is checked on the way.
  static Result Try(const std::vector<unsigned char>& bytes) {
    MemoryDisk disk;
    disk.Add("damaged", bytes);
    const zrk::ScopedDisk scoped(disk);
    XRSFile file;
    XString err;
    const int id = GetParam().formatId;
    const int isOpen = XRSFileIO::LoadFileRaster(&file, id, "damaged", err, 0, kLevelNone, nullptr);
    EXPECT_EQ(isOpen != 0, file.GetNumOfBands() > 0);
    EXPECT_TRUE(isOpen || !err.IsEmpty());
    Result result{isOpen != 0};
    for (int i = 0; i < file.GetNumOfBands(); ++i) result.numReads += ReadSomeOf(*file.GetBandAt(i));
    return result;
  }

  static int ReadSomeOf(ZRMBand& band) {
    int numReads = 0;
    const Window whole = WholeWindowOf(band);
    const Window corner{0, std::min(whole.x1, 99), 0, std::min(whole.y1, 99)};
    const Window opposite{std::max(whole.x1 - 99, 0), whole.x1, std::max(whole.y1 - 99, 0), whole.y1};
    for (const Window& window : {corner, opposite}) {
      const Pixels pixels = ReadPixels(band, 0, window);
      if (pixels.bytes.empty()) continue;
      EXPECT_EQ(window.Width(), pixels.width);
      EXPECT_EQ(window.Height(), pixels.height);
      ++numReads;
    }
    return numReads;
  }
};

/// Every place of the header, then evenly spread to the end.
std::vector<std::size_t> TruncationPlaces(std::size_t numBytes) {
  constexpr std::size_t kAtHeader = 100;
  constexpr std::size_t kSpread = 100;
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < kAtHeader; i += TrialStep()) places.push_back(i);
  for (std::size_t i = 0; i < kSpread; i += TrialStep())
    places.push_back(kAtHeader + (numBytes - kAtHeader) * i / kSpread);
  return places;
}

TEST_P(Damage, ByTruncationLeavesNothingToRead) {
  const std::vector<unsigned char> sound = ReadBytes(PathOf(GetParam()));
  ASSERT_GT(sound.size(), 200u);
  const bool isFilledUp = GetParam().damage == DamageRule::kFillsUp;  // in both windows that are read
  for (const std::size_t place : TruncationPlaces(sound.size())) {
    SCOPED_TRACE(place);
    const Result result = Try({sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(place)});
    EXPECT_EQ(isFilledUp && result.isOpen ? 2 : 0, result.numReads);
    if (HasFailure()) break;
  }
}

TEST_P(Damage, ToTheFirstByteRefusesTheFile) {
  std::vector<unsigned char> bytes = ReadBytes(PathOf(GetParam()));
  bytes[0] ^= 0xFF;
  EXPECT_FALSE(Try(bytes).isOpen);
}

TEST_P(Damage, ToOneByteEndsInARefusalOrAReadableFile) {
  FlipBytes(ReadBytes(PathOf(GetParam())), TrialCount(2000), {0, 200}, &Damage::Try);
}

TEST_P(Damage, IsNotSeenInASoundFile) {
  EXPECT_GT(Try(ReadBytes(PathOf(GetParam()))).numReads, 0);
}

std::vector<Sample> SamplesThatMustBeWhole() {
  std::vector<Sample> samples = SmallSamples();
  std::erase_if(samples, [](const Sample& sample) { return sample.damage == DamageRule::kOwnSuites; });
  return samples;
}

INSTANTIATE_TEST_SUITE_P(Samples, Damage, testing::ValuesIn(SamplesThatMustBeWhole()),
                         [](const auto& sample) { return std::string(sample.param.name); });

}  // namespace
