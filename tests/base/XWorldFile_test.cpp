#include "XWorldFile.h"

#include "FaultyDisk.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <string>
#include <utility>
#include <vector>

namespace {

XWorldFile ReadText(const std::string& text) {
  const TempFolder folder;
  folder.Write("a.bpw", text);
  XWorldFile file;
  EXPECT_TRUE(file.Read(folder.Path("a.bpw")));
  return file;
}

/// A file whose pixel size in x is `text`.
double ParseFirstLine(const std::string& text) {
  // The edges tell the sign: an origin of 0 moves by one pixel to the left where the size is negative.
  const XWorldFile file = ReadText(text + "\n0\n0\n-1\n0\n0\n");
  return file.Left(1) < 0.0 ? -file.XPixelSize() : file.XPixelSize();
}

/// Puts a locale in place that has a comma for a point; false where the machine has none.
class CommaLocale {
 public:
  CommaLocale() {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE"}) {
      if (!isSet_ && std::setlocale(LC_ALL, name)) isSet_ = std::localeconv()->decimal_point[0] == ',';
    }
  }
  ~CommaLocale() { std::setlocale(LC_ALL, "C"); }
  bool IsSet() const { return isSet_; }

 private:
  bool isSet_ = false;
};

/// Numbers of streams have a comma for a point while this lives.
class CommaStreams {
 public:
  CommaStreams() : before_(std::locale::global(std::locale(std::locale::classic(), new Comma))) {}
  ~CommaStreams() { std::locale::global(before_); }
  CommaStreams(const CommaStreams&) = delete;
  CommaStreams& operator=(const CommaStreams&) = delete;

 private:
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  std::locale before_;
};

/// The text of the file that is written for these numbers.
std::string WrittenText(double xPixelSize, double yPixelSize, double x, double y) {
  const TempFolder folder;
  EXPECT_EQ(1, XWorldFile::Write(folder.Path("a.tfw"), xPixelSize, yPixelSize, x, y));
  const std::vector<unsigned char> bytes = ReadBytes(folder.Path("a.tfw"));
  return {bytes.begin(), bytes.end()};
}

constexpr char kWritten[] =
    "                  2.5000000000\n"
    "                  0.0000000000\n"
    "                  0.0000000000\n"
    "                 -0.5000000000\n"
    "             500000.1250000000\n"
    "           -4649776.2500000000\n";

constexpr char kNorthUp[] = "2.5\n0\n0\n-0.5\n1000\n2000\n";

}  // namespace

TEST(XWorldFile, IsNotSetBeforeItIsRead) {
  const XWorldFile file;
  EXPECT_EQ(file.GetOriginX(), kNotSet);
  EXPECT_EQ(file.GetOriginY(), kNotSet);
  EXPECT_EQ(file.XPixelSize(), kNotSet);
  EXPECT_EQ(file.YPixelSize(), kNotSet);
}

TEST(XWorldFile, LinesOneFourFiveAndSixCount) {
  const XWorldFile file = ReadText("2.5\n77\n88\n-0.5\n1000.25\n2000.75\n99\n");
  EXPECT_EQ(file.XPixelSize(), 2.5);
  EXPECT_EQ(file.YPixelSize(), 0.5);
  EXPECT_EQ(file.GetOriginX(), 1000.25);
  EXPECT_EQ(file.GetOriginY(), 2000.75);
}

TEST(XWorldFile, EdgesOfANorthUpImageGoRightAndDownFromTheOrigin) {
  const XWorldFile file = ReadText(kNorthUp);
  EXPECT_EQ(file.Left(100), 1000.0);
  EXPECT_EQ(file.Right(100), 1250.0);
  EXPECT_EQ(file.Top(40), 2000.0);
  EXPECT_EQ(file.Bottom(40), 1980.0);
}

TEST(XWorldFile, EdgesOfAMirroredImageGoLeftAndUpFromTheOrigin) {
  const XWorldFile file = ReadText("-2.5\n0\n0\n0.5\n1000\n2000\n");
  EXPECT_EQ(file.Left(100), 750.0);
  EXPECT_EQ(file.Right(100), 1000.0);
  EXPECT_EQ(file.Top(40), 2020.0);
  EXPECT_EQ(file.Bottom(40), 2000.0);
  EXPECT_EQ(file.XPixelSize(), 2.5);
  EXPECT_EQ(file.YPixelSize(), 0.5);
}

TEST(XWorldFile, EdgesThatAreNotSetAreThoseOfThePixels) {
  const XWorldFile file;
  EXPECT_EQ(file.Left(100), 0.0);
  EXPECT_EQ(file.Right(100), 99.0);
  EXPECT_EQ(file.Top(40), 39.0);
  EXPECT_EQ(file.Bottom(40), 0.0);
}

