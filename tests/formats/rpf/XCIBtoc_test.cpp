#include "XCIBtoc.h"

#include "ByteFlips.h"
#include "FaultyDisk.h"
#include "TempFolder.h"
#include "TocBuilder.h"
#include "XFile.h"
#include "XLimits.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

/// More than is held of a file's head.
constexpr std::size_t kBeyondHead = 70000;

TocBuilder OneFrame() {
  return TocBuilder().Boundary().Frame(0, 0, 0, "./ONC/", "RPFTOC01.ON2");
}

/// The readers of sections, for those that no load calls.
class OpenToc : public XCIBtoc {
 public:
  using XCIBtoc::ReadBoundaryRectangleSection;
  using XCIBtoc::ReadColortableIndexSection;
  using XCIBtoc::ReadFrameFileIndexSection;
};

class Toc : public testing::Test {
 protected:
  int Load(XCIBtoc& toc, const std::vector<unsigned char>& bytes) {
    folder_.Write("A.TOC", bytes);
    return toc.LoadFile(folder_.Path("A.TOC"));
  }
  int Load(XCIBtoc& toc, const TocBuilder& builder) { return Load(toc, builder.Build()); }
  int ProductOf(const std::vector<std::string>& products) {
    TocBuilder builder;
    for (const std::string& product : products) {
      TocBoundary boundary;
      boundary.product = product;
      builder.Boundary(boundary);
    }
    XCIBtoc toc;
    EXPECT_EQ(1, Load(toc, builder));
    return toc.GetProductDataType();
  }
  TempFolder folder_;
};

void ExpectWholeBoundary(const tagBoundaryRectangleRecordRPF& record) {
  EXPECT_STREQ("CADRG", record.productDataType);
  EXPECT_STREQ("55:1 ", record.compressionRatio);
  EXPECT_STREQ("1:1,000,000 ", record.scale);
  EXPECT_STREQ("2", record.zone);
  EXPECT_STREQ("DMAAC", record.producer);
  const double corners[] = {36, 2, 32, 2, 36, 6, 32, 6};
  EXPECT_EQ(0, std::memcmp(corners, &record.nwLatitude, sizeof(corners)));
  EXPECT_EQ(150.5, record.verticalResolution);
  EXPECT_EQ(140.25, record.horizontalResolution);
  EXPECT_EQ(0.00135, record.verticalInterval);
  EXPECT_EQ(0.00178, record.horizontalInterval);
  EXPECT_EQ(3, record.numFramesNorthSouth);
  EXPECT_EQ(70000, record.numFramesEastWest);
}

void ExpectWholeFrame(const XCIBtoc& toc, int index) {
  const tagFrameFileIndexRecordRPF& record = *toc.GetFrameRecordAt(index);
  EXPECT_EQ(258, record.boundaryIndex);
  EXPECT_EQ(65535, record.frameRow);
  EXPECT_EQ(772, record.frameColumn);
  EXPECT_STREQ("RPFTOC01.ON2", record.fileName);
  EXPECT_STREQ("NGAA00", record.geographicLocation);
  EXPECT_STREQ("U", record.classification);
  EXPECT_STREQ("US", record.country);
  EXPECT_STREQ("RM", record.releaseMarking);
  const tagPathnameRecordRPF* path = toc.FindPathRecord(record.pathOffset);
  ASSERT_TRUE(path);
  EXPECT_EQ(record.pathOffset, path->pathOffset);
  EXPECT_EQ(6, path->pathLength);
  EXPECT_STREQ("./ONC/", path->path);
}

TocBuilder Whole() {
  TocBoundary boundary;
  boundary.rows = 3;
  boundary.columns = 70000;
  return TocBuilder().Boundary(boundary).Frame(258, 65535, 772, "./ONC/", "RPFTOC01.ON2");
}

TEST_F(Toc, EveryFieldIsReadInBothByteOrders) {
  for (const bool isLittle : {false, true}) {
    TocBuilder builder;
    if (isLittle) builder.LittleEndian();
    TocBoundary boundary;
    boundary.rows = 3;
    boundary.columns = 70000;
    builder.Boundary(boundary).Frame(258, 65535, 772, "./ONC/", "RPFTOC01.ON2");
    XCIBtoc toc;
    ASSERT_EQ(1, Load(toc, builder));
    ASSERT_EQ(1, toc.GetBoundaryRecSize());
    ExpectWholeBoundary(*toc.GetBoundaryRecAt(0));
    ASSERT_EQ(1, toc.GetFrameRecordSize());
    ExpectWholeFrame(toc, 0);
    EXPECT_EQ(1, toc.GetPathRecordSize());
    EXPECT_STREQ("./ONC/", toc.GetPathRecordAt(0)->path);
  }
}

