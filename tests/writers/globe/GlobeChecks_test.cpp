// What both exports check, in which order, and what they leave when they are stopped.

#include "FaultyDisk.h"
#include "GlobeSources.h"
#include "LevelDataset.h"
#include "XSystem.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

/// Either of the two exports.
class GlobeExport : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    sources_.Add<std::uint8_t>(kWholeEarth, [](int x, int y) { return (x + y) % 200; });
  }

  int Export(ZRMCompManager* manager, int minLevel, int maxLevel, XThread* thread = nullptr) {
    const XString path = folder_.Path("a.store");
    error_ = "";
    if (GetParam()) {
      return XfnExport2PBE(path, manager, minLevel, maxLevel, -18.0, -18.0, 18.0, 18.0, 0, error_, thread);
    }
    return XfnExport2PBI(path, manager, minLevel, maxLevel, -18.0, -18.0, 17.0, 17.0, 0, error_, thread);
  }
  XString WhyNot(ZRMCompManager* manager, int minLevel, int maxLevel) {
    EXPECT_EQ(0, Export(manager, minLevel, maxLevel));
    EXPECT_FALSE(std::filesystem::exists(folder_.Path("a.store")));
    return error_;
  }

  TempFolder folder_;
  GlobeSources sources_;
  XString error_;
};

INSTANTIATE_TEST_SUITE_P(OfBothKinds, GlobeExport, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Heights" : "Pictures"; });

}  // namespace

TEST_P(GlobeExport, RefusesInTheOrderOfItsChecks) {
  ZRMCompManager empty;
  GlobeSources projected;
  projected.SetSystem(32632);
  EXPECT_EQ("Invalid ZRM composite manager", WhyNot(nullptr, -1, -1));
  EXPECT_EQ("Invalid output data level", WhyNot(&empty, -1, 0));
  EXPECT_EQ("Invalid output data level", WhyNot(&empty, 0, -1));
  EXPECT_EQ("Invalid spatial reference : NULL", WhyNot(&empty, 3, 2));
  EXPECT_EQ("Invalid spatial reference : Not geographic", WhyNot(&projected.manager, 3, 2));
  EXPECT_EQ("Number of output level must be at least 1.", WhyNot(&sources_.manager, 3, 2));
}

TEST_P(GlobeExport, TellsAFileThatCannotBeMade) {
  std::filesystem::create_directory(folder_.Path("a.store"));
  EXPECT_EQ(0, Export(&sources_.manager, 0, 0));
  EXPECT_EQ(GetParam() ? "Fail to crate PBE file" : "Fail to crate PBI file", error_);
}

TEST_P(GlobeExport, TellsAFullDiskBeforeTheFirstTile) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.SetFreeBytes(60000);
  EXPECT_EQ(GetParam() ? "Fail to crate PBE file" : "Fail to crate PBI file", WhyNot(&sources_.manager, 0, 0));
}

TEST_P(GlobeExport, TellsTilesThatCannotBeWritten) {
  ASSERT_EQ(1, Export(&sources_.manager, 0, 1));
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailWrite(5);
  EXPECT_EQ(0, Export(&sources_.manager, 0, 1));
  EXPECT_EQ("Fail to write tiles to the file", error_);
}

// 2 by 2 tiles of level 0 and 4 by 4 of level 1 are 20.
TEST_P(GlobeExport, TellsThePercentageAtEachTile) {
  PercentKeeper keeper;
  XThread thread(&keeper);
  ASSERT_EQ(1, Export(&sources_.manager, 0, 1, &thread)) << error_.GetText();
  std::vector<long> expected;
  for (int i = 1; i <= 20; ++i) expected.push_back(i * 100 / 20);
  EXPECT_EQ(expected, keeper.percents);
}

TEST_P(GlobeExport, StopsWithoutATextAndLeavesTheFile) {
  for (const int tile : {1, 2, 9, 17, 20}) {
    PercentKeeper keeper(tile);
    XThread thread(&keeper);
    EXPECT_EQ(0, Export(&sources_.manager, 0, 1, &thread));
    EXPECT_TRUE(error_.IsEmpty()) << error_.GetText();
    EXPECT_EQ(static_cast<std::size_t>(tile), keeper.percents.size());
    EXPECT_EQ(51200u + 20u * (GetParam() ? 3844u : 32768u), ReadBytes(folder_.Path("a.store")).size());
  }
}

TEST_P(GlobeExport, LeavesTheTilesBeforeAStopWhole) {
  ASSERT_EQ(1, Export(&sources_.manager, 1, 1));
  const std::vector<unsigned char> whole = ReadBytes(folder_.Path("a.store"));
  const std::size_t tileBytes = GetParam() ? 3844 : 32768;
  for (const int tile : {2, 6, 12}) {
    PercentKeeper keeper(tile);
    XThread thread(&keeper);
    EXPECT_EQ(0, Export(&sources_.manager, 1, 1, &thread));
    std::vector<unsigned char> expected = whole;
    const auto end = static_cast<std::ptrdiff_t>(51200 + static_cast<std::size_t>(tile - 1) * tileBytes);
    std::fill(expected.begin() + end, expected.end(), static_cast<unsigned char>(0));
    EXPECT_TRUE(expected == ReadBytes(folder_.Path("a.store"))) << tile;
  }
}

TEST_P(GlobeExport, GivesTheSameBytesForAnyNumberOfThreads) {
  ASSERT_EQ(1, Export(&sources_.manager, 0, 1));
  const std::vector<unsigned char> alone = ReadBytes(folder_.Path("a.store"));
  for (const int count : {2, 3, 7}) {
    XfnSetWorkerCount(count);
    PercentKeeper keeper;
    XThread thread(&keeper);
    EXPECT_EQ(1, Export(&sources_.manager, 0, 1, &thread)) << error_.GetText();
    EXPECT_TRUE(alone == ReadBytes(folder_.Path("a.store"))) << count;
    EXPECT_TRUE(std::is_sorted(keeper.percents.begin(), keeper.percents.end()));
  }
  XfnSetWorkerCount(1);
}