TEST(XWorldFile, WithoutTheLastLineBottomIsOfPixelsAndTopIsNot) {
  const XWorldFile file = ReadText("2.5\n0\n0\n-0.5\n1000\n");
  EXPECT_EQ(file.GetOriginY(), kNotSet);
  EXPECT_EQ(file.Left(100), 1000.0);
  EXPECT_EQ(file.Bottom(40), 0.0);
  EXPECT_EQ(file.Top(40), kNotSet);  // asked of the x numbers
}

TEST(XWorldFile, WithoutTheOriginsEverythingIsOfPixels) {
  const XWorldFile file = ReadText("2.5\n0\n0\n-0.5\n");
  EXPECT_EQ(file.XPixelSize(), 2.5);
  EXPECT_EQ(file.YPixelSize(), 0.5);
  EXPECT_EQ(file.Left(100), 0.0);
  EXPECT_EQ(file.Right(100), 99.0);
  EXPECT_EQ(file.Top(40), 39.0);
  EXPECT_EQ(file.Bottom(40), 0.0);
}

TEST(XWorldFile, ATextThatIsNotSetIsNotSet) {
  const XWorldFile file = ReadText("1.7e+308\n0\n0\n1\n1000\n2000\n");
  EXPECT_EQ(file.Left(100), 0.0);
  EXPECT_EQ(file.Right(100), 99.0);
  EXPECT_EQ(file.Top(40), 39.0);
  EXPECT_EQ(file.Bottom(40), 2000.0);
}

TEST(XWorldFile, AnEmptyFileOpensAndSetsNothing) {
  const XWorldFile file = ReadText("");
  EXPECT_EQ(file.XPixelSize(), kNotSet);
  EXPECT_EQ(file.GetOriginY(), kNotSet);
}

TEST(XWorldFile, AFileThatIsNotThereLeavesTheNumbers) {
  XWorldFile file = ReadText(kNorthUp);
  const TempFolder folder;
  EXPECT_FALSE(file.Read(folder.Path("none.bpw")));
  EXPECT_FALSE(file.Read(folder.Path()));
  EXPECT_EQ(file.GetOriginX(), 1000.0);
}

TEST(XWorldFile, AShorterFileReadLaterLeavesItsMissingLinesUnset) {
  const TempFolder folder;
  folder.Write("long.bpw", kNorthUp);
  folder.Write("short.bpw", "7\n");
  XWorldFile file;
  EXPECT_TRUE(file.Read(folder.Path("long.bpw")));
  EXPECT_TRUE(file.Read(folder.Path("short.bpw")));
  EXPECT_EQ(file.XPixelSize(), 7.0);
  EXPECT_EQ(file.GetOriginX(), kNotSet);
}

TEST(XWorldFile, LinesEndInEitherWayAndTheLastMayLackItsEnd) {
  const XWorldFile file = ReadText("2.5\r\n0\r\n0\r\n-0.5\r\n1000\r\n2000");
  EXPECT_EQ(file.XPixelSize(), 2.5);
  EXPECT_EQ(file.Top(40), 2000.0);
  EXPECT_EQ(file.GetOriginX(), 1000.0);
}

TEST(XWorldFile, ABlankLineIsALine) {
  const XWorldFile file = ReadText("1\n\n\n2\n3\n\n");
  EXPECT_EQ(file.YPixelSize(), 2.0);
  EXPECT_EQ(file.GetOriginX(), 3.0);
  EXPECT_EQ(file.GetOriginY(), 0.0);
}

TEST(XWorldFile, ANumberIsWhatTheLineBeginsWith) {
  EXPECT_EQ(ParseFirstLine("  \t3.5"), 3.5);
  EXPECT_EQ(ParseFirstLine("+3.5"), 3.5);
  EXPECT_EQ(ParseFirstLine("-3.5"), -3.5);
  EXPECT_EQ(ParseFirstLine("3.5 metres"), 3.5);
  EXPECT_EQ(ParseFirstLine("3,5"), 3.0);
  EXPECT_EQ(ParseFirstLine(".5"), 0.5);
  EXPECT_EQ(ParseFirstLine("1e2"), 100.0);
  EXPECT_EQ(ParseFirstLine("1.25E-2x"), 0.0125);
}

TEST(XWorldFile, ALineThatBeginsWithNoNumberIsZero) {
  for (const char* text : {"", "   ", "metres", "+", "-", "+-3", "++3", ".", "\r"}) {
    EXPECT_EQ(ParseFirstLine(text), 0.0) << '"' << text << '"';
  }
}

TEST(XWorldFile, NumbersTooLargeOrTooSmallAreInfiniteOrZero) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(ParseFirstLine("1e999"), kInfinity);
  EXPECT_EQ(ParseFirstLine("1e-999"), 0.0);
  EXPECT_EQ(ParseFirstLine("1" + std::string(400, '0')), kInfinity);
  EXPECT_EQ(ParseFirstLine("0." + std::string(400, '0') + "1"), 0.0);
  EXPECT_EQ(ParseFirstLine("1" + std::string(400, '0') + "e-400"), 1.0);
}

