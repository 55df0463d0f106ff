// How the bands of a TIFF file that is written are read.

#include "TiffWriting.h"
#include "XJointReader.h"

namespace {

using XRSFile2TiffReads = TiffWriting;

TEST_F(XRSFile2TiffReads, ComparesBandsBeforeItLooksAtTheWindow) {
  Add<std::uint8_t>(5, 4);
  Add<std::uint8_t>(5, 3);
  EXPECT_EQ(0, Save(0, 99, 0, 99));
  EXPECT_EQ("Inconsistant Image Height Information", Error());
}

/// A band that says it has read its second block, and has not.
class LyingBand : public LoggedBand {
 public:
  using LoggedBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    return y0 > 0 || LoggedBand::ReadSubset(out, level, x0, x1, y0, y1, cancel);
  }
};

TEST_F(XRSFile2TiffReads, TakesNoBlockTwice) {
  Add<std::uint16_t, LyingBand>(5, 400);
  ExpectFailure("Fail to read subset");
  NewDataset();
  for (int i = 0; i < 3; ++i) Add<std::uint8_t, LyingBand>(5, 400);
  ExpectFailure("Fail to read subset");
}

/// A band that is read together with others of its kind, and writes down with how many.
class JointBand : public LoggedBand, public XJointReader {
 public:
  void SetCounts(std::vector<std::size_t>* counts) { counts_ = counts; }
  const void* GetJointSource() const override { return counts_; }
  int ReadJointly(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                  std::span<tagXArr2*> out) override {
    counts_->push_back(bands.size());
    for (std::size_t i = 0; i < bands.size(); ++i) {
      if (!bands[i]->ReadSubset(out[i], 0, x0, x1, y0, y1, cancel)) return 0;
    }
    return 1;
  }

 private:
  std::vector<std::size_t>* counts_ = nullptr;
};

TEST_F(XRSFile2TiffReads, ReadsAsManyBandsTogetherAsFitInto32Megabytes) {
  std::vector<std::size_t> counts;
  const std::vector<std::uint8_t> samples(4096 * 1024, 1);
  for (int i = 0; i < 11; ++i) {
    auto& band = AddSamples<JointBand>(4096, 1024, samples);
    band.SetDecodeRows(1024);
    band.SetCounts(&counts);
  }
  EXPECT_EQ(1, SaveAll());
  EXPECT_EQ((std::vector<std::size_t>{8, 3}), counts);
}

}  // namespace