TEST_F(Toc, SectionsBeyondTheHeadAreReadFromTheFile) {
  XCIBtoc toc;
  ASSERT_EQ(1, Load(toc, Whole().Gap(kBeyondHead)));
  ExpectWholeBoundary(*toc.GetBoundaryRecAt(0));
  ExpectWholeFrame(toc, 0);
}

TEST_F(Toc, ManyRecordsComeInRunsWithoutAGap) {
  TocBuilder builder;
  for (int i = 0; i < 801; ++i) {
    TocBoundary boundary;
    boundary.rows = i;
    builder.Boundary(boundary);
  }
  for (int i = 0; i < 1001; ++i) builder.Frame(i % 801, i, 2 * i, "./" + std::to_string(i % 7) + "/", "A.ON2");
  XCIBtoc toc;
  ASSERT_EQ(1, Load(toc, builder.FrameBytes(40).BeforeFrames(5)));
  ASSERT_EQ(801, toc.GetBoundaryRecSize());
  for (int i = 0; i < 801; ++i) ASSERT_EQ(i, toc.GetBoundaryRecAt(i)->numFramesNorthSouth);
  ASSERT_EQ(1001, toc.GetFrameRecordSize());
  EXPECT_EQ(7, toc.GetPathRecordSize());
  for (int i = 0; i < 1001; ++i) {
    ASSERT_EQ(2 * i, toc.GetFrameRecordAt(i)->frameColumn);
    ASSERT_EQ("./" + std::to_string(i % 7) + "/", toc.FindPathRecord(toc.GetFrameRecordAt(i)->pathOffset)->path);
  }
}

TEST_F(Toc, RecordsOutsideTheTablesAreNull) {
  XCIBtoc toc;
  ASSERT_EQ(1, Load(toc, OneFrame()));
  for (const int index : {-1, 1, 1 << 30}) {
    EXPECT_FALSE(toc.GetBoundaryRecAt(index));
    EXPECT_FALSE(toc.GetFrameRecordAt(index));
    EXPECT_FALSE(toc.GetPathRecordAt(index));
    EXPECT_FALSE(toc.GetColortableRecordAt(index));
  }
  EXPECT_FALSE(toc.FindPathRecord(1));
}

TEST_F(Toc, WithoutBoundariesThereIsNoTable) {
  XCIBtoc toc;
  EXPECT_EQ(0, Load(toc, TocBuilder().Frame(0, 0, 0, "./", "A.ON2")));
}

TEST_F(Toc, WithoutFramesThereMayBeOne) {
  XCIBtoc toc;
  EXPECT_EQ(1, Load(toc, TocBuilder().Boundary()));
  EXPECT_EQ(0, toc.GetFrameRecordSize());
  EXPECT_EQ(0, toc.GetPathRecordSize());
}

TEST_F(Toc, TheBoundaryTableMustHaveTheLengthOfItsRecords) {
  XCIBtoc toc;
  EXPECT_EQ(0, Load(toc, OneFrame().ClaimBoundaries(2)));
  EXPECT_EQ(0, Load(toc, OneFrame().ClaimBoundaryBytes(131)));
  EXPECT_EQ(0, Load(toc, OneFrame().ClaimBoundaryBytes(133)));
}

TEST_F(Toc, BoundaryRecordsLieSideBySideWhateverTheirClaimedLength) {
  XCIBtoc toc;
  ASSERT_EQ(1, Load(toc, TocBuilder().Boundary().Boundary().ClaimBoundaries(1).ClaimBoundaryBytes(264)));
  EXPECT_EQ(1, toc.GetBoundaryRecSize());
  TocBoundary second;
  second.rows = 77;
  ASSERT_EQ(1,
            Load(toc, TocBuilder().Boundary().Boundary(second).Boundary().ClaimBoundaries(2).ClaimBoundaryBytes(198)));
  EXPECT_EQ(77, toc.GetBoundaryRecAt(1)->numFramesNorthSouth);
}

