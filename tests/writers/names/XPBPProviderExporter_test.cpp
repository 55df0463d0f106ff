// The file of place names byte by byte, its tables, and the reports and stops of a build. What a stopped build leaves
// is held against records that are really inserted one after the other.

#include "FaultyDisk.h"
#include "PbpBuilder.h"
#include "PbpTrial.h"
#include "TempFolder.h"
#include "XArraySort.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <random>

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Bytes = std::vector<unsigned char>;
using Numbers = std::vector<int>;

void AddAll(XPBPProviderExporter& exporter, const std::vector<BuiltPlace>& places) {
  for (const BuiltPlace& place : places) ASSERT_EQ(1, exporter.AddPName(place.first, place.second, place.name));
}

/// Coordinates with many equals among them, and some that are no usual numbers.
std::vector<BuiltPlace> MakeUnevenPlaces(int count) {
  std::minstd_rand random(7);
  const std::vector<double> special = {kNan, kInfinity, -kInfinity, 0.0, -0.0, 5e-324, -5e-324, 1e308};
  const auto draw = [&] {
    const auto number = random() % 64;
    return number < special.size() ? special[number] : (static_cast<double>(random() % 97) - 48.0) / 8.0;
  };
  std::vector<BuiltPlace> places;
  for (int i = 0; i < count; ++i) places.push_back({draw(), draw()});
  return places;
}

/// Inserts records one after the other, as many as are told, and fills the table up with zeros.
Numbers InsertByShifting(const std::vector<BuiltPlace>& places, int numInserted, double BuiltPlace::*coordinate) {
  XArraySort<double> sorted([](const double& added, const double& there) {
    return XPBPProviderExporter::CompareByFirst({added, 0.0}, {there, 0.0});
  });
  Numbers table;
  for (int i = 0; i < numInserted; ++i) {
    table.insert(table.begin() + sorted.Insert(places[static_cast<std::size_t>(i)].*coordinate), i);
  }
  table.resize(places.size());
  return table;
}

/// The records after which a build reports.
Numbers ListReported(int count) {
  Numbers reported;
  for (int i = 0; i < count; ++i) {
    if (i % std::max(count / 100, 1) == 0 || i == count - 1) reported.push_back(i);
  }
  return reported;
}

class PbpFileTest : public testing::Test {
 protected:
  std::string Path() const { return folder_.Path("a.pbp"); }
  bool IsThere() const { return std::filesystem::exists(Path()); }

  TempFolder folder_;
  XPBPProviderExporter exporter_;
};

using PbpCompatible = PbpFileTest;
using PbpExact = PbpFileTest;

}  // namespace

TEST_F(PbpFileTest, IsHeaderRecordsAndTwoTables) {
  exporter_.AddPName(2.0, -1.0, "B");
  exporter_.AddPName(-0.5, 3.0, "Aa");
  exporter_.BuildPointCloud('2', '7', nullptr);
  ASSERT_TRUE(exporter_.Export2PBP(Path(), nullptr));
  Bytes expected = {'P', 'B', 'P', '2', '7', 0, 0, 0, 2, 0, 0, 0};
  const auto append = [&](const Bytes& bytes) { expected.insert(expected.end(), bytes.begin(), bytes.end()); };
  append({0, 0, 0, 0, 0, 0, 0x00, 0x40, 0, 0, 0, 0, 0, 0, 0xF0, 0xBF, 'B'});
  append(Bytes(63, 0));
  append({0, 0, 0, 0, 0, 0, 0xE0, 0xBF, 0, 0, 0, 0, 0, 0, 0x08, 0x40, 'A', 'a'});
  append(Bytes(62, 0));
  append({1, 0, 0, 0, 0, 0, 0, 0});
  append({0, 0, 0, 0, 1, 0, 0, 0});
  EXPECT_EQ(expected, ReadBytes(Path()));
}