TEST(XWorldFile, TextsOfNoNumberAndInfinityAreNumbersLikeOthers) {
  EXPECT_TRUE(std::isnan(ParseFirstLine("nan")));
  EXPECT_TRUE(std::isinf(ParseFirstLine("inf")));
  const XWorldFile file = ReadText("nan\n0\n0\n-1\n5\n6\n");
  EXPECT_EQ(file.Left(10), 5.0);
  EXPECT_TRUE(std::isnan(file.Right(10)));
}

TEST(XWorldFile, NumbersHaveAPointInEveryLocale) {
  const CommaLocale locale;
  if (!locale.IsSet()) GTEST_SKIP() << "no locale with a comma is installed";
  EXPECT_EQ(ParseFirstLine("3.5"), 3.5);
  EXPECT_EQ(ParseFirstLine("3,5"), 3.0);
}

TEST(XWorldFile, OnlyTheBeginningOfALargeFileIsRead) {
  const TempFolder folder;
  folder.Write("a.bpw", kNorthUp + std::string(1000000, '\n'));
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  XWorldFile file;
  EXPECT_TRUE(file.Read(folder.Path("a.bpw")));
  EXPECT_EQ(disk.GetReadCount(), 1);
  EXPECT_EQ(file.GetOriginX(), 1000.0);
}

TEST(XWorldFile, LinesBeyondTheBeginningAreMissing) {
  const XWorldFile file = ReadText("2.5\n" + std::string(100000, ' ') + "\n0\n-1\n5\n6\n");
  EXPECT_EQ(file.XPixelSize(), 2.5);
  EXPECT_EQ(file.YPixelSize(), kNotSet);
}

TEST(XWorldFile, AFileThatOpensButDoesNotReadSetsNothing) {
  const TempFolder folder;
  folder.Write("a.bpw", std::string_view(kNorthUp));
  FaultyDisk disk;
  disk.FailRead(1);
  const zrk::ScopedDisk scope(disk);
  XWorldFile file;
  EXPECT_TRUE(file.Read(folder.Path("a.bpw")));
  EXPECT_EQ(file.XPixelSize(), kNotSet);
}

TEST(XWorldFile, AFileThatDoesNotOpenIsToldSo) {
  const TempFolder folder;
  folder.Write("a.bpw", std::string_view(kNorthUp));
  FaultyDisk disk;
  disk.FailOpen(1);
  const zrk::ScopedDisk scope(disk);
  EXPECT_FALSE(XWorldFile().Read(folder.Path("a.bpw")));
}

TEST(XWorldFile, IsWrittenAsSixNumbersOfTenDigitsInAColumn) {
  EXPECT_EQ(kWritten, WrittenText(2.5, 0.5, 500000.125, -4649776.25));
}

TEST(XWorldFile, NumbersAreRoundedToTenDigits) {
  EXPECT_EQ(
      "                  0.3333333333\n"
      "                  0.0000000000\n"
      "                  0.0000000000\n"
      "                 -0.6666666667\n"
      "                  0.0000000000\n"
      "                 -0.0000000000\n",
      WrittenText(1.0 / 3.0, 2.0 / 3.0, 1e-300, -1e-11));
}

TEST(XWorldFile, TheNegativeOfAPixelSizeOfZeroIsWrittenWithItsSign) {
  const std::string text = WrittenText(0.0, 0.0, 0.0, 0.0);
  EXPECT_EQ("                  0.0000000000\n", text.substr(0, 31));
  EXPECT_EQ("                 -0.0000000000\n", text.substr(3 * 31, 31));
}

TEST(XWorldFile, NumbersTooLongForTheColumnAreWrittenWhole) {
  const std::string text = WrittenText(kNotSet, kNotSet, 1e20, -kNotSet);
  // 309 digits of the nearest number that there is, the point, ten digits and the end of the line.
  EXPECT_EQ("16999999999999999", text.substr(0, 17));
  EXPECT_EQ(".0000000000\n", text.substr(309, 12));
  EXPECT_EQ("-16999999999999999", text.substr(320 + 1 + 2 * 31, 18));
  EXPECT_NE(std::string::npos, text.find("\n100000000000000000000.0000000000\n"));  // 21 digits take 32 places
  EXPECT_EQ(kNotSet, ReadText(text).XPixelSize());
}

