// A composite takes reduced pixels from the level data of its bands, also where a band does not ask it by itself.

#include "DrawnPicture.h"
#include "LevelDataset.h"
#include "TempFolder.h"
#include "XRSFile2XLD.h"
#include "ZRMBandXLD.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

class DrawnLevels : public testing::Test {
 protected:
  /// A band of four by four tiles with a level file.
  void SetUp() override {
    band_ = &AddDirectBand(dataset_, 64, 64, RandomSamples<std::uint8_t>(64, 64));
    band_->SetUpperLeft(0, 64);
    XRSFile2XLD builder;
    builder.SetXRSFile(&dataset_);
    XString err;
    ASSERT_EQ(1, builder.Save(folder_.Path("a.xld"), err, 3, nullptr)) << err.GetText();
    auto file = std::make_unique<XFile>();
    ASSERT_TRUE(file->Open(folder_.Path("a.xld"), XFile::kRead));
    auto levels = std::make_unique<ZRMBandXLD>();
    levels->SetFile(file.release(), 1);
    levels->SetOffset(12);
    ASSERT_TRUE(levels->Init(band_, 64, 64, kPint08, 16, 16));
    band_->SetBandXLD(levels.release());
    composite_.SetBand(0, band_);
    numReads_ = band_->GetNumReads();
  }

  TempFolder folder_;
  XRSFile dataset_;
  DirectMemoryBand* band_ = nullptr;
  ZRMComposite composite_;
  int numReads_ = 0;
};

TEST_F(DrawnLevels, AreThoseOfTheLevelFile) {
  Picture picture(32, 32, 0, 64, 2);
  ASSERT_EQ(kDrawDone, picture.Draw(composite_));
  EXPECT_EQ(numReads_, band_->GetNumReads());
  const std::vector<std::uint8_t> samples = RandomSamples<std::uint8_t>(64, 64);
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 32; ++x) {
      const auto at = [&](int i, int j) { return samples[static_cast<std::size_t>((2 * y + j) * 64 + 2 * x + i)]; };
      const int mean = (at(0, 0) + at(1, 0) + at(0, 1) + at(1, 1) + 2) / 4;
      ASSERT_EQ(static_cast<XColour>(mean), picture.At(x, y) & 255) << x << " " << y;
    }
  }
}

TEST_F(DrawnLevels, GiveWayToTheBandWhereTheyCannotBeRead) {
  std::filesystem::resize_file(folder_.Path("a.xld"), 100);
  Picture picture(32, 32, 0, 64, 2);
  EXPECT_EQ(kDrawDone, picture.Draw(composite_));
  const std::vector<std::uint8_t> samples = RandomSamples<std::uint8_t>(64, 64);
  EXPECT_EQ(samples[64 * 2 + 4], picture.At(2, 1) & 255);
}

}  // namespace