TEST_F(PbpFileTest, KeepsANameOf64BytesAndDropsOneOf65) {
  EXPECT_EQ(1, exporter_.AddPName(1.0, 2.0, std::string(64, 'x')));
  EXPECT_EQ(0, exporter_.AddPName(3.0, 4.0, std::string(65, 'y')));
  EXPECT_EQ(1, exporter_.GetCount());
  exporter_.BuildPointCloud('1', '0', nullptr);
  ASSERT_TRUE(exporter_.Export2PBP(Path(), nullptr));
  EXPECT_EQ(PbpBuilder().Add(1.0, 2.0, std::string(64, 'x')).Build(), ReadBytes(Path()));
}

TEST_F(PbpFileTest, IsNotWrittenWithoutRecordsOrWithoutABuild) {
  exporter_.BuildPointCloud('1', '0', nullptr);
  EXPECT_EQ(Numbers(), ListOf(exporter_.GetSortedByFirst()));
  EXPECT_EQ(Numbers(), ListOf(exporter_.GetSortedBySecond()));
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  EXPECT_FALSE(exporter_.Export2PBP(Path(), nullptr));
  exporter_.AddPName(1.0, 2.0, "A");
  EXPECT_FALSE(exporter_.Export2PBP(Path(), nullptr));
  EXPECT_EQ(0, disk.GetOpenCount());
}

TEST_F(PbpFileTest, CannotBeMadeInAFolderThatIsMissing) {
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.BuildPointCloud('1', '0', nullptr);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    const ScopedPolicy scope(policy);
    EXPECT_FALSE(exporter_.Export2PBP(folder_.Path("none/a.pbp"), nullptr));
  }
}

TEST_F(PbpFileTest, ReplacesALongerOldFileInBothPolicies) {
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.BuildPointCloud('1', '0', nullptr);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    const ScopedPolicy scope(policy);
    folder_.Write("a.pbp", Bytes(1000, 1));
    EXPECT_TRUE(exporter_.Export2PBP(Path(), nullptr));
    EXPECT_EQ(PbpBuilder().Add(1.0, 2.0, "A").Build(), ReadBytes(Path()));
  }
}

TEST(PbpTables, HaveTheLaterOfEqualsInFrontOfAll) {
  XPBPProviderExporter exporter;
  for (const double first : {3.0, 1.0, 3.0, 3.0, 1.0}) exporter.AddPName(first, 0.0, "");
  exporter.BuildPointCloud('1', '0', nullptr);
  EXPECT_EQ((Numbers{4, 1, 3, 2, 0}), ListOf(exporter.GetSortedByFirst()));
  EXPECT_EQ((Numbers{4, 3, 2, 1, 0}), ListOf(exporter.GetSortedBySecond()));
}

TEST(PbpTables, HaveWhatIsNotANumberLastAndBothZerosEqual) {
  XPBPProviderExporter exporter;
  for (const double first : {kNan, 0.0, -kNan, kInfinity, -0.0, -kInfinity}) exporter.AddPName(first, first, "");
  exporter.BuildPointCloud('1', '0', nullptr);
  EXPECT_EQ((Numbers{5, 4, 1, 3, 2, 0}), ListOf(exporter.GetSortedByFirst()));
}

TEST(PbpTables, AreThoseOfShiftingInsertion) {
  for (const int count : {1, 2, 3, 99, 100, 101, 1000, 3001}) {
    const std::vector<BuiltPlace> places = MakeUnevenPlaces(count);
    XPBPProviderExporter exporter;
    AddAll(exporter, places);
    exporter.BuildPointCloud('1', '0', nullptr);
    EXPECT_TRUE(exporter.IsBuilt());
    EXPECT_EQ(InsertByShifting(places, count, &BuiltPlace::first), ListOf(exporter.GetSortedByFirst())) << count;
    EXPECT_EQ(InsertByShifting(places, count, &BuiltPlace::second), ListOf(exporter.GetSortedBySecond())) << count;
  }
}

