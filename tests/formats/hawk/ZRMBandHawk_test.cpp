#include "ZRMBandHawk.h"

#include "HawkBuilder.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XFormatTable.h"
#include "XMessageBox.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

/// A folder for data sets that becomes the working folder where a test wants it.
class HawkSet : public testing::Test {
 protected:
  ~HawkSet() override {
    if (!before_.empty()) fs::current_path(before_);
  }
  void Write(const HawkBuilder& builder, const std::vector<int>& levels = {0}) {
    WriteHawkSet(folder_, builder, levels);
  }
  void WorkInFolder() {
    before_ = fs::current_path();
    fs::current_path(folder_.Path());
  }
  int Read(const std::string& name = "x.TIF_1") { return band_.ReadFile(folder_.Path(name), err_, nullptr); }
  int ReadExactly(const std::string& name = "x.TIF_1") {
    band_.SetReadPolicy(kReadExact);
    return Read(name);
  }
  /// The pixels of a level image's window, as the builder makes them.
  static Pixels Expected(int level, const Window& window, int step = 1) {
    Pixels pixels{(window.Width() - 1) / step + 1, (window.Height() - 1) / step + 1, {}};
    for (int y = window.y0; y <= window.y1; y += step) {
      for (int x = window.x0; x <= window.x1; x += step) {
        pixels.bytes.push_back(static_cast<unsigned char>(HawkPixel(x, y, level)));
      }
    }
    return pixels;
  }
  std::string LastReason() {
    XString reason;
    return XfnGetLastReadError(reason) ? reason.AsStdString() : "";
  }

  TempFolder folder_;
  ZRMBandHawk band_;
  XString err_;
  fs::path before_;
};

/// Keeps what the library shows to the operator.
class Messages {
 public:
  Messages() {
    before_ = XfnSetMessageBoxHandler([this](const XString& text, const XString&, unsigned style) {
      texts.push_back(text);
      styles.insert(style);
      return kAnswerNo;
    });
  }
  ~Messages() { XfnSetMessageBoxHandler(before_); }

  std::vector<std::string> texts;
  std::set<unsigned> styles;

 private:
  XMessageBoxHandler before_;
};

TEST_F(HawkSet, OpensByItsFirstImage) {
  Write(HawkBuilder());
  ASSERT_TRUE(Read()) << err_;
  EXPECT_EQ(30, band_.GetXSize());
  EXPECT_EQ(40, band_.GetYSize());
  EXPECT_EQ(1, band_.GetUseSensorModel());
  EXPECT_EQ(1, band_.GetNumOfBand());
  EXPECT_EQ(5, band_.GetGridCount());
  EXPECT_EQ(100.0, band_.GetFocalLength());
  EXPECT_EQ("UpperRight", band_.GetOriginCorner());
  EXPECT_EQ(Expected(0, {3, 8, 2, 5}), ReadPixels(band_, 0, {3, 8, 2, 5}));
}

TEST_F(HawkSet, OpensTheFirstImageWhateverImageIsNamed) {
  Write(HawkBuilder(), {0, 4});
  ASSERT_TRUE(Read("x.TIF_16"));
  EXPECT_EQ(30, band_.GetXSize());
  EXPECT_TRUE(Read("x.TIF_64"));  // which is not even there
}

TEST_F(HawkSet, TakesExtensionsInSmallLettersAndNoOthers) {
  Write(HawkBuilder(), {0, 1});
  EXPECT_TRUE(Read("x.tif_2"));
  for (const char* const name : {"x.TIF", "x.tiff", "x.TIF_3", "x.TIF_256", "x", "x.TIF_1x"}) {
    err_ = "as before";
    EXPECT_FALSE(Read(name)) << name;
    EXPECT_EQ("as before", err_) << name;
  }
}

TEST_F(HawkSet, MayHaveNamesInSmallLetters) {
  folder_.Write("x.xml", HawkBuilder().Build());
  folder_.Write("x.tif_1", BuildHawkImage(30, 40, 0));
  EXPECT_TRUE(Read("x.tif_1"));
}

TEST_F(HawkSet, WithoutAFirstImageTellsWhatItsReaderSays) {
  folder_.Write("x.XML", HawkBuilder().Build());
  EXPECT_FALSE(Read());
  EXPECT_FALSE(err_.IsEmpty());
}

