#include "DatasetView.h"

#include "Dataset.h"
#include "MemoryBand.h"
#include "TempFolder.h"
#include "TiffBuilder.h"
#include "XJointReader.h"

#include <gtest/gtest.h>

namespace {

class DatasetView : public testing::Test {
 protected:
  DatasetView() {
    for (int i = 0; i < 3; ++i) {
      auto band = std::make_unique<MemoryBand>();
      band->SetSamples<std::uint8_t>(2, 2, Bytes(static_cast<unsigned char>(10 * i)));
      band->SetBandMax(10.0 * i);
      source_.AddBand(band.release());
    }
    source_.SetDescription("of a valley");
    source_.SetFilePath("/valley.zrm");
  }
  static std::vector<std::uint8_t> Bytes(std::uint8_t first) {
    return {first, static_cast<std::uint8_t>(first + 1), static_cast<std::uint8_t>(first + 2),
            static_cast<std::uint8_t>(first + 3)};
  }
  static const tagXArr2* Read(ZRMBand& band, int x0, int x1, int y0, int y1) {
    tagXArr2* out = nullptr;
    return band.ReadSubset(out, 0, x0, x1, y0, y1, nullptr) ? out : nullptr;
  }
  XRSFile source_;
  std::string err_;
};

TEST_F(DatasetView, HasTheBandsAskedForInTheirOrder) {
  const auto view = MakeDatasetView(source_, {3, 1}, err_);
  ASSERT_NE(nullptr, view);
  ASSERT_EQ(2, view->GetNumOfBands());
  EXPECT_EQ(20.0, view->GetBandAt(0)->GetBandMax());
  EXPECT_EQ(Bytes(20), SamplesOf<std::uint8_t>(*Read(*view->GetBandAt(0), 0, 1, 0, 1)));
  EXPECT_EQ((std::vector<std::uint8_t>{2, 3}), SamplesOf<std::uint8_t>(*Read(*view->GetBandAt(1), 0, 1, 1, 1)));
  EXPECT_EQ(nullptr, Read(*view->GetBandAt(0), 0, 2, 0, 1));
}

TEST_F(DatasetView, ABandThatComesTwiceKeepsBothResults) {
  const auto view = MakeDatasetView(source_, {2, 2}, err_);
  ASSERT_NE(nullptr, view);
  const tagXArr2* first = Read(*view->GetBandAt(0), 0, 0, 0, 0);
  const tagXArr2* second = Read(*view->GetBandAt(1), 1, 1, 1, 1);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(10, first->data[0]);
  EXPECT_EQ(13, second->data[0]);
}

TEST_F(DatasetView, BandsOfOnePassAreReadInOnePass) {
  const TempFolder folder;
  const auto builder = TiffBuilder().Size(40, 30).Samples(3).Photometric(2).Compression(5);
  folder.Write("a.tif", builder.Encode());
  XThread thread;
  const auto file = OpenRaster(folder.Path("a.tif"), thread, err_);
  ASSERT_NE(nullptr, file) << err_;
  const auto view = MakeDatasetView(*file, {3, 1, 3}, err_);
  ASSERT_NE(nullptr, view);
  const std::vector<ZRMBand*> bands = {view->GetBandAt(0), view->GetBandAt(1), view->GetBandAt(2)};
  EXPECT_TRUE(XfnHaveJointSource(bands));
  std::vector<tagXArr2*> out(3);
  ASSERT_EQ(1, XfnReadBands(bands, 5, 9, 7, 8, nullptr, out));
  EXPECT_EQ(builder.ValueAt(6, 8, 2), out[0]->Row(1)[1]);
  EXPECT_EQ(builder.ValueAt(6, 8, 0), out[1]->Row(1)[1]);
  EXPECT_EQ(builder.ValueAt(6, 8, 2), out[2]->Row(1)[1]);
}

TEST_F(DatasetView, BandsWithoutASourceInCommonAreReadOneByOne) {
  const auto view = MakeDatasetView(source_, {1, 2}, err_);
  ASSERT_NE(nullptr, view);
  const std::vector<ZRMBand*> bands = {view->GetBandAt(0), view->GetBandAt(1)};
  EXPECT_FALSE(XfnHaveJointSource(bands));
}

TEST_F(DatasetView, KeepsWhatIsToldOfTheWhole) {
  source_.AddROISet(std::make_unique<XROI>(XROI{.name = "lake", .polygons = {}}).release());
  source_.AddGCPSet(std::make_unique<tagGCPSets>(tagGCPSets{"corners", "", {}}).release());
  const auto view = MakeDatasetView(source_, {1}, err_);
  ASSERT_NE(nullptr, view);
  EXPECT_EQ("of a valley", view->GetDescription());
  EXPECT_EQ("/valley.zrm", view->GetFilePath());
  ASSERT_EQ(1, view->GetNumOfROI());
  EXPECT_EQ("lake", view->GetROIAt(0)->name);
  ASSERT_EQ(1, view->GetNumOfGCPSet());
  EXPECT_EQ("corners", view->GetGCPSetAt(0)->name);
}

TEST_F(DatasetView, NamesABandThatIsNotThere) {
  EXPECT_EQ(nullptr, MakeDatasetView(source_, {1, 4}, err_));
  EXPECT_EQ("there is no band 4, only 1 to 3", err_);
}

}  // namespace
