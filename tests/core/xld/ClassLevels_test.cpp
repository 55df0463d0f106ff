// Level files of thematic bands. The bands lie in memory and say that they are of a file on disk, so that the level
// file has an image that it belongs to. Their classes are 4 and 200, of which 200 is in the upper left of each four
// pixels.

#include "LevelDataset.h"
#include "TempFolder.h"
#include "XRSFileIO.h"
#include "ZRMBandDRIO.h"

#include <gmock/gmock.h>

#include <string>

namespace {

constexpr int kClassTile = 16, kClassWidth = 64;
/// The class that three of each four pixels have, and what the mean of the four is: (200 + 3 * 4) / 4.
constexpr std::uint8_t kFrequent = 4, kMeanOfClasses = 53;
constexpr const char* kMarkOfClasses = "<XRS_TAG_BAND_LEVELCLASSES>1</XRS_TAG_BAND_LEVELCLASSES>";

class ClassLevels : public testing::Test {
 protected:
  ClassLevels() { folder_.Write("a.raw", std::string("the image")); }

  /// A dataset of two bands, whose second one is of that type.
  struct Dataset {
    Dataset(const ClassLevels& test, XReadPolicy policy, int bandType) : image(test.folder_.Path("a.raw")) {
      std::vector<std::uint8_t> samples;
      for (int i = 0; i < kClassWidth * kClassWidth; ++i) {
        samples.push_back(i % 2 == 0 && i / kClassWidth % 2 == 0 ? 200 : 4);
      }
      file.SetReadPolicy(policy);
      for (int i = 0; i < 2; ++i) {
        band = &AddDirectBand(file, kClassWidth, kClassWidth, samples, kClassTile);
        band->SetReadPolicy(policy);
      }
      band->SetBandType(bandType);
      file.SetFilePath(image);
    }
    bool Build(int levelMode = kLevelBuild) {
      return XRSFileIO::CreateFileXLD(&file, image, err, levelMode, nullptr) == 1;
    }
    /// Whether a load takes the level file.
    bool Load(int levelMode = kLevelNone) {
      return XRSFileIO::LoadFileXLD(&file, image, err, levelMode, nullptr) && band->GetBandXLD();
    }
    /// The first sample of level 1 of the second band.
    int FirstSample() {
      tagXArr2* out = nullptr;
      return band->ReadSubset(out, 1, 0, 1, 0, 1, nullptr) ? SamplesOf<std::uint8_t>(*out).at(0) : -1;
    }
    std::string image;
    XRSFile file;
    DirectMemoryBand* band = nullptr;
    XString err;
  };

  void Build(XReadPolicy policy, int bandType = kBandTypeThematic, int levelMode = kLevelBuild) {
    Dataset dataset(*this, policy, bandType);
    ASSERT_TRUE(dataset.Build(levelMode)) << dataset.err.GetText();
  }
  std::string LevelBytes() const {
    const auto bytes = ReadBytes(folder_.Path("a.xld"));
    return std::string(bytes.begin(), bytes.end());
  }

  TempFolder folder_;
};

TEST_F(ClassLevels, OfACompatibleBuildAreNotUsedInTheExactPolicy) {
  Build(kReadCompatible);
  Dataset dataset(*this, kReadExact, kBandTypeThematic);
  EXPECT_FALSE(dataset.Load());
  EXPECT_EQ(XString(kLevelFileHasMeans), dataset.err);
}

TEST_F(ClassLevels, OfACompatibleBuildAreUsedInTheCompatiblePolicy) {
  Build(kReadCompatible);
  Dataset dataset(*this, kReadCompatible, kBandTypeThematic);
  EXPECT_TRUE(dataset.Load());
  EXPECT_EQ(kMeanOfClasses, dataset.FirstSample());
}

TEST_F(ClassLevels, OfACompatibleBuildAreBuiltAnewWhereAnExactLoadMay) {
  Build(kReadCompatible);
  Dataset dataset(*this, kReadExact, kBandTypeThematic);
  EXPECT_TRUE(dataset.Load(kLevelBuild)) << dataset.err.GetText();
  EXPECT_EQ(kFrequent, dataset.FirstSample());
}

TEST_F(ClassLevels, OfAnExactBuildAreUsedInBothPolicies) {
  Build(kReadExact);
  for (const XReadPolicy policy : {kReadExact, kReadCompatible}) {
    Dataset dataset(*this, policy, kBandTypeThematic);
    EXPECT_TRUE(dataset.Load()) << dataset.err.GetText();
    EXPECT_EQ(kFrequent, dataset.FirstSample());
  }
}

TEST_F(ClassLevels, AreMarkedByExactBuildsInTheBandThatHasThem) {
  Build(kReadExact);
  const std::string bytes = LevelBytes();
  EXPECT_GT(bytes.find(kMarkOfClasses), bytes.rfind("<XRS_TAG_BAND>"));
  EXPECT_NE(std::string::npos, bytes.find(kMarkOfClasses));
  Build(kReadCompatible);
  EXPECT_THAT(LevelBytes(), testing::Not(testing::HasSubstr("LEVELCLASSES")));
}

TEST_F(ClassLevels, AreToldBandByBand) {
  Build(kReadExact);
  Dataset dataset(*this, kReadExact, kBandTypeThematic);
  dataset.file.GetBandAt(0)->SetBandType(kBandTypeThematic);
  EXPECT_FALSE(dataset.Load());
  EXPECT_EQ(XString(kLevelFileHasMeans), dataset.err);
}

TEST_F(ClassLevels, LeaveFilesWithoutThematicBandsAsTheyAre) {
  Build(kReadExact, 0);
  const std::string exact = LevelBytes();
  Build(kReadCompatible, 0);
  EXPECT_EQ(LevelBytes(), exact);
  EXPECT_TRUE(Dataset(*this, kReadExact, 0).Load());
}

TEST_F(ClassLevels, AreNotAskedForInFilesOfStatisticsAlone) {
  for (const XReadPolicy policy : {kReadExact, kReadCompatible}) {
    Build(policy, kBandTypeThematic, kLevelStatistics);
    EXPECT_THAT(LevelBytes(), testing::Not(testing::HasSubstr("LEVELCLASSES")));
    EXPECT_TRUE(Dataset(*this, kReadExact, kBandTypeThematic).Load());
  }
}

}  // namespace