TEST_F(HawkSet, KeepsItsImagesOpenWhereTheDocumentFails) {
  Write(HawkBuilder().Poses(2));
  err_ = "as before";
  EXPECT_FALSE(Read());
  EXPECT_EQ(1, band_.GetNumOfLevelBands());
  EXPECT_EQ(0, band_.GetUseSensorModel());
  EXPECT_EQ(nullptr, band_.GetScanSensorParam());
}

TEST_F(HawkSet, HasOneImageWhereTheFirstIsAlone) {
  Write(HawkBuilder());
  WorkInFolder();
  EXPECT_EQ(1, band_.GetCreateXLDOption());
  ASSERT_TRUE(Read());
  EXPECT_EQ(2, band_.GetCreateXLDOption());
  EXPECT_EQ(1, band_.GetNumOfLevelBands());
}

TEST_F(HawkSet, HasEightEntriesWhereAnyOtherImageIsThere) {
  Write(HawkBuilder(), {0, 3});
  WorkInFolder();
  ASSERT_TRUE(Read());
  EXPECT_EQ(1, band_.GetCreateXLDOption());
  ASSERT_EQ(8, band_.GetNumOfLevelBands());
  for (const int level : {1, 2, 4, 5, 6, 7}) {
    EXPECT_EQ(nullptr, band_.GetLevelBandAt(level));
    EXPECT_EQ(Pixels(), ReadPixels(band_, level, {0, 29, 0, 39})) << level;
  }
  EXPECT_EQ(Expected(3, {0, 2, 0, 4}), ReadPixels(band_, 3, {0, 23, 0, 39}));
}

TEST_F(HawkSet, TellsWhetherImagesAreThere) {
  Write(HawkBuilder().Size(512, 512), {0, 1, 2, 3, 4, 5, 6});
  WorkInFolder();
  EXPECT_FALSE(band_.CheckExistAllLevelData("x.TIF_1", 1));
  EXPECT_TRUE(band_.CheckExistAllLevelData("x.TIF_1", 128));
  EXPECT_TRUE(band_.CheckExistAnyLevelData("x.TIF_1", 1));
  EXPECT_FALSE(band_.CheckExistAnyLevelData("y.TIF_1", 1));
}

TEST_F(HawkSet, LooksForOtherImagesInTheWorkingFolderInTheCompatiblePolicy) {
  Write(HawkBuilder(), {0, 1});
  ASSERT_TRUE(Read());
  EXPECT_EQ(1, band_.GetNumOfLevelBands());
  EXPECT_FALSE(band_.CheckExistAnyLevelData(folder_.Path("x.TIF_1"), 1));
}

TEST_F(HawkSet, LooksForOtherImagesBesideTheFirstInTheExactPolicy) {
  Write(HawkBuilder(), {0, 1});
  ASSERT_TRUE(ReadExactly()) << err_;
  EXPECT_EQ(8, band_.GetNumOfLevelBands());
  EXPECT_TRUE(band_.CheckExistAnyLevelData(folder_.Path("x.TIF_1"), 1));
  EXPECT_EQ(Expected(1, {2, 4, 1, 3}), ReadPixels(band_, 1, {4, 9, 2, 7}));
}

TEST_F(HawkSet, GivesAnOddWindowOnePixelMoreInTheCompatiblePolicy) {
  Write(HawkBuilder(), {0, 1, 2});
  WorkInFolder();
  ASSERT_TRUE(Read());
  EXPECT_EQ(Expected(2, {0, 0, 0, 0}), ReadPixels(band_, 2, {3, 3, 3, 3}));
  EXPECT_EQ(Expected(1, {0, 2, 0, 1}), ReadPixels(band_, 1, {1, 4, 0, 3}));
}

TEST_F(HawkSet, GivesAShiftedWindowItsSizeInTheExactPolicy) {
  Write(HawkBuilder(), {0, 1, 2});
  ASSERT_TRUE(ReadExactly());
  EXPECT_EQ(Pixels(), ReadPixels(band_, 2, {3, 3, 3, 3}));
  EXPECT_EQ("The level leaves no pixel of the window", LastReason());
  EXPECT_EQ(Expected(1, {0, 1, 0, 1}), ReadPixels(band_, 1, {1, 4, 0, 3}));
}

