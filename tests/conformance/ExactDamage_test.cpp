// Damaged files under the exact policy. Whatever is left of a file that was cut reads as in the whole file, or fails. A
// flipped byte may change what a format can't check; how often it does is counted and printed.

#include "ByteFlips.h"
#include "MemoryDisk.h"
#include "Samples.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <iostream>
#include <iterator>
#include <map>
#include <string_view>

namespace {

using Bytes = std::vector<unsigned char>;

/// What became of the rows that are tried of a file.
struct Tally {
  int numRefused = 0;  // files
  int numFailed = 0;   // rows
  int numEqual = 0;
  int numOther = 0;  // with other pixels than the sound file's, and not a word
};

/// Some rows of the first and the last band; empty where the file is refused.
std::vector<Pixels> ReadRows(const Sample& sample, const Bytes& bytes) {
  MemoryDisk disk;
  disk.Add("damaged", bytes);
  const zrk::ScopedDisk scoped(disk);
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  XString err;
  if (!XRSFileIO::LoadFileRaster(&file, sample.formatId, "damaged", err, 0, kLevelNone, nullptr)) {
    EXPECT_FALSE(err.IsEmpty());
    return {};
  }
  constexpr int kRows = 6;
  std::vector<Pixels> rows;
  for (const int index : {0, file.GetNumOfBands() - 1}) {
    ZRMBand& band = *file.GetBandAt(index);
    const int width = band.GetXSize(), height = band.GetYSize();
    for (int i = 0; i < kRows; ++i) {
      const int y = static_cast<int>(std::int64_t{height - 1} * i / (kRows - 1));
      rows.push_back(ReadPixels(band, 0, {std::max(width - 300, 0), width - 1, y, y}));
    }
  }
  return rows;
}

class ExactDamage : public testing::TestWithParam<Sample> {
 protected:
  Tally Compare(const std::vector<Pixels>& rows) const {
    Tally tally;
    tally.numRefused = rows.empty() ? 1 : 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (rows[i].bytes.empty()) {
        ++tally.numFailed;
      } else {
        ++(rows[i] == whole_[i] ? tally.numEqual : tally.numOther);
      }
    }
    return tally;
  }
  static void Print(const char* damage, const std::map<int, int>& counts) {
    std::cout << GetParam().name << ", " << damage << ": " << counts.at(0) << " refused; of the rows of others "
              << counts.at(1) << " fail, " << counts.at(2) << " are equal, " << counts.at(3) << " differ unnoticed\n";
  }
  static void Count(const Tally& tally, std::map<int, int>& counts) {
    counts[0] += tally.numRefused;
    counts[1] += tally.numFailed;
    counts[2] += tally.numEqual;
    counts[3] += tally.numOther;
  }

  const Bytes sound_ = GetParam().build();
  const std::vector<Pixels> whole_ = ReadRows(GetParam(), sound_);
};

TEST_P(ExactDamage, OfAFileThatIsCutLeavesRowsAsTheyWereOrFailsThem) {
  ASSERT_FALSE(whole_.empty());
  std::map<int, int> counts;
  const int numCuts = TrialCount(200, 200);
  for (int i = 0; i < numCuts; ++i) {
    const auto size = static_cast<std::ptrdiff_t>(sound_.size() * static_cast<std::size_t>(i) / 200);
    const Tally tally = Compare(ReadRows(GetParam(), {sound_.begin(), sound_.begin() + size}));
    EXPECT_EQ(0, tally.numOther) << "cut at " << size << " of " << sound_.size();
    Count(tally, counts);
  }
  EXPECT_GT(counts[0] + counts[1], 0);
  Print("cut", counts);
}

TEST_P(ExactDamage, OfAFlippedByteIsRefusedOrFailsOrIsCounted) {
  std::map<int, int> counts;
  FlipBytes(sound_, TrialCount(2000, 200), {0, std::min<std::size_t>(sound_.size(), 200)}, [&](const Bytes& bytes) {
    const std::vector<Pixels> rows = ReadRows(GetParam(), bytes);
    Count(rows.size() == whole_.size() ? Compare(rows) : Tally{1, 0, 0, 0}, counts);
  });
  // Few flips may all lie where no format looks.
  if (TrialStep() == 1) {
    EXPECT_GT(counts[0] + counts[1], 0);
  }
  Print("flipped", counts);
}

std::vector<Sample> SamplesOfThisSuite() {
  constexpr std::string_view kNames[] = {"Bmp", "Jpeg", "Jpg", "Dted", "Hdf4", "Cadrg", "Cib", "Tiff"};
  std::vector<Sample> samples;
  std::ranges::copy_if(AllSamples(), std::back_inserter(samples), [&](const Sample& sample) {
    const std::string_view name = sample.name;
    const bool isOurs = std::ranges::any_of(kNames, [&](std::string_view each) { return name.starts_with(each); });
    return isOurs && sample.disk == SampleDisk::kPlain && (sample.isSmall || name.starts_with("C"));
  });
  return samples;
}

INSTANTIATE_TEST_SUITE_P(Samples, ExactDamage, testing::ValuesIn(SamplesOfThisSuite()),
                         [](const auto& sample) { return std::string(sample.param.name); });

}  // namespace
