#include "ByteFlips.h"
#include "DtedBuilder.h"
#include "MemoryDisk.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

// An elevation cell that is cut short has the posts that are left, and zeros; sizes that can't be are refused without a
// sentence; and damage to posts is not seen.

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t kHeaderBytes = 3428;

class DtedDamage : public testing::TestWithParam<Sample> {
 protected:
  /// The whole of the band as it is read from the bytes; empty where they are refused. What must hold for any bytes is
  /// checked on the way.
  static Pixels Try(const Bytes& bytes) {
    MemoryDisk disk;
    disk.Add("damaged", bytes);
    const zrk::ScopedDisk scoped(disk);
    XRSFile file;
    XString err;
    const int isOpen = XRSFileIO::LoadFileRaster(&file, kFormatDTED, "damaged", err, 0, kLevelNone, nullptr);
    EXPECT_EQ(isOpen != 0, file.GetNumOfBands() == 1);
    if (!isOpen) return {};
    ZRMBand& band = *file.GetBandAt(0);
    const Window whole = WholeWindowOf(band);
    const Window opposite{std::max(whole.x1 - 99, 0), whole.x1, std::max(whole.y1 - 99, 0), whole.y1};
    EXPECT_EQ(opposite.Width(), ReadPixels(band, 0, opposite).width);
    return ReadPixels(band, 0, {0, std::min(whole.x1, 99), 0, std::min(whole.y1, 99)});
  }

  /// The sound posts as far as they lie before the cut.
  Pixels CutPosts(std::size_t cut) const {
    Pixels posts = Try(sound_);
    const std::size_t height = static_cast<std::size_t>(posts.height), width = static_cast<std::size_t>(posts.width);
    for (std::size_t x = 0; x < width; ++x) {
      for (std::size_t point = 0; point < height; ++point) {
        const std::size_t end = kHeaderBytes + x * (12 + 2 * height) + 8 + 2 * point + 2;
        if (cut < end) std::memset(&posts.bytes[2 * ((height - 1 - point) * width + x)], 0, 2);
      }
    }
    return posts;
  }

  const Bytes sound_ = ReadBytes(PathOf(GetParam()));
};

TEST_P(DtedDamage, IsNotSeenInASoundFile) {
  EXPECT_TRUE(std::ranges::any_of(Try(sound_).bytes, [](unsigned char byte) { return byte != 0; }));
}

TEST_P(DtedDamage, ByTruncationLeavesThePostsBeforeTheCut) {
  for (std::size_t i = 0; i < 100; i += TrialStep()) {
    // Between two posts: half a post is what its first byte makes it.
    const std::size_t cut = kHeaderBytes + (sound_.size() - kHeaderBytes) * i / 100 / 2 * 2;
    SCOPED_TRACE(cut);
    ASSERT_EQ(CutPosts(cut), Try({sound_.begin(), sound_.begin() + static_cast<std::ptrdiff_t>(cut)}));
  }
}

TEST_P(DtedDamage, ByTruncationOfTheHeaderLeavesNoPost) {
  for (std::size_t i = 0; i < 100; i += TrialStep()) {
    const std::size_t cut = kHeaderBytes * i / 100;
    SCOPED_TRACE(cut);
    const Pixels posts = Try({sound_.begin(), sound_.begin() + static_cast<std::ptrdiff_t>(cut)});
    EXPECT_EQ(cut >= 143, posts.width > 0);
    EXPECT_TRUE(std::ranges::all_of(posts.bytes, [](unsigned char byte) { return byte == 0; }));
  }
}

TEST_P(DtedDamage, ToTheFirstByteIsReadAsACellWithoutAHeader) {
  Bytes bytes = sound_;
  bytes[0] ^= 0xFF;
  EXPECT_EQ(Try(sound_).width, Try(bytes).width);
  EXPECT_NE(Try(sound_), Try(bytes));
}

TEST_P(DtedDamage, ToOneByteEndsInARefusalOrAReadableFile) {
  FlipBytes(sound_, TrialCount(2000), {0, 329}, &DtedDamage::Try);
}

std::vector<Sample> SmallCells() {
  std::vector<Sample> samples = SmallSamples();
  std::erase_if(samples, [](const Sample& sample) { return sample.formatId != kFormatDTED; });
  return samples;
}

INSTANTIATE_TEST_SUITE_P(Samples, DtedDamage, testing::ValuesIn(SmallCells()),
                         [](const auto& sample) { return std::string(sample.param.name); });

}  // namespace