TEST_F(Toc, BoundaryRecordsThatTheFileLacksFailTheLoad) {
  XCIBtoc toc;
  EXPECT_EQ(0, Load(toc, TocBuilder().Boundary().ClaimBoundaries(132).ClaimBoundaryBytes(1)));
}

TEST_F(Toc, ProductsHaveTheirCodes) {
  const std::pair<const char*, int> products[] = {{"CADRG", 3}, {"ADRG ", 1}, {" ADRG", 1}, {"ADRI ", 2},
                                                  {"CIB  ", 4}, {"  CIB", 4}, {"CDTED", 5}, {"DTED ", 6},
                                                  {"DTED1", 0}, {" DTED", 0}, {"cadrg", 0}, {"     ", 0}};
  for (const auto& [text, code] : products) EXPECT_EQ(code, ProductOf({text})) << text;
}

TEST_F(Toc, TheLastBoundaryDecidesOnTheProduct) {
  EXPECT_EQ(4, ProductOf({"CADRG", "CIB"}));
  EXPECT_EQ(0, ProductOf({"CADRG", "other"}));
}

TEST_F(Toc, EachOfTheFourSectionsMustBeThere) {
  XCIBtoc toc;
  for (const int id : {0x94, 0x95, 0x96, 0x97}) EXPECT_EQ(0, Load(toc, OneFrame().Without(id))) << id;
}

TEST_F(Toc, FrameRecordsThatCantHoldAFrameAreRefused) {
  XCIBtoc toc;
  EXPECT_EQ(0, Load(toc, OneFrame().ClaimFrameBytes(0).ClaimFrames(0x7FFFFFFF)));
  EXPECT_EQ(0, Load(toc, OneFrame().ClaimFrameBytes(32)));
}

TEST_F(Toc, FrameCountsThatTheFileCantHoldAreRefused) {
  XCIBtoc toc;
  EXPECT_EQ(0, Load(toc, OneFrame().ClaimFrames(2)));
  EXPECT_EQ(0, Load(toc, OneFrame().Gap(kBeyondHead).ClaimFrames(0x7FFFFFFF)));
  EXPECT_EQ(0, Load(toc, OneFrame().Gap(kBeyondHead).ClaimFrames(0xFFFFFFFF)));
}

TEST_F(Toc, TablesAboveTheLimitAreRefused) {
  const tagXLimits before = XfnGetLimits();
  tagXLimits low = before;
  low.tableBytes = 131;
  XfnSetLimits(low);
  XCIBtoc toc;
  EXPECT_EQ(0, Load(toc, OneFrame()));
  XfnSetLimits(before);
  EXPECT_EQ(1, Load(toc, OneFrame()));
}

TEST_F(Toc, SectionsOutsideTheFileFailTheLoad) {
  for (const std::uint32_t offset : {0x7FFFFFFFu, 0xFFFFFFFFu, 0x80000000u}) {
    for (const int id : {0x94, 0x96, 0x97}) {
      TocBuilder builder = OneFrame().Without(id);
      builder.Wrapper().ComponentAt(id, 8, offset);
      XCIBtoc toc;
      EXPECT_EQ(0, Load(toc, builder)) << id << " at " << offset;
    }
  }
}

TEST_F(Toc, PathsBeyondThePathRecordsAreDropped) {
  XCIBtoc toc;
  TocBuilder builder = TocBuilder().Boundary().Frame(0, 0, 0, "./A/", "1.ON2").Frame(0, 0, 1, "./B/", "2.ON2");
  ASSERT_EQ(1, Load(toc, builder.Frame(0, 0, 2, "./A/", "3.ON2").ClaimPaths(1)));
  EXPECT_EQ(1, toc.GetPathRecordSize());
  EXPECT_STREQ("./A/", toc.FindPathRecord(toc.GetFrameRecordAt(2)->pathOffset)->path);
  EXPECT_FALSE(toc.FindPathRecord(toc.GetFrameRecordAt(1)->pathOffset));
}

TEST_F(Toc, APathOffsetOfZeroUsesARecordThatIsLeftOver) {
  // The subsection begins with the length and the text of a path, and the frames come behind it.
  TocBuilder builder = TocBuilder().Boundary().FrameAt(0, "1.ON2").Frame(0, 0, 1, "./B/", "2.ON2").BeforeFrames(2);
  XCIBtoc toc;
  ASSERT_EQ(1, Load(toc, builder.ClaimPaths(2)));
  ASSERT_TRUE(toc.FindPathRecord(0));
  EXPECT_EQ(0, toc.FindPathRecord(0)->pathLength);
  ASSERT_EQ(1, Load(toc, builder.ClaimPaths(1)));
  EXPECT_FALSE(toc.FindPathRecord(0));
}

