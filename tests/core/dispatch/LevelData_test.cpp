#include "BmpBuilder.h"
#include "TempFolder.h"
#include "XMessageBox.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

constexpr const char* kNone = "There is not a corresponding XLD file";
constexpr const char* kNotInThisBuild = "Level data can't be used by this build";

TEST(GetFileNameXLD, PutsItsOwnExtensionInPlaceOfTheOthers) {
  EXPECT_EQ(XString("a.xld"), XRSFileIO::GetFileNameXLD("a.tif"));
  EXPECT_EQ(XString("/d/a.b.xld"), XRSFileIO::GetFileNameXLD("/d/a.b.tiff"));
}

TEST(GetFileNameXLD, GivesImagesOfOneTitleOneLevelFile) {
  EXPECT_EQ(XRSFileIO::GetFileNameXLD("a.tif"), XRSFileIO::GetFileNameXLD("a.jpg"));
}

TEST(GetFileNameXLD, LeavesALevelFilesNameAsItIs) {
  EXPECT_EQ(XString("/d/a.XlD"), XRSFileIO::GetFileNameXLD("/d/a.XlD"));
}

TEST(GetFileNameXLD, AppendsWhereThereIsNoExtension) {
  EXPECT_EQ(XString("/d.e/a.xld"), XRSFileIO::GetFileNameXLD("/d.e/a"));
}

/// Counts the questions that the library asks, and answers Yes.
class QuestionCounter {
 public:
  QuestionCounter()
      : previous_(XfnSetMessageBoxHandler([this](const XString&, const XString&, unsigned) {
          ++count;
          return static_cast<int>(kAnswerYes);
        })) {}
  ~QuestionCounter() { XfnSetMessageBoxHandler(std::move(previous_)); }
  int count = 0;

 private:
  XMessageBoxHandler previous_;
};

class LoadFileXLD : public testing::Test {
 protected:
  std::string Sentence(int levelMode) {
    XRSFile file;
    XString err;
    EXPECT_EQ(0, XRSFileIO::LoadFileXLD(&file, folder_.Path("a.bmp"), err, levelMode, nullptr));
    return err.AsStdString();
  }
  TempFolder folder_;
  QuestionCounter questions_;
};

TEST_F(LoadFileXLD, SaysNothingOfANullDataset) {
  XString err = "as it was";
  EXPECT_EQ(0, XRSFileIO::LoadFileXLD(nullptr, "a.bmp", err, kLevelBuild, nullptr));
  EXPECT_EQ(XString("as it was"), err);
}

TEST_F(LoadFileXLD, MissesTheFileWhereNothingShallBeBuilt) {
  EXPECT_EQ(kNone, Sentence(kLevelNone));
}

TEST_F(LoadFileXLD, SaysThatThisBuildUsesNoLevelDataWhereItWouldBeBuilt) {
  for (const int mode : {kLevelStatistics, kLevelAsk, kLevelBuild}) EXPECT_EQ(kNotInThisBuild, Sentence(mode)) << mode;
}

TEST_F(LoadFileXLD, SaysThatThisBuildUsesNoLevelDataWhereItIsThere) {
  folder_.Write("a.xld", {'X', 'L', 'D', '.'});
  for (const int mode : {kLevelNone, kLevelStatistics, kLevelAsk, kLevelBuild}) {
    EXPECT_EQ(kNotInThisBuild, Sentence(mode)) << mode;
  }
}

TEST_F(LoadFileXLD, AsksNoQuestionThatLeadsNowhere) {
  Sentence(kLevelAsk);
  EXPECT_EQ(0, questions_.count);
}

TEST_F(LoadFileXLD, DoesNotFailTheLoadOrKeepStatisticsAway) {
  folder_.Write("a.bmp", BmpBuilder().Build());
  XRSFile file;
  XString err;
  EXPECT_EQ(1, XRSFileIO::LoadFileBMP(&file, folder_.Path("a.bmp"), err, 1, kLevelBuild, nullptr));
  EXPECT_EQ(XString(kNotInThisBuild), err);
  EXPECT_NE(1.7e+308, file.GetBandAt(0)->GetBandMean());
}

}  // namespace
