#include "XWorldFile.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

namespace {

class XWorldFileText : public testing::Test {
 protected:
  XWorldFile Read(const std::string& text) {
    folder_.Write("a.bmw", text);
    XWorldFile worldFile;
    EXPECT_TRUE(worldFile.Read(folder_.Path("a.bmw")));
    return worldFile;
  }
  TempFolder folder_;
};

TEST_F(XWorldFileText, TakesSizesAndOriginFromTheirLines) {
  const XWorldFile worldFile = Read("0.5\n9\n9\n-0.25\n100\n200\n");
  EXPECT_EQ(0.5, worldFile.XPixelSize());
  EXPECT_EQ(0.25, worldFile.YPixelSize());
  EXPECT_EQ(100.0, worldFile.GetOriginX());
  EXPECT_EQ(200.0, worldFile.GetOriginY());
}

TEST_F(XWorldFileText, NorthUpImagesBeginAtTheOrigin) {
  const XWorldFile worldFile = Read("0.5\n0\n0\n-0.25\n100\n200\n");
  EXPECT_EQ(100.0, worldFile.Left(10));
  EXPECT_EQ(105.0, worldFile.Right(10));
  EXPECT_EQ(200.0, worldFile.Top(20));
  EXPECT_EQ(195.0, worldFile.Bottom(20));
}

TEST_F(XWorldFileText, FlippedImagesEndAtTheOrigin) {
  const XWorldFile worldFile = Read("-0.5\n0\n0\n0.25\n100\n200\n");
  EXPECT_EQ(95.0, worldFile.Left(10));
  EXPECT_EQ(100.0, worldFile.Right(10));
  EXPECT_EQ(205.0, worldFile.Top(20));
  EXPECT_EQ(200.0, worldFile.Bottom(20));
}

TEST(XWorldFile, AMissingFileLeavesPixelCoordinates) {
  XWorldFile worldFile;
  EXPECT_FALSE(worldFile.Read("/no/such/file.bmw"));
  EXPECT_EQ(0.0, worldFile.Left(10));
  EXPECT_EQ(0.0, worldFile.Bottom(20));
  EXPECT_EQ(9.0, worldFile.Right(10));
  EXPECT_EQ(19.0, worldFile.Top(20));
  EXPECT_EQ(kNotSet, worldFile.XPixelSize());
}

TEST_F(XWorldFileText, MissingLinesLeaveTheirNumberUnset) {
  const XWorldFile worldFile = Read("0.5\n0\n0\n-0.25\n");
  EXPECT_EQ(0.25, worldFile.YPixelSize());
  EXPECT_EQ(kNotSet, worldFile.GetOriginX());
  EXPECT_EQ(0.0, worldFile.Left(10));
}

TEST_F(XWorldFileText, TheTopAsksWhetherTheXNumbersAreSet) {
  // Line 6 is missing, but line 5 is there: the top is worked out from a number that is not set.
  const XWorldFile worldFile = Read("0.5\n0\n0\n-0.25\n100\n");
  EXPECT_EQ(kNotSet, worldFile.Top(20));
  EXPECT_EQ(0.0, worldFile.Bottom(20));
}

TEST_F(XWorldFileText, ReadsNumbersAsAtofDoes) {
  const XWorldFile worldFile = Read("  +1.5e1 metres\r\n\r\n\r\nnonsense\r\n-1e-400\r\n1e400");
  EXPECT_EQ(15.0, worldFile.XPixelSize());
  EXPECT_EQ(0.0, worldFile.YPixelSize());
  EXPECT_EQ(0.0, worldFile.GetOriginX());
  EXPECT_EQ(std::numeric_limits<double>::infinity(), worldFile.GetOriginY());
}

TEST_F(XWorldFileText, ABlankLineIsALine) {
  const XWorldFile worldFile = Read("1\n\n\n2\n3\n4\n");
  EXPECT_EQ(2.0, worldFile.YPixelSize());
  EXPECT_EQ(4.0, worldFile.GetOriginY());
}

TEST_F(XWorldFileText, LooksAtTheBeginningOfALongFileOnly) {
  const XWorldFile worldFile = Read("1\n2\n3\n4\n5\n" + std::string(1 << 20, ' ') + "6\n");
  EXPECT_EQ(5.0, worldFile.GetOriginX());
  EXPECT_EQ(0.0, worldFile.GetOriginY());
}

TEST_F(XWorldFileText, TheDecimalPointIsAPointInEveryLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  EXPECT_EQ(0.5, Read("0.5\n").XPixelSize());
  std::setlocale(LC_ALL, before.c_str());
}

}  // namespace