TEST_F(Toc, PathsOfMoreThan256CharactersAreCut) {
  XCIBtoc toc;
  const std::string longest(256, 'a');
  ASSERT_EQ(1, Load(toc, TocBuilder().Boundary().Frame(0, 0, 0, longest, "A.ON2")));
  EXPECT_EQ(256, toc.GetPathRecordAt(0)->pathLength);
  EXPECT_EQ(longest, toc.GetPathRecordAt(0)->path);
  ASSERT_EQ(1, Load(toc, TocBuilder().Boundary().Frame(0, 0, 0, longest + "b", "A.ON2")));
  EXPECT_EQ(256, toc.GetPathRecordAt(0)->pathLength);
  EXPECT_EQ(longest, toc.GetPathRecordAt(0)->path);
  ASSERT_EQ(1, Load(toc, TocBuilder().Boundary().Frame(0, 0, 0, std::string(65535, 'a'), "A.ON2")));
  EXPECT_EQ(longest, toc.GetPathRecordAt(0)->path);
}

TEST_F(Toc, APathThatIsCutShortOrOutsideFailsTheLoad) {
  XCIBtoc toc;
  std::vector<unsigned char> bytes = OneFrame().Build();
  bytes.pop_back();
  EXPECT_EQ(0, Load(toc, bytes));
  EXPECT_EQ(0, Load(toc, TocBuilder().Boundary().FrameAt(0x7FFFFFFF, "A.ON2").ClaimPaths(1)));
  EXPECT_EQ(0, Load(toc, TocBuilder().Boundary().FrameAt(0xFFFF0000, "A.ON2").ClaimPaths(1)));
}

TEST_F(Toc, EveryCutFailsTheLoad) {
  const std::vector<unsigned char> bytes = OneFrame().Build();
  XCIBtoc toc;
  for (std::size_t size = 0; size < bytes.size(); size += TrialStep()) {
    ASSERT_EQ(0, Load(toc, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)})) << size;
  }
  EXPECT_EQ(1, Load(toc, bytes));
}

TEST_F(Toc, DamagedTablesLoadOrFailAndNeverLeadOutOfTheirFolder) {
  const std::vector<unsigned char> bytes = OneFrame().Frame(0, 0, 1, "./../", "B.ON2").Colortable("colour").Build();
  std::minstd_rand random(6);
  int numLoaded = 0;
  const int count = TrialCount(2000);
  for (int i = 0; i < count; ++i) {
    std::vector<unsigned char> damaged = bytes;
    damaged[350 + random() % (bytes.size() - 350)] ^= static_cast<unsigned char>(1 + random() % 255);
    OpenToc toc;
    if (!Load(toc, damaged)) continue;
    ++numLoaded;
    toc.ReadColortableIndexSection(nullptr, damaged.data(), static_cast<int>(damaged.size()));
    for (int frame = 0; frame < toc.GetFrameRecordSize(); ++frame) {
      toc.GetFrameFilename(frame);
      const std::string path = toc.GetFramePath(frame).AsStdString();
      ASSERT_TRUE(path.empty() || path.starts_with(folder_.Path() + "/")) << path;
      ASSERT_EQ(std::string::npos, path.find("/../")) << path;
    }
  }
  EXPECT_GT(numLoaded, count / 4);
  EXPECT_LT(numLoaded, count - count / 200);
}

TEST_F(Toc, WithoutTheMagicOfNitfNothingIsRead) {
  std::vector<unsigned char> bytes = OneFrame().Build();
  bytes[3] = 'X';
  XCIBtoc toc;
  EXPECT_EQ(0, Load(toc, bytes));
  EXPECT_EQ(0, toc.LoadFile(folder_.Path("none.toc")));
}