TEST(PbpTables, OfAMillionRecordsAreSorted) {
  std::mt19937_64 random(1);
  XPBPProviderExporter exporter;
  for (int i = 0; i < 1'000'000; ++i) {
    exporter.AddPName(static_cast<double>(random() % 360'000'000) / 1e6 - 180.0, static_cast<double>(random() % 1000),
                      "");
  }
  exporter.BuildPointCloud('1', '0', nullptr);
  bool areInOrder = exporter.GetSortedBySecond().GetSize() == exporter.GetCount();
  for (int rank = 1; areInOrder && rank < exporter.GetCount(); ++rank) {
    const int before = exporter.GetSortedBySecond()[rank - 1], here = exporter.GetSortedBySecond()[rank];
    const double one = exporter.GetRecord(before).second, other = exporter.GetRecord(here).second;
    areInOrder = one < other || (one == other && before > here);
  }
  EXPECT_TRUE(areInOrder);
}

TEST(PbpReports, ComeAfterEachHundredthOfTheRecordsAndAfterTheLastOne) {
  for (const int count : {1, 5, 100, 199, 250, 1234}) {
    XPBPProviderExporter exporter;
    AddAll(exporter, MakeUnevenPlaces(count));
    ReportLog log;
    XThread thread(&log);
    exporter.BuildPointCloud('1', '0', &thread);
    std::vector<long> expected;
    for (int table = 0; table < 2; ++table) {
      for (const int i : ListReported(count)) expected.push_back(static_cast<long>(100.0 * (i + 1.0) / count));
    }
    EXPECT_EQ(expected, log.reports) << count;
  }
}

TEST(PbpReports, StopABuildThatIsNotToBegin) {
  XPBPProviderExporter exporter;
  AddAll(exporter, {{3.0, 1.0}, {2.0, 2.0}, {1.0, 3.0}});
  ReportLog log;
  XThread thread(&log);
  thread.SetState(XThread::kStateStop);
  exporter.BuildPointCloud('1', '0', &thread);
  EXPECT_EQ((Numbers{0, 0, 0}), ListOf(exporter.GetSortedByFirst()));
  EXPECT_EQ(Numbers(), ListOf(exporter.GetSortedBySecond()));
  EXPECT_TRUE(log.reports.empty());
  EXPECT_FALSE(exporter.IsBuilt());
}

TEST(PbpReports, StopABuildWithTheRecordsInsertedByThen) {
  constexpr int kCount = 250;
  const std::vector<BuiltPlace> places = MakeUnevenPlaces(kCount);
  const Numbers reported = ListReported(kCount);
  const int perTable = static_cast<int>(reported.size());
  for (int stopWith = 1; stopWith < 2 * perTable; ++stopWith) {
    XPBPProviderExporter exporter;
    AddAll(exporter, places);
    ReportLog log(stopWith);
    XThread thread(&log);
    exporter.BuildPointCloud('1', '0', &thread);
    // The word is looked at before each report, so that the build ends with the one behind.
    const bool isInFirst = stopWith < perTable;
    const int inserted = reported[static_cast<std::size_t>(stopWith % perTable)] + 1;
    EXPECT_EQ(InsertByShifting(places, isInFirst ? inserted : kCount, &BuiltPlace::first),
              ListOf(exporter.GetSortedByFirst()));
    EXPECT_EQ(isInFirst ? Numbers() : InsertByShifting(places, inserted, &BuiltPlace::second),
              ListOf(exporter.GetSortedBySecond()));
    EXPECT_EQ(static_cast<std::size_t>(stopWith), log.reports.size());
  }
}

TEST_F(PbpFileTest, ReportsItsWritingAndIsNotStopped) {
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.BuildPointCloud('1', '0', nullptr);
  ReportLog log;
  XThread thread(&log);
  EXPECT_TRUE(exporter_.Export2PBP(Path(), &thread));
  EXPECT_EQ((std::vector<long>{5, 6, 34, 67, 100}), log.reports);
  ReportLog stopped(2);
  XThread stopping(&stopped);
  EXPECT_TRUE(exporter_.Export2PBP(Path(), &stopping));
  EXPECT_EQ((std::vector<long>{5, 6}), stopped.reports);
  EXPECT_EQ(PbpBuilder().Add(1.0, 2.0, "A").Build(), ReadBytes(Path()));
}

