// Checks of PBP files that are sound, and of files that are damaged in one known place.

#include "ByteFlips.h"
#include "MemoryDisk.h"
#include "PbpBuilder.h"
#include "PbpTrial.h"
#include "TempFolder.h"
#include "XLimits.h"
#include "XPBPReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using testing::ElementsAre;

class XfnCheckPlacesTest : public testing::Test {
 protected:
  std::vector<std::string> FindingsOf(const std::vector<unsigned char>& bytes) {
    folder_.Write("a.pbp", bytes);
    EXPECT_TRUE(XfnCheckPlaces(folder_.Path("a.pbp"), report_, err_)) << err_.AsStdString();
    EXPECT_EQ(static_cast<std::size_t>(report_.numFindings), report_.findings.size());
    std::vector<std::string> findings;
    for (const XString& finding : report_.findings) findings.push_back(finding.AsStdString());
    return findings;
  }

  TempFolder folder_;
  tagXPlaceReport report_;
  XString err_;
};

PbpBuilder MakeThree() {
  return PbpBuilder().Add(3.0, 1.0, "A").Add(1.0, 3.0, "B").Add(2.0, 2.0, "C");
}

}  // namespace

TEST_F(XfnCheckPlacesTest, FindsNothingInASoundFile) {
  EXPECT_THAT(FindingsOf(MakeThree().Build()), ElementsAre());
  EXPECT_EQ(3, report_.numPlaces);
  EXPECT_EQ(0, report_.numNotNumbers);
}

TEST_F(XfnCheckPlacesTest, CountsPlacesThatAreNoNumbers) {
  EXPECT_THAT(FindingsOf(MakeThree().Add(NAN, 0.0, "D").Add(0.0, NAN, "E").Add(INFINITY, 1.0, "F").Build()),
              ElementsAre());
  EXPECT_EQ(2, report_.numNotNumbers);
}

TEST_F(XfnCheckPlacesTest, FindsATableOutOfOrder) {
  EXPECT_THAT(FindingsOf(MakeThree().SecondTable({0, 1, 2}).Build()),
              ElementsAre("Rank 2 of the table by the second coordinate comes before the rank in front of it"));
}

TEST_F(XfnCheckPlacesTest, FindsPlacesThatAreNamedTwiceOrAreNotThere) {
  EXPECT_THAT(FindingsOf(MakeThree().FirstTable({1, 1, 3}).Build()),
              ElementsAre("Rank 1 of the table by the first coordinate names the place 1 again",
                          "Rank 2 of the table by the first coordinate names the place 3, which is not there"));
}

TEST_F(XfnCheckPlacesTest, FindsALengthThatIsNotThatOfTheCount) {
  EXPECT_THAT(FindingsOf(MakeThree().Claim(4).Build()),
              ElementsAre("The file has 276 bytes, and its 4 places need 364"));
}

TEST_F(XfnCheckPlacesTest, KeepsAThousandFindingsAndCountsAll) {
  PbpBuilder builder;
  for (int i = 0; i < 1500; ++i) builder.Add(i, i, "");
  folder_.Write("a.pbp", builder.FirstTable(PbpBuilder::Table(1500, -1)).Build());
  ASSERT_TRUE(XfnCheckPlaces(folder_.Path("a.pbp"), report_, err_));
  EXPECT_EQ(1500, report_.numFindings);
  EXPECT_EQ(1000u, report_.findings.size());
}

TEST_F(XfnCheckPlacesTest, RefusesWhatIsNoPbpFile) {
  folder_.Write("a.pbp", "PNG and something else");
  EXPECT_FALSE(XfnCheckPlaces(folder_.Path("a.pbp"), report_, err_));
  EXPECT_EQ("The file is no PBP file", err_);
  EXPECT_FALSE(XfnCheckPlaces(folder_.Path("b.pbp"), report_, err_));
}

TEST_F(XfnCheckPlacesTest, RefusesMorePlacesThanTheLimitsAllow) {
  folder_.Write("a.pbp", MakeThree().Build());
  const tagXLimits usual = XfnGetLimits();
  tagXLimits low = usual;
  low.tableBytes = 23;
  XfnSetLimits(low);
  EXPECT_FALSE(XfnCheckPlaces(folder_.Path("a.pbp"), report_, err_));
  XfnSetLimits(usual);
  EXPECT_EQ("The file has more places than the limits allow to check", err_);
}

TEST_F(XfnCheckPlacesTest, StopsWithoutASentence) {
  folder_.Write("a.pbp", MakeThree().Build());
  ReportLog log(2);
  XThread thread(&log);
  EXPECT_FALSE(XfnCheckPlaces(folder_.Path("a.pbp"), report_, err_, &thread));
  EXPECT_EQ("", err_);
  EXPECT_EQ(2u, log.reports.size());
}

TEST_F(XfnCheckPlacesTest, SurvivesAnyDamageAndSoDoSearches) {
  PbpBuilder builder;
  for (int i = 0; i < 120; ++i) builder.Add(i * 7 % 120, i * 11 % 90, std::to_string(i));
  const std::string path = "/a.pbp";
  FlipBytes(builder.Build(), TrialCount(3000), {0, 12}, [&](const std::vector<unsigned char>& bytes) {
    MemoryDisk disk;
    disk.Add(path, bytes);
    const zrk::ScopedDisk scope(disk);
    XfnCheckPlaces(path, report_, err_);
    XPBPReader reader;
    if (!reader.Open(path, err_)) return;
    std::vector<int> numbers;
    std::vector<tagXPlace> places;
    reader.FindInBox({10.0, 10.0, 10.5, 80.0}, numbers, err_);
    reader.FindInBox({-180.0, -90.0, 180.0, 90.0}, numbers, err_);
    reader.FindNearest(50.0, 50.0, 3, places, err_);
  });
}
