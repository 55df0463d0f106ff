// Statistics that a load is asked for where a level file has some already, which are those of the half-size image.

#include "BmpBuilder.h"
#include "TempFolder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

namespace {

/// A black bitmap with one white pixel, whose level file knows it as a quarter of white.
class LevelStatistics : public testing::Test {
 protected:
  LevelStatistics() {
    folder_.Write(
        "a.bmp",
        BmpBuilder().Size(600, 500).Pixel([](int x, int y) { return x == 300 && y == 200 ? 0xFFFFFFU : 0U; }).Build());
    EXPECT_EQ(64.0, LoadMaximum(kReadCompatible, kLevelBuild));
  }
  double LoadMaximum(XReadPolicy policy, int levelMode = kLevelNone) {
    XRSFile file;
    XString err;
    file.SetReadPolicy(policy);
    EXPECT_EQ(1, XRSFileIO::LoadFileBMP(&file, folder_.Path("a.bmp"), err, 1, levelMode, nullptr));
    return file.GetBandAt(2)->GetBandMax();
  }
  TempFolder folder_;
};

TEST_F(LevelStatistics, ServeALoadInTheCompatiblePolicy) {
  EXPECT_EQ(64.0, LoadMaximum(kReadCompatible));
}

TEST_F(LevelStatistics, GiveWayToThoseOfAllPixelsInTheExactPolicy) {
  EXPECT_EQ(255.0, LoadMaximum(kReadExact));
}

}  // namespace
