// Exact reads of plain tiles go some columns at a time, and compatible ones by whole rows. What comes of all samples is
// the same.

#include "TempFolder.h"
#include "TiffBuilder.h"
#include "XExactStatistics.h"
#include "XFormatTable.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

class TiffExactTiles : public testing::Test {
 protected:
  ~TiffExactTiles() override { XfnSetWorkerCount(1); }

  void Write(const std::vector<unsigned char>& bytes) { folder_.Write("a.tif", bytes); }
  std::unique_ptr<XRSFile> Open(XReadPolicy policy) {
    auto file = std::make_unique<XRSFile>();
    file->SetReadPolicy(policy);
    EXPECT_EQ(1, XfnOpenFile(file.get(), folder_.Path("a.tif"), err_, nullptr)) << err_.GetText();
    return file;
  }
  int CountColumns(XReadPolicy policy) { return Open(policy)->GetBandAt(0)->GetDecodeColumns(); }
  std::vector<unsigned char> BuildLevels(XReadPolicy policy) {
    const auto file = Open(policy);
    EXPECT_EQ(1, XRSFileIO::CreateFileXLD(file.get(), folder_.Path("b.tif"), err_, kLevelBuild, nullptr))
        << err_.GetText();
    return ReadBytes(folder_.Path("b.xld"));
  }
  /// The statistics and the histogram of the last band.
  std::vector<double> Measure(XReadPolicy policy) {
    const auto file = Open(policy);
    std::vector<ZRMBand*> bands;
    for (int i = 0; i < file->GetNumOfBands(); ++i) bands.push_back(file->GetBandAt(i));
    EXPECT_EQ(1, XfnCalcExactStatistics(bands, 1));
    const ZRMBand& last = *bands.back();
    std::vector<double> all = {last.GetBandMin(), last.GetBandMax(), last.GetBandMean(), last.GetBandStdDev()};
    for (int i = 0; i < 256; ++i) all.push_back(static_cast<double>(bands.back()->GetHistogram()[i]));
    return all;
  }
  void ExpectTheSame(const TiffBuilder& file) {
    Write(file.Build());
    for (const int numWorkers : {1, 2}) {
      XfnSetWorkerCount(numWorkers);
      EXPECT_EQ(BuildLevels(kReadCompatible), BuildLevels(kReadExact));
      EXPECT_EQ(Measure(kReadCompatible), Measure(kReadExact));
    }
  }

  TempFolder folder_;
  XString err_;
};

}  // namespace

TEST_F(TiffExactTiles, CanBeReadByColumns) {
  Write(TiffBuilder().Size(300, 200).Tiles(48, 32).Samples(3).Planar().Build());
  EXPECT_EQ(48, CountColumns(kReadExact));
  EXPECT_EQ(48, Open(kReadExact)->GetBandAt(2)->GetDecodeColumns());
  EXPECT_EQ(0, CountColumns(kReadCompatible));
}

TEST_F(TiffExactTiles, AreOfUseByColumnsWherePlainOnly) {
  Write(TiffBuilder().Size(300, 200).Tiles(48, 32).Compression(8).Encode());
  EXPECT_EQ(0, CountColumns(kReadExact));
  Write(TiffBuilder().Size(300, 200).Strips(32).Build());
  EXPECT_EQ(0, CountColumns(kReadExact));
}

TEST_F(TiffExactTiles, GiveTheSameLevelsAndStatistics) {
  for (const int tile : {48, 256}) {
    SCOPED_TRACE(tile);
    ExpectTheSame(TiffBuilder().Size(902, 530).Tiles(tile, 32));
    ExpectTheSame(TiffBuilder().Size(902, 530).Tiles(tile, 64).Bits(16).Samples(2).Planar());
  }
}

TEST_F(TiffExactTiles, OfInterleavedSamplesGiveTheSameLevelsAndStatistics) {
  ExpectTheSame(TiffBuilder().Size(903, 531).Tiles(80, 48).Samples(3));
}
