// What the writer of JPEG 2000 files refuses, with what sentence, and what it chooses by itself.

#include "Jp2Writing.h"

#include <climits>
#include <limits>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class XRSFile2JP2Checks : public Jp2Writing {};

constexpr char kTooWide[] = "The size of datatype must be less than 2 bytes";
constexpr char kBadRates[] = "The rates must be numbers above 0 in ascending order, with commas between them";

TEST_F(XRSFile2JP2Checks, NothingToSaveHasNoSentence) {
  XRSFile2JP2 none;
  err_ = kUntouched;
  EXPECT_EQ(0, none.Save(Out(), 0, 0, 0, 0, err_, 1, "", 0, 0, nullptr));
  EXPECT_EQ(kUntouched, Error());
  none.SetXRSFile(nullptr);
  EXPECT_EQ(0, none.Save(Out(), 0, 0, 0, 0, err_, 1, "", 0, 0, nullptr));
  EXPECT_EQ(0, SaveWindow(0, 0, 0, 0));
  EXPECT_EQ(kUntouched, Error());
  Add<std::uint8_t>(4, 4);
  none.SetXRSFile(file_.get());
  EXPECT_EQ(0, none.Save("", 0, 3, 0, 3, err_, 1, "", 0, 0, nullptr));
  EXPECT_EQ(kUntouched, Error());
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(XRSFile2JP2Checks, SamplesOfMoreThanTwoBytesAreRefusedInAnyPosition) {
  for (const int dataType : {kPint32, kSint32, kReal32, kReal64, kCint16, kCreal64}) {
    for (int position = 0; position < 3; ++position) {
      NewDataset();
      for (int i = 0; i < 3; ++i) AddOfType(i == position ? dataType : kPint08, 8, 8);
      ExpectRefusal(kTooWide);
    }
  }
}

TEST_F(XRSFile2JP2Checks, SamplesOfTwoBytesPass) {
  AddOfType(kPint16, 8, 8);
  AddOfType(kSint16, 8, 8);
  EXPECT_EQ(1, SaveImage()) << Error();
}

TEST_F(XRSFile2JP2Checks, ABandWithoutATypeIsRefused) {
  AddOfType(kDataTypeNone, 8, 8);
  ExpectRefusal("A band has no type of samples");
}

TEST_F(XRSFile2JP2Checks, AWindowWithoutPixelsIsRefused) {
  Add<std::uint8_t>(8, 8);
  for (const auto& [x0, x1, y0, y1] : {std::array{4, 3, 0, 7}, {0, 7, 4, 3}, {5, 0, 0, 7}, {0, 7, 0, INT_MIN}}) {
    EXPECT_EQ(0, SaveWindow(x0, x1, y0, y1));
    EXPECT_EQ("The window has no pixels", Error());
  }
  for (const auto& [x0, x1, y0, y1] : {std::array{8, 9, 0, 7}, {0, 7, 8, 20}, {-9, -1, 0, 7}, {0, 7, -5, -2}}) {
    EXPECT_EQ(0, SaveWindow(x0, x1, y0, y1));
    EXPECT_EQ("The window has no pixel of the image", Error());
  }
  EXPECT_EQ(0, SaveWindow(INT_MIN, INT_MAX, 0, 7));
  EXPECT_EQ("The window is too large", Error());
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(XRSFile2JP2Checks, AnExactSaveRefusesAWindowThatReachesBeyondTheImage) {
  file_->SetReadPolicy(kReadExact);
  Add<std::uint8_t>(8, 8);
  EXPECT_EQ(0, SaveWindow(0, 8, 0, 7));
  EXPECT_EQ("The window is not inside the image", Error());
  EXPECT_EQ(1, SaveImage()) << Error();
}

TEST_F(XRSFile2JP2Checks, AnExactSaveRefusesBandsOfDifferentSizes) {
  file_->SetReadPolicy(kReadExact);
  Add<std::uint8_t>(8, 8);
  Add<std::uint8_t>(8, 7);
  ExpectRefusal("The bands have different sizes");
}

TEST_F(XRSFile2JP2Checks, ABandThatIsNarrowerThanTheFirstCannotBeRead) {
  Add<std::uint8_t>(8, 8);
  Add<std::uint8_t>(7, 8);
  ExpectRefusal("The pixels can't be read");
}

TEST_F(XRSFile2JP2Checks, ABandThatCannotBeReadFailsTheSave) {
  Add<std::uint8_t>(8, 8);
  Add<std::uint8_t>(8, 8).FailReads();
  ExpectRefusal("The pixels can't be read");
}

TEST_F(XRSFile2JP2Checks, RatesThatAreNoAscendingNumbersAreRefused) {
  Add<std::uint8_t>(8, 8);
  for (const char* rates :
       {"x", "1,x", "0", "-1", "2,1", "1,1", ",1", "1,,2", "nan", "inf", "1e999", "1;2", "1 2", "0.5,0", ",,"}) {
    ExpectRefusal(kBadRates, {.reversible = 0, .rates = rates});
  }
}

TEST_F(XRSFile2JP2Checks, NumbersOfLayersThatCannotBeAreRefused) {
  Add<std::uint8_t>(8, 8);
  for (const int numLayers : {-1, 101, INT_MAX, INT_MIN}) {
    ExpectRefusal("The number of layers must be from 1 to 100", {.numLayers = numLayers});
  }
  ExpectRefusal("There are more rates than layers", {.rates = "1,2,3", .numLayers = 2});
}

TEST_F(XRSFile2JP2Checks, SettingsThatCannotBeAreRefused) {
  Add<std::uint8_t>(8, 8);
  for (const double decibels :
       {-1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    writer_.SetPsnr(decibels);
    ExpectRefusal("The ratio of signal to noise must be above 0 decibels");
  }
  writer_.SetPsnr(0);
  for (const int numLevels : {-2, 33}) {
    writer_.SetLevels(numLevels);
    ExpectRefusal("The number of levels must be from 0 to 32");
  }
  writer_.SetLevels(-1);
  writer_.SetTileSize(-1);
  ExpectRefusal("The size of a tile must be above 0");
}

TEST_F(XRSFile2JP2Checks, TilesThatWouldBeTooManyOrTooLargeAreRefused) {
  LoggedBand& band = Add<std::uint8_t>(8, 8);
  band.SetSize(300, 300);
  writer_.SetTileSize(1);
  ExpectRefusal("An image may have 65535 tiles; these are too small");
  band.SetSize(20000, 20000);
  writer_.SetTileSize(INT_MAX);
  ExpectRefusal("The tiles are too large");
}

TEST_F(XRSFile2JP2Checks, TheDatasetsOwnFileIsRefused) {
  Add<std::uint8_t>(8, 8);
  folder_.Write("a.jp2", "the source");
  file_->SetFilePath(Out());
  EXPECT_EQ(0, SaveImage());
  EXPECT_EQ("The file can't be written", Error());
  EXPECT_EQ(10u, ReadBytes(Out()).size());
}

TEST_F(XRSFile2JP2Checks, TilesAreOf1024PixelsUnlessTold) {
  Add<std::uint8_t>(1030, 20);
  ASSERT_EQ(1, SaveImage());
  OpjImage image = Decode();
  EXPECT_EQ(2, image.numTiles);
  EXPECT_EQ(1024, image.tileWidth);
  EXPECT_EQ(20, image.tileHeight);
  writer_.SetTileSize(600);
  ASSERT_EQ(1, SaveImage());
  image = Decode();
  EXPECT_EQ(600, image.tileWidth);
  EXPECT_EQ(2, image.numTiles);
}

TEST_F(XRSFile2JP2Checks, ThereAreFiveLevelsUnlessTheImageIsSmallOrLarge) {
  for (const auto& [width, wanted] : {std::pair{1, 0}, {2, 1}, {31, 4}, {32, 5}, {1000, 5}, {40000, 7}}) {
    NewDataset();
    Add<std::uint8_t>(width, 1);
    ASSERT_EQ(1, SaveImage());
    EXPECT_EQ(wanted, Decode().numLevels) << width;
  }
}

TEST_F(XRSFile2JP2Checks, ThereAreAsManyLevelsAsAskedForAndATileHas) {
  Add<std::uint8_t>(300, 200);
  for (const auto& [asked, wanted] : {std::pair{0, 0}, {1, 1}, {3, 3}, {8, 8}, {9, 8}, {32, 8}}) {
    writer_.SetLevels(asked);
    ASSERT_EQ(1, SaveImage());
    EXPECT_EQ(wanted, Decode().numLevels) << asked;
  }
}

TEST_F(XRSFile2JP2Checks, CloseDoesNothing) {
  Add<std::uint8_t>(8, 8);
  writer_.SetXRSFile(file_.get());
  writer_.Close();
  EXPECT_EQ(1, SaveImage());
  writer_.Close();
  EXPECT_EQ(1, SaveImage());
}

}  // namespace