TEST(XWorldFile, NumbersThatAreNoneAreWrittenAsWords) {
  const double infinity = std::numeric_limits<double>::infinity();
  const std::string text = WrittenText(infinity, infinity, std::nan(""), 1.0);
  EXPECT_EQ(std::string(27, ' ') + "inf\n", text.substr(0, 31));
  EXPECT_EQ(std::string(26, ' ') + "-inf\n", text.substr(3 * 31, 31));
  EXPECT_EQ(std::string(27, ' ') + "nan\n", text.substr(4 * 31, 31));
}

TEST(XWorldFile, IsReadAsItWasWritten) {
  const XWorldFile file = ReadText(WrittenText(2.5, 0.5, 500000.125, -4649776.25));
  EXPECT_EQ(2.5, file.XPixelSize());
  EXPECT_EQ(0.5, file.YPixelSize());
  EXPECT_EQ(500000.125, file.GetOriginX());
  EXPECT_EQ(-4649776.25, file.GetOriginY());
  EXPECT_EQ(-4649777.25, file.Bottom(2));
}

TEST(XWorldFile, IsWrittenWithPointsWhateverStreamsHave) {
  const CommaStreams streams;
  EXPECT_EQ(kWritten, WrittenText(2.5, 0.5, 500000.125, -4649776.25));
}

TEST(XWorldFile, IsWrittenWithPointsInEveryLocale) {
  const CommaLocale locale;
  if (!locale.IsSet()) GTEST_SKIP() << "no locale with a comma is installed";
  EXPECT_EQ(kWritten, WrittenText(2.5, 0.5, 500000.125, -4649776.25));
}

TEST(XWorldFile, IsWrittenInPlaceOfALongerFile) {
  const TempFolder folder;
  folder.Write("a.tfw", std::string(1000, '7'));
  EXPECT_EQ(1, XWorldFile::Write(folder.Path("a.tfw"), 2.5, 0.5, 500000.125, -4649776.25));
  const std::vector<unsigned char> bytes = ReadBytes(folder.Path("a.tfw"));
  EXPECT_EQ(kWritten, std::string(bytes.begin(), bytes.end()));
}

TEST(XWorldFile, IsNotWrittenWhereItDoesNotOpen) {
  const TempFolder folder;
  EXPECT_EQ(0, XWorldFile::Write(folder.Path("none/a.tfw"), 1.0, 1.0, 0.0, 0.0));
  EXPECT_EQ(0, XWorldFile::Write(folder.Path(), 1.0, 1.0, 0.0, 0.0));
  EXPECT_EQ(0, XWorldFile::Write("", 1.0, 1.0, 0.0, 0.0));
}

// Lines 2 and 3 are what a column moves in y and a row in x; the centre is half a column and half a row from the corner.
TEST(XWorldFile, HoldsAnyTransformByTheCentreOfTheFirstPixel) {
  const TempFolder folder;
  const double transform[6] = {1000.0, 2.0, 0.5, 5000.0, 0.25, -4.0};
  ASSERT_EQ(1, XWorldFile::Write(folder.Path("a.tfw"), transform));
  const std::vector<unsigned char> bytes = ReadBytes(folder.Path("a.tfw"));
  EXPECT_EQ(
      "                  2.0000000000\n"
      "                  0.2500000000\n"
      "                  0.5000000000\n"
      "                 -4.0000000000\n"
      "               1001.2500000000\n"
      "               4998.1250000000\n",
      std::string(bytes.begin(), bytes.end()));
}

TEST(XWorldFile, HasEnoughDigitsOfATransformForTheSameNumbers) {
  const TempFolder folder;
  constexpr double kSecond = 1.0 / 3600.0;
  const double transform[6] = {7.0, kSecond, 0.0, 50.0, 0.0, -kSecond};
  ASSERT_EQ(1, XWorldFile::Write(folder.Path("a.tfw"), transform));
  XWorldFile file;
  ASSERT_TRUE(file.Read(folder.Path("a.tfw")));
  EXPECT_EQ(kSecond, file.XPixelSize());
  EXPECT_EQ(kSecond, file.YPixelSize());
}

TEST(XWorldFile, IsRemovedWhereItIsNotWrittenToTheEnd) {
  const TempFolder folder;
  FaultyDisk disk;
  disk.FailWrite(1);
  const zrk::ScopedDisk scope(disk);
  EXPECT_EQ(0, XWorldFile::Write(folder.Path("a.tfw"), 1.0, 1.0, 0.0, 0.0));
  EXPECT_FALSE(disk.Exists(folder.Path("a.tfw")));
}

TEST(XWorldFile, HasNamesByWhichReadersOfTiffFilesFindIt) {
  EXPECT_EQ((std::vector<XString>{"a/b.tfw", "a/b.TFW"}), XWorldFile::ListNamesForTiff("a/b.tif"));
  EXPECT_EQ((std::vector<XString>{"b..tfw", "b..TFW", "b.t.tfw", "b.t.TFW", "b.tfw", "b.TFW"}),
            XWorldFile::ListNamesForTiff("b.tiff"));
}
