#include "core/load/RasterLoad.h"

#include "XRSFile.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

/// A band of a made-up format: the path says what its file holds.
class ToyBand : public ZRMBand {
 public:
  explicit ToyBand(ToyBand* first) : master(first) {
    if (first && failFollowers) throw std::bad_alloc();
    ++alive;
    SetSize(6, 4);
  }
  ~ToyBand() override { --alive; }

  int ReadFile(XString path, XString& err, XThread* readThread) {
    thread = readThread;
    ++reads;
    if (path != "broken") return 1;
    err = "as the reader put it";
    return 0;
  }
  int GetNumChannels() const { return 3; }
  void SetChannel(int index) { channel = index; }
  int CalcStatistics(int withHistogram) override {
    statisticsArgument = withHistogram;
    return 0;
  }

  ToyBand* master;
  XThread* thread = nullptr;
  int channel = -1;
  int statisticsArgument = -1;
  static inline int alive = 0;
  static inline int reads = 0;
  static inline bool failFollowers = false;
};

struct Toy {
  using Band = ToyBand;
  static constexpr zrk::ChannelNames kNames = zrk::ChannelNames::kWithFileName;
  static constexpr const char* kWorldFile = nullptr;
};

class LoadRaster : public testing::Test {
 protected:
  LoadRaster() {
    ToyBand::reads = 0;
    ToyBand::failFollowers = false;
  }
  int Load(const XString& path, int calcStatistics = 0, XThread* thread = nullptr) {
    return zrk::LoadRaster<Toy>({&file_, path, err_, calcStatistics, 0, thread});
  }
  ToyBand& Band(int i) { return *static_cast<ToyBand*>(file_.GetBandAt(i)); }

  XRSFile file_;
  XString err_;
};

TEST_F(LoadRaster, MakesOneMasterAndItsFollowers) {
  ASSERT_EQ(1, Load("/a/b.toy"));
  ASSERT_EQ(3, file_.GetNumOfBands());
  EXPECT_EQ(nullptr, Band(0).master);
  EXPECT_EQ(&Band(0), Band(1).master);
  EXPECT_EQ(&Band(0), Band(2).master);
}

TEST_F(LoadRaster, OpensTheFileOnce) {
  Load("/a/b.toy");
  EXPECT_EQ(1, ToyBand::reads);
}

TEST_F(LoadRaster, NumbersChannelsFromZeroAndNamesFromOne) {
  ASSERT_EQ(1, Load("/a/b.toy"));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(i, Band(i).channel);
    EXPECT_EQ("b.toy : Channel " + std::to_string(i + 1), Band(i).GetBandName().AsStdString());
  }
}

TEST_F(LoadRaster, MakesTheDatasetTheOwner) {
  ASSERT_EQ(1, Load("/a/b.toy"));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(&file_, Band(i).GetXRSFile());
}

TEST_F(LoadRaster, StoresThePathAsNameAndPath) {
  ASSERT_EQ(1, Load("/a/b.toy"));
  EXPECT_EQ(XString("/a/b.toy"), file_.GetName());
  EXPECT_EQ(XString("/a/b.toy"), file_.GetFilePath());
}

TEST_F(LoadRaster, HandsTheThreadToTheReader) {
  XThread thread;
  ASSERT_EQ(1, Load("/a/b.toy", 0, &thread));
  EXPECT_EQ(&thread, Band(0).thread);
}

TEST_F(LoadRaster, ComputesStatisticsWithHistogramOfEveryBandIfAsked) {
  ASSERT_EQ(1, Load("/a/b.toy", 7));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(1, Band(i).statisticsArgument);
}

TEST_F(LoadRaster, ComputesNoStatisticsIfNotAsked) {
  ASSERT_EQ(1, Load("/a/b.toy", 0));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(-1, Band(i).statisticsArgument);
}

TEST_F(LoadRaster, LeavesTheDatasetAloneWhereTheReaderFails) {
  EXPECT_EQ(0, Load("broken", 1));
  EXPECT_EQ(XString("as the reader put it"), err_);
  EXPECT_EQ(0, file_.GetNumOfBands());
  EXPECT_TRUE(file_.GetName().IsEmpty());
  EXPECT_EQ(0, ToyBand::alive);
}

TEST_F(LoadRaster, FailsCleanlyWhereMemoryRunsOut) {
  ToyBand::failFollowers = true;
  EXPECT_EQ(0, Load("/a/b.toy"));
  EXPECT_EQ(XString("Out of memory"), err_);
  EXPECT_EQ(0, ToyBand::alive);
  EXPECT_EQ(0, file_.GetNumOfBands());
}

TEST_F(LoadRaster, LeavesBandsWhereTheReaderPutThemWithoutAWorldFileRule) {
  ASSERT_EQ(1, Load("/a/b.toy"));
  EXPECT_EQ(ZRMBand().GetULY(), Band(0).GetULY());
}

TEST_F(LoadRaster, AddsToWhatTheDatasetHolds) {
  ASSERT_EQ(1, Load("/a/b.toy"));
  ASSERT_EQ(1, Load("/a/c.toy"));
  EXPECT_EQ(6, file_.GetNumOfBands());
  EXPECT_EQ(nullptr, Band(3).master);
}

TEST(MakeChannelName, LeavesTheFileNameOutForPlainNames) {
  EXPECT_EQ(XString("Channel 12"), zrk::MakeChannelName(zrk::ChannelNames::kPlain, "/a/b.bmp", 12));
}

TEST(MakeChannelName, CutsTheFolderAtEitherSeparator) {
  EXPECT_EQ(XString("b.tif : Channel 2"), zrk::MakeChannelName(zrk::ChannelNames::kWithFileName, "c:\\a\\b.tif", 2));
}

}  // namespace