TEST_F(Toc, AFailedLoadLeavesNothingOfTheOneBefore) {
  XCIBtoc toc;
  ASSERT_EQ(1, Load(toc, OneFrame()));
  EXPECT_EQ(0, Load(toc, OneFrame().ClaimFrames(9)));
  EXPECT_EQ(0, toc.GetBoundaryRecSize());
  EXPECT_EQ(0, toc.GetFrameRecordSize());
  EXPECT_EQ(0, toc.GetPathRecordSize());
  EXPECT_EQ(0, toc.GetProductDataType());
  EXPECT_TRUE(toc.GetFilePath().IsEmpty());
  EXPECT_TRUE(toc.GetFrameFilename(0).IsEmpty());
}

TEST_F(Toc, CleaningUpFreesAllRecords) {
  XCIBtoc toc;
  ASSERT_EQ(1, Load(toc, OneFrame()));
  toc.CleanUp();
  EXPECT_EQ(0, toc.GetBoundaryRecSize());
  EXPECT_EQ(0, toc.GetFrameRecordSize());
  EXPECT_EQ(0, toc.GetPathRecordSize());
  EXPECT_FALSE(toc.GetBoundaryRecAt(0));
  EXPECT_TRUE(toc.GetFramePath(0).IsEmpty());
}

TEST_F(Toc, AShortFileIsOpenedOnceAndALongOneTwice) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  XCIBtoc toc;
  ASSERT_EQ(1, Load(toc, OneFrame()));
  EXPECT_EQ(1, disk.GetOpenCount());
  ASSERT_EQ(1, Load(toc, OneFrame().Gap(kBeyondHead)));
  EXPECT_EQ(3, disk.GetOpenCount());
}

TEST_F(Toc, ALongFileThatCantBeOpenedAgainFailsTheLoad) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailOpen(2);
  XCIBtoc toc;
  EXPECT_EQ(0, Load(toc, OneFrame().Gap(kBeyondHead)));
}

TEST_F(Toc, EveryReadThatFailsFailsTheLoad) {
  folder_.Write("A.TOC", OneFrame().Gap(kBeyondHead).Build());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  XCIBtoc toc;
  ASSERT_EQ(1, toc.LoadFile(folder_.Path("A.TOC")));
  const int numReads = disk.GetReadCount();
  ASSERT_GE(numReads, 6);
  for (int i = 1; i <= numReads; ++i) {
    disk.FailRead(disk.GetReadCount() + i);
    EXPECT_EQ(0, toc.LoadFile(folder_.Path("A.TOC"))) << i;
  }
}

TEST_F(Toc, ColourTablesAreReadOnRequestOnly) {
  const std::string rest = "0123456789012345678901234567890123456789012345678X";
  const std::string path = folder_.Path("A.TOC");
  folder_.Write("A.TOC", OneFrame().Colortable("COLOUR000001" + rest).Colortable("second").Build());
  OpenToc toc;
  ASSERT_EQ(1, toc.LoadFile(path));
  EXPECT_EQ(0, toc.GetColortableRecordSize());
  XFile file;
  ASSERT_EQ(1, file.Open(path, XFile::kRead));
  ASSERT_EQ(1, toc.ReadColortableIndexSection(&file, nullptr, 0));
  ASSERT_EQ(2, toc.GetColortableRecordSize());
  EXPECT_STREQ("COLOUR000001", toc.GetColortableRecordAt(0)->text);
  EXPECT_EQ(0, std::memcmp(rest.data(), toc.GetColortableRecordAt(0)->rest, 50));
  EXPECT_STREQ("second      ", toc.GetColortableRecordAt(1)->text);
  const std::vector<unsigned char> bytes = ReadBytes(path);
  EXPECT_EQ(1, toc.ReadColortableIndexSection(nullptr, bytes.data(), static_cast<int>(bytes.size())));
  EXPECT_EQ(0, toc.ReadColortableIndexSection(nullptr, bytes.data(), static_cast<int>(bytes.size()) - 1));
}

TEST_F(Toc, SectionsCantBeReadFromNothing) {
  folder_.Write("A.TOC", OneFrame().Build());
  OpenToc toc;
  EXPECT_EQ(0, toc.ReadColortableIndexSection(nullptr, nullptr, 0));
  ASSERT_EQ(1, toc.LoadFile(folder_.Path("A.TOC")));
  EXPECT_EQ(0, toc.ReadColortableIndexSection(nullptr, nullptr, 0));
  EXPECT_EQ(0, toc.ReadBoundaryRectangleSection(nullptr, nullptr, 0));
  EXPECT_EQ(0, toc.ReadFrameFileIndexSection(nullptr, nullptr, 0));
}

}  // namespace