TEST_F(HawkSet, GivesTheLastImageAboveItsLevelInTheCompatiblePolicy) {
  Write(HawkBuilder().Size(1024, 1024), {0, 7});
  WorkInFolder();
  ASSERT_TRUE(Read());
  for (const int level : {7, 8, 9, 40}) {
    EXPECT_EQ(Expected(7, {0, 7, 0, 7}), ReadPixels(band_, level, {0, 1023, 0, 1023})) << level;
  }
  EXPECT_EQ(Pixels(), ReadPixels(band_, -1, {0, 1023, 0, 1023}));
}

TEST_F(HawkSet, ThinsTheLastImageAboveItsLevelInTheExactPolicy) {
  Write(HawkBuilder().Size(1024, 1024), {0, 7});
  ASSERT_TRUE(ReadExactly());
  EXPECT_EQ(Expected(7, {0, 7, 0, 7}, 2), ReadPixels(band_, 8, {0, 1023, 0, 1023}));
  EXPECT_EQ(Pixels(), ReadPixels(band_, 11, {0, 1023, 0, 1023}));
  EXPECT_EQ(Pixels(), ReadPixels(band_, 40, {0, 1023, 0, 1023}));
}

TEST_F(HawkSet, TakesLevelsWithoutAnImageFromTheNextFinerOneInTheExactPolicy) {
  Write(HawkBuilder().Size(64, 64), {0, 1, 3});
  ASSERT_TRUE(ReadExactly());
  EXPECT_EQ(Expected(1, {4, 19, 2, 17}, 2), ReadPixels(band_, 2, {8, 39, 4, 35}));
}

TEST_F(HawkSet, CountsAnImageOfAnotherTypeAsMissing) {
  Write(HawkBuilder(), {0, 1});
  folder_.Write("x.TIF_2", BuildHawkImage(15, 20, 1, 16));
  WorkInFolder();
  ASSERT_TRUE(Read());
  EXPECT_EQ(nullptr, band_.GetLevelBandAt(1));
  EXPECT_EQ("x.TIF_2 isn't used: its size or its type is not that of the first image", band_.GetLevelRefusal());
}

TEST_F(HawkSet, TakesAnImageOfAnotherSizeInTheCompatiblePolicy) {
  Write(HawkBuilder());
  folder_.Write("x.TIF_2", BuildHawkImage(40, 20, 1));
  WorkInFolder();
  ASSERT_TRUE(Read());
  EXPECT_NE(nullptr, band_.GetLevelBandAt(1));
}

TEST_F(HawkSet, CountsAnImageOfAnotherSizeAsMissingInTheExactPolicy) {
  Write(HawkBuilder());
  folder_.Write("x.TIF_2", BuildHawkImage(40, 20, 1));
  ASSERT_TRUE(ReadExactly());
  EXPECT_EQ(nullptr, band_.GetLevelBandAt(1));
  EXPECT_FALSE(band_.GetLevelRefusal().IsEmpty());
  EXPECT_EQ(Expected(0, {0, 9, 0, 9}, 2), ReadPixels(band_, 1, {0, 9, 0, 9}));
}

TEST_F(HawkSet, RoundsSizesOfImagesEitherWay) {
  Write(HawkBuilder().Size(41, 31));
  folder_.Write("x.TIF_2", BuildHawkImage(16, 21, 1));
  folder_.Write("x.TIF_4", BuildHawkImage(7, 10, 2));
  ASSERT_TRUE(ReadExactly()) << err_;
  EXPECT_NE(nullptr, band_.GetLevelBandAt(1));
  EXPECT_NE(nullptr, band_.GetLevelBandAt(2));
}

