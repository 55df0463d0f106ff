#include "WorkReport.h"
#include "TempFolder.h"

#include <gmock/gmock.h>

namespace {

TEST(WorkReport, BytesAreToldInTheUnitThatSuits) {
  EXPECT_EQ("0 bytes", FormatBytes(0));
  EXPECT_EQ("1 byte", FormatBytes(1));
  EXPECT_EQ("999 bytes", FormatBytes(999));
  EXPECT_EQ("1.0 kB", FormatBytes(1000));
  EXPECT_EQ("999.9 kB", FormatBytes(999'900));
  EXPECT_EQ("1.0 MB", FormatBytes(999'990));
  EXPECT_EQ("2.5 GB", FormatBytes(2'500'000'000));
  EXPECT_EQ("5000.0 TB", FormatBytes(5'000'000'000'000'000));
}

TEST(WorkReport, TellsTheSizeOfTheFileAndTheSpeed) {
  const TempFolder folder;
  folder.Write("a", std::string(2500, 'x'));
  WorkReport report(1'000'000);
  report.Finish(folder.Path("a"));
  EXPECT_THAT(report.GetText(), testing::MatchesRegex("2\\.5 kB in [0-9]+\\.[0-9][0-9] s, [0-9]+ MB/s of samples"));
}

}  // namespace
