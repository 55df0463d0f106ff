#include "XJulianDate.h"

#include "XDataType.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

// Expected dates are those of almanacs: noon of 1 January 2000 is 2451545.0, and the day of Sputnik 1 is 2436116.31.

namespace {

TEST(XJulianDate, CountsDaysFromTheAlmanacsFirst) {
  EXPECT_EQ(2451545, XfnGregorian2Julian(2000, 1, 1));
  EXPECT_EQ(2440588, XfnGregorian2Julian(1970, 1, 1));
  EXPECT_EQ(2299161, XfnGregorian2Julian(1582, 10, 15));
  EXPECT_EQ(0, XfnGregorian2Julian(-4713, 11, 24));
}

TEST(XJulianDate, KnowsLeapYears) {
  EXPECT_EQ(1, XfnGregorian2Julian(2000, 3, 1) - XfnGregorian2Julian(2000, 2, 29));
  EXPECT_EQ(1, XfnGregorian2Julian(1900, 3, 1) - XfnGregorian2Julian(1900, 2, 28));
  EXPECT_EQ(2, XfnGregorian2Julian(2024, 3, 1) - XfnGregorian2Julian(2024, 2, 28));
}

TEST(XJulianDate, BeginsDaysAtMidnight) {
  EXPECT_DOUBLE_EQ(2451545.0, XfnGregorian2Julian(2000, 1, 1, 12, 0, 0.0));
  EXPECT_DOUBLE_EQ(2451544.5, XfnGregorian2Julian(2000, 1, 1, 0, 0, 0.0));
  EXPECT_NEAR(2436116.31, XfnGregorian2Julian(1957, 10, 4, 19, 26, 24.0), 1e-9);
}

TEST(XJulianDate, CountsNumbersBeyondTheirRangeOn) {
  EXPECT_EQ(XfnGregorian2Julian(2001, 1, 1), XfnGregorian2Julian(2000, 13, 1));
  EXPECT_DOUBLE_EQ(XfnGregorian2Julian(2000, 1, 2, 0, 0, 0.0), XfnGregorian2Julian(2000, 1, 1, 24, 0, 0.0));
}

TEST(XJulianDate, ComesBackForEveryDayOfFourCenturies) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double seconds = 0.0;
  for (long jd = XfnGregorian2Julian(1799, 12, 31); jd < XfnGregorian2Julian(2200, 1, 2); ++jd) {
    ASSERT_TRUE(XfnJulian2Gregorian(static_cast<double>(jd), year, month, day, hour, minute, seconds));
    ASSERT_EQ(jd, XfnGregorian2Julian(year, month, day));
    ASSERT_EQ(12, hour);
  }
}

TEST(JD2UTC, TellsNanosecondsAsText) {
  EXPECT_EQ("2000-01-01 12:00:00.000000000", JD2UTC(2451545.0));
  EXPECT_EQ("2000-01-01 18:00:00.000000000", JD2UTC(2451545.25));
  EXPECT_EQ("-4713-11-24 12:00:00.000000000", JD2UTC(0.0));
}

TEST(JD2UTC, NeverShowsSixtySeconds) {
  for (int i = 0; i < 3000; ++i) {
    const XString text = JD2UTC(2451545.0 + i / 1440.0);
    EXPECT_EQ(std::string::npos, text.AsStdString().find(":60.")) << text;
  }
  EXPECT_EQ("2000-01-02 00:00:00.000000000", JD2UTC(2451545.5));
}

TEST(JD2UTC, IsEmptyForDatesThatItCannotTell) {
  EXPECT_TRUE(JD2UTC(std::numeric_limits<double>::quiet_NaN()).IsEmpty());
  EXPECT_TRUE(JD2UTC(kNotSet).IsEmpty());
  EXPECT_TRUE(JD2UTC(-1.0).IsEmpty());
  EXPECT_TRUE(JD2UTC(5373484.5).IsEmpty());
  EXPECT_EQ("9999-12-31 23", JD2UTC(5373484.49).Left(13));
}

TEST(UTC2JD, TakesADateWithATime) {
  EXPECT_DOUBLE_EQ(2451545.0, UTC2JD("2000-01-01 12:00:00"));
  EXPECT_NEAR(2451545.0 + 0.75 / 86400.0, UTC2JD("2000-01-01 12:00:00.75"), 1e-9);
  EXPECT_NEAR(UTC2JD("2000-01-01 12:30:00"), UTC2JD("2000/1/1 12:30:00"), 0.0);
}

TEST(UTC2JD, TakesADateAloneAsTheNumberOfItsDay) {
  EXPECT_EQ(2451545.0, UTC2JD("2000-01-01"));
  EXPECT_EQ(2451545.0, UTC2JD("2000/01/01"));
  EXPECT_EQ(2451545.0, UTC2JD("2000-01-01 morning"));
}

TEST(UTC2JD, GivesNoDateForDigitsAlone) {
  EXPECT_EQ(kNotSet, UTC2JD("20000101"));
  EXPECT_EQ(kNotSet, UTC2JD(""));
}

TEST(UTC2JD, TakesSecondsByThePointWhateverTheLocale) {
  if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) {
    GTEST_SKIP() << "no locale with a comma";
  }
  const double date = UTC2JD("2000-01-01 12:00:43.2");
  const XString text = JD2UTC(2451545.0005);
  std::setlocale(LC_ALL, "C");
  EXPECT_NEAR(2451545.0005, date, 1e-9);
  EXPECT_EQ("2000-01-01 12:00:43.2", text.Left(21));
}

TEST(UTC2JD, ReversesJD2UTC) {
  for (const double jd : {2451545.123456, 2460000.987654, 2415020.5}) EXPECT_NEAR(jd, UTC2JD(JD2UTC(jd)), 1e-9);
}

}  // namespace