TEST_F(HawkSet, SurvivesImagesThatAreCutShort) {
  Write(HawkBuilder(), {0, 1});
  const std::vector<unsigned char> whole = BuildHawkImage(15, 20, 1);
  for (const std::size_t length : {std::size_t{0}, std::size_t{7}, whole.size() / 2, whole.size() - 1}) {
    folder_.Write("x.TIF_2", {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
    EXPECT_TRUE(ReadExactly());
    const Pixels pixels = ReadPixels(band_, 1, {0, 29, 0, 39});
    EXPECT_TRUE(pixels.bytes.empty() || pixels.width == 15) << length;
  }
}

TEST_F(HawkSet, TakesTheFirstOfSeveralChannelsInTheCompatiblePolicy) {
  Write(HawkBuilder());
  folder_.Write("x.TIF_1", BuildHawkImage(30, 40, 0, 8, 3));
  ASSERT_TRUE(Read());
  EXPECT_EQ(Expected(0, {0, 3, 0, 0}), ReadPixels(band_, 0, {0, 3, 0, 0}));
}

TEST_F(HawkSet, RefusesImagesOfSeveralChannelsInTheExactPolicy) {
  Write(HawkBuilder());
  folder_.Write("x.TIF_1", BuildHawkImage(30, 40, 0, 8, 3));
  EXPECT_FALSE(ReadExactly());
  EXPECT_EQ("x.TIF_1 has several channels, and an image of a scanning sensor has one", err_);
}

TEST_F(HawkSet, TakesADocumentOfAnotherSizeInTheCompatiblePolicy) {
  Write(HawkBuilder());
  folder_.Write("x.XML", HawkBuilder().Size(41, 30).Build());
  EXPECT_TRUE(Read());
}

TEST_F(HawkSet, RefusesADocumentOfAnotherSizeInTheExactPolicy) {
  Write(HawkBuilder());
  folder_.Write("x.XML", HawkBuilder().Size(41, 30).Build());
  EXPECT_FALSE(ReadExactly());
  EXPECT_EQ("The document tells another size than the image has", err_);
}

TEST_F(HawkSet, FailsWithoutASentenceInTheCompatiblePolicy) {
  Write(HawkBuilder().Poses(2));
  EXPECT_FALSE(Read());
  EXPECT_EQ("", err_);
}

TEST_F(HawkSet, FailsWithASentenceInTheExactPolicy) {
  Write(HawkBuilder().Poses(2));
  EXPECT_FALSE(ReadExactly());
  EXPECT_EQ("The document has fewer than three samples of the pose", err_);
  fs::remove(folder_.Path("x.XML"));
  EXPECT_FALSE(Read());
  EXPECT_EQ("Can't open file : " + folder_.Path("x.XML"), err_.AsStdString());
  EXPECT_FALSE(Read("x.TIF"));
  EXPECT_EQ("The name is not that of an image of a scanning sensor : " + folder_.Path("x.TIF"), err_.AsStdString());
}

TEST_F(HawkSet, ShowsThatADocumentIsEmpty) {
  const Messages messages;
  for (const char* const text : {"", "<?xml version=\"1.0\"?>"}) {
    folder_.Write("x.XML", std::string_view(text));
    EXPECT_FALSE(band_.LoadHawkXML(folder_.Path("x.XML")));
  }
  folder_.Write("x.XML", std::string_view("<Other/>"));
  EXPECT_FALSE(band_.LoadHawkXML(folder_.Path("x.XML")));
  EXPECT_FALSE(band_.LoadHawkXML(folder_.Path("none.XML")));
  EXPECT_EQ((std::vector<std::string>{"Empty document!", "Empty document!"}), messages.texts);
  EXPECT_EQ((std::set<unsigned>{kMessageOk | kMessageIconWarning}), messages.styles);
}

TEST_F(HawkSet, EmptiesItsLevelsWhenItReadsAgain) {
  Write(HawkBuilder(), {0, 1});
  ASSERT_TRUE(ReadExactly());
  fs::remove(folder_.Path("x.TIF_2"));
  ASSERT_TRUE(Read());
  EXPECT_EQ(1, band_.GetNumOfLevelBands());
}

TEST_F(HawkSet, AnswersOneAndGivesNothingWithoutImagesInTheCompatiblePolicy) {
  Write(HawkBuilder());
  ASSERT_TRUE(Read());
  band_.DeleteAllLevel();
  tagXArr2* out = nullptr;
  EXPECT_EQ(1, band_.ReadSubset(out, 0, 0, 1, 0, 1, nullptr));
  EXPECT_EQ(nullptr, out);
}

TEST_F(HawkSet, FailsReadsWithoutImagesInTheExactPolicy) {
  Write(HawkBuilder());
  ASSERT_TRUE(ReadExactly());
  band_.DeleteAllLevel();
  EXPECT_EQ(Pixels(), ReadPixels(band_, 0, {0, 1, 0, 1}));
  EXPECT_EQ("The band has no image", LastReason());
}

TEST_F(HawkSet, CalculatesStatisticsWhenItOpensInTheCompatiblePolicy) {
  Write(HawkBuilder());
  ASSERT_TRUE(Read());
  EXPECT_NE(kNotSet, band_.GetBandMean());
}

TEST_F(HawkSet, CalculatesNoStatisticsUnaskedInTheExactPolicy) {
  Write(HawkBuilder());
  ASSERT_TRUE(ReadExactly());
  EXPECT_EQ(kNotSet, band_.GetBandMean());
  EXPECT_TRUE(band_.CalcStatistics(1));
  EXPECT_NE(kNotSet, band_.GetBandMean());
}

TEST_F(HawkSet, FreesBuffersThoughLevelsAreMissing) {
  Write(HawkBuilder(), {0, 3});
  ASSERT_TRUE(ReadExactly());
  EXPECT_EQ(1, band_.CleanupMemory(1, 1));
  EXPECT_FALSE(ReadPixels(band_, 0, {0, 1, 0, 1}).bytes.empty());
}

TEST_F(HawkSet, IsKnownByItsNameAndItsDocument) {
  Write(HawkBuilder(), {0, 2});
  const tagXFormat* const format = XfnFindFormatOfFile(folder_.Path("x.TIF_4"));
  ASSERT_NE(nullptr, format);
  EXPECT_STREQ("ZRMBandHawk", format->bandClass);
  EXPECT_EQ(kFormatNone, XRSFileIO::GetIDFromExt("TIF_4"));
  fs::remove(folder_.Path("x.XML"));
  EXPECT_STREQ("ZRMBandGTIFF", XfnFindFormatOfFile(folder_.Path("x.TIF_4"))->bandClass);
}

TEST_F(HawkSet, IsLoadedAsOneBand) {
  Write(HawkBuilder());
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  ASSERT_TRUE(XfnOpenFile(&file, folder_.Path("x.TIF_1"), err_)) << err_;
  ASSERT_EQ(1, file.GetNumOfBands());
  EXPECT_EQ("Channel 1", file.GetBandAt(0)->GetBandName());
  EXPECT_EQ(folder_.Path("x.TIF_1"), file.GetName().AsStdString());
}

TEST_F(HawkSet, ChoosesItsOwnLevelModeInTheCompatiblePolicy) {
  Write(HawkBuilder());
  const Messages messages;
  XRSFile file;
  ASSERT_TRUE(XRSFileIO::LoadFileHAWK(&file, folder_.Path("x.TIF_1"), err_, 0, kLevelNone, nullptr));
  EXPECT_EQ(std::vector<std::string>{"Do you want to create level data?"}, messages.texts);
}

TEST_F(HawkSet, KeepsTheCallersLevelModeInTheExactPolicy) {
  Write(HawkBuilder());
  const Messages messages;
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  ASSERT_TRUE(XRSFileIO::LoadFileHAWK(&file, folder_.Path("x.TIF_1"), err_, 0, kLevelNone, nullptr));
  EXPECT_TRUE(messages.texts.empty());
}

TEST_F(HawkSet, AsksTheLevelFileFirst) {
  Write(HawkBuilder().Size(1024, 1024), {0});
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  ASSERT_TRUE(XRSFileIO::LoadFileHAWK(&file, folder_.Path("x.TIF_1"), err_, 0, kLevelBuild, nullptr)) << err_;
  ASSERT_TRUE(XfnIsValidZRMLevelData(&file));
  const Pixels pixels = ReadPixels(*file.GetBandAt(0), 1, {0, 1, 0, 1});
  const int mean = (HawkPixel(0, 0, 0) + HawkPixel(1, 0, 0) + HawkPixel(0, 1, 0) + HawkPixel(1, 1, 0) + 2) / 4;
  ASSERT_EQ(1U, pixels.bytes.size());
  EXPECT_EQ(mean, pixels.bytes[0]);
}

TEST_F(HawkSet, DescribesItsImagesAndItsSensor) {
  Write(HawkBuilder().Spectrum("IR"), {0, 2});
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  ASSERT_TRUE(XfnOpenFile(&file, folder_.Path("x.TIF_1"), err_));
  const tagXFormatNotes notes = XfnDescribeFormat(file.GetBandAt(0), false);
  ASSERT_EQ(2U, notes.lines.size());
  EXPECT_EQ("images      levels 0 2", notes.lines[0]);
  EXPECT_EQ("sensor      infrared, 40 lines of 30 samples, 5 poses", notes.lines[1]);
}

}  // namespace