TEST_F(PbpFileTest, DoesNotLookAtTheCancelFlag) {
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.Cancel();
  exporter_.BuildPointCloud('1', '0', nullptr);
  EXPECT_TRUE(exporter_.Export2PBP(Path(), nullptr));
}

TEST_F(PbpCompatible, ExportsWhatAStoppedBuildHasLeft) {
  const ScopedPolicy policy(kReadCompatible);
  AddAll(exporter_, {{3.0, 1.0, "A"}, {2.0, 2.0, "B"}, {1.0, 3.0, "C"}});
  ReportLog log(1);
  XThread thread(&log);
  exporter_.BuildPointCloud('1', '0', &thread);
  ASSERT_TRUE(exporter_.Export2PBP(Path(), nullptr));
  Bytes expected = PbpBuilder().Add(3.0, 1.0, "A").Add(2.0, 2.0, "B").Add(1.0, 3.0, "C").FirstTable({1, 0, 0}).Build();
  expected.resize(expected.size() - 12);
  EXPECT_EQ(expected, ReadBytes(Path()));
}

TEST_F(PbpExact, ExportsNothingOfAStoppedBuild) {
  const ScopedPolicy policy(kReadExact);
  AddAll(exporter_, {{3.0, 1.0, "A"}, {2.0, 2.0, "B"}, {1.0, 3.0, "C"}});
  ReportLog log(4);
  XThread thread(&log);
  exporter_.BuildPointCloud('1', '0', &thread);
  EXPECT_FALSE(exporter_.Export2PBP(Path(), nullptr));
  EXPECT_FALSE(IsThere());
}

TEST_F(PbpCompatible, CountsRecordsThatItsTablesLack) {
  const ScopedPolicy policy(kReadCompatible);
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.BuildPointCloud('1', '0', nullptr);
  exporter_.AddPName(3.0, 4.0, "B");
  ASSERT_TRUE(exporter_.Export2PBP(Path(), nullptr));
  EXPECT_EQ(PbpBuilder().Add(1.0, 2.0, "A").Add(3.0, 4.0, "B").FirstTable({0}).SecondTable({0}).Build(),
            ReadBytes(Path()));
}

TEST_F(PbpExact, ExportsNothingWhereTablesLackRecords) {
  const ScopedPolicy policy(kReadExact);
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.BuildPointCloud('1', '0', nullptr);
  exporter_.AddPName(3.0, 4.0, "B");
  EXPECT_FALSE(exporter_.Export2PBP(Path(), nullptr));
  EXPECT_FALSE(IsThere());
  exporter_.BuildPointCloud('1', '0', nullptr);
  EXPECT_TRUE(exporter_.Export2PBP(Path(), nullptr));
}

TEST_F(PbpCompatible, LeavesWhatWasWrittenWhereAWriteFails) {
  const ScopedPolicy policy(kReadCompatible);
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.BuildPointCloud('1', '0', nullptr);
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailWrite(2);
  EXPECT_FALSE(exporter_.Export2PBP(Path(), nullptr));
  EXPECT_EQ(12u, ReadBytes(Path()).size());
}

TEST_F(PbpExact, LeavesNoFileWhereAnythingFails) {
  const ScopedPolicy policy(kReadExact);
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.BuildPointCloud('1', '0', nullptr);
  for (int nth = 1; nth <= 4; ++nth) {
    FaultyDisk disk;
    const zrk::ScopedDisk scope(disk);
    disk.FailWrite(nth);
    EXPECT_FALSE(exporter_.Export2PBP(Path(), nullptr)) << nth;
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path())) << nth;
  }
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailSync(1);
  EXPECT_FALSE(exporter_.Export2PBP(Path(), nullptr));
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(PbpExact, KeepsAGoodOldFileWhereAWriteFails) {
  const ScopedPolicy policy(kReadExact);
  exporter_.AddPName(1.0, 2.0, "A");
  exporter_.BuildPointCloud('1', '0', nullptr);
  folder_.Write("a.pbp", "old");
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailWrite(3);
  EXPECT_FALSE(exporter_.Export2PBP(Path(), nullptr));
  EXPECT_EQ((Bytes{'o', 'l', 'd'}), ReadBytes(Path()));
}
