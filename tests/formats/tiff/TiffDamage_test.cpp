#include "ByteFlips.h"
#include "ForeignFiles.h"
#include "Samples.h"
#include "TempFolder.h"
#include "TiffTrial.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

// Damaged TIFF files are read as far as they can be, missing pixels being 0, or refused with a reason. Those of other
// programs are tried at fewer places unless ZRK_TRIALS is `all` in the environment: there are many of them.

namespace {

using Bytes = std::vector<unsigned char>;

/// As many places in the header and the first directory as there are evenly spread to the end.
std::vector<std::size_t> TruncationPlaces(const Bytes& sound, int count) {
  const std::size_t half = static_cast<std::size_t>(std::max(count, 2)) / 2, directory = FindTiffDirectory(sound);
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < half; ++i) {
    places.push_back(std::min(i < 16 ? i : directory + 2 * (i - 16), sound.size() - 1));
    places.push_back(sound.size() * i / half);
  }
  return places;
}

void TryTruncated(const Bytes& sound, int count) {
  for (const std::size_t place : TruncationPlaces(sound, count)) {
    SCOPED_TRACE(testing::Message() << "cut at " << place);
    TryTiff({sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(place)});
    if (testing::Test::HasFailure()) return;
  }
}

void TryFlipped(const Bytes& bytes, int count) {
  FlipBytes(bytes, count, {FindTiffDirectory(bytes), 300}, &TryTiff);
}

class TiffDamage : public testing::TestWithParam<Sample> {
 protected:
  const Bytes sound_ = ReadBytes(PathOf(GetParam()));
};

TEST_P(TiffDamage, IsNotSeenInASoundFile) {
  const TiffTrial trial = TryTiff(sound_);
  EXPECT_GT(trial.numReads, 0);
  EXPECT_TRUE(trial.hasPixels);
}

TEST_P(TiffDamage, ByTruncationEndsInARefusalOrAReadableFile) {
  TryTruncated(sound_, TrialCount(200));
}

TEST_P(TiffDamage, ToOneByteEndsInARefusalOrAReadableFile) {
  TryFlipped(sound_, TrialCount(2000));
}

TEST_P(TiffDamage, ToTheFirstByteRefusesTheFile) {
  Bytes bytes = sound_;
  bytes[0] ^= 0xFF;
  EXPECT_FALSE(TryTiff(bytes).isOpen);
}

std::vector<Sample> SmallTiffs() {
  std::vector<Sample> samples = SmallSamples();
  std::erase_if(samples, [](const Sample& sample) { return sample.formatId != kFormatTIF; });
  return samples;
}

INSTANTIATE_TEST_SUITE_P(Samples, TiffDamage, testing::ValuesIn(SmallTiffs()),
                         [](const auto& sample) { return std::string(sample.param.name); });

std::vector<std::string> ForeignTiffNames() {
  std::vector<std::string> names;
  const std::string folder = PathOfForeign("tiff", "");
  if (!std::filesystem::is_directory(folder)) return {"none"};
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".tif" || extension == ".tiff" || extension == ".TIF") {
      names.push_back(entry.path().filename().string());
    }
  }
  std::ranges::sort(names);
  return names;
}

class ForeignTiffDamage : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (sound_.empty()) GTEST_SKIP() << "no shared data";
  }

  const Bytes sound_ = ReadBytes(PathOfForeign("tiff", GetParam()));
};

TEST_P(ForeignTiffDamage, ByTruncationEndsInARefusalOrAReadableFile) {
  TryTruncated(sound_, TrialCount(200, 20));
}

TEST_P(ForeignTiffDamage, ToOneByteEndsInARefusalOrAReadableFile) {
  TryFlipped(sound_, TrialCount(2000, 40));
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignTiffDamage, testing::ValuesIn(ForeignTiffNames()),
                         [](const auto& name) { return TestNameOf(name.param.c_str()); });

}  // namespace
