// GDAL's view of our disk: reads, seeks, names and what it refuses. The answers expected are those that GDAL asks of a
// file system of its own, and the bytes are those that the test wrote.

#include "geo/GdalDisk.h"

#include "FaultyDisk.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

#include <cpl_vsi.h>
#include <sys/stat.h>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <vector>

namespace {

struct Close {
  void operator()(VSILFILE* file) const { VSIFCloseL(file); }
};
using File = std::unique_ptr<VSILFILE, Close>;

class GdalDisk : public testing::Test {
 protected:
  void SetUp() override { folder_.Write("a.txt", "0123456789"); }
  File Open(const char* access = "rb") { return File(VSIFOpenL(Name("a.txt").GetText(), access)); }
  XString Name(const char* file) const { return zrk::PathForGdal(folder_.Path(file)); }

  TempFolder folder_;
};

TEST_F(GdalDisk, ReadsAFile) {
  const File file = Open();
  ASSERT_TRUE(file);
  char text[5] = {};
  EXPECT_EQ(4u, VSIFReadL(text, 1, 4, file.get()));
  EXPECT_STREQ("0123", text);
  EXPECT_EQ(4u, VSIFTellL(file.get()));
  EXPECT_FALSE(VSIFEofL(file.get()));
}

TEST_F(GdalDisk, TellsReadsThatWereCutAndThoseThatFailed) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  const File file = Open();
  char text[12] = {};
  {
    const zrk::WatchedReads reads;
    VSIFReadL(text, 1, 4, file.get());
    EXPECT_FALSE(reads.WereCut());
    VSIFReadL(text, 1, 12, file.get());
    EXPECT_TRUE(reads.WereCut());
    EXPECT_FALSE(reads.HaveFailed());
  }
  for (const int shortBy : {0, 1}) {
    const zrk::WatchedReads reads;
    VSIFSeekL(file.get(), 0, SEEK_SET);
    disk.FailRead(disk.GetReadCount() + 1, shortBy);
    VSIFReadL(text, 1, 4, file.get());
    EXPECT_TRUE(reads.WereCut());
    EXPECT_TRUE(reads.HaveFailed());
  }
}

/// A file of bytes that tell their offsets, read through a disk that counts.
class GdalDiskAhead : public GdalDisk {
 protected:
  static constexpr int kNumBytes = 10000;
  static unsigned char ByteOf(std::int64_t offset) { return static_cast<unsigned char>(offset * 7 ^ offset >> 8); }
  void SetUp() override {
    std::vector<unsigned char> bytes;
    for (int i = 0; i < kNumBytes; ++i) bytes.push_back(ByteOf(i));
    folder_.Write("a.txt", bytes);
    scope_.emplace(disk_);
    file_ = Open();
  }
  void TearDown() override { file_.reset(); }
  /// How many bytes a read gives, all of which are those of the file.
  int Read(std::int64_t offset, int count) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(count));
    VSIFSeekL(file_.get(), static_cast<vsi_l_offset>(offset), SEEK_SET);
    const auto got = static_cast<int>(VSIFReadL(bytes.data(), 1, bytes.size(), file_.get()));
    for (int i = 0; i < got; ++i) EXPECT_EQ(ByteOf(offset + i), bytes[static_cast<std::size_t>(i)]) << offset + i;
    EXPECT_EQ(static_cast<vsi_l_offset>(offset + got), VSIFTellL(file_.get()));
    EXPECT_EQ(got < count, VSIFEofL(file_.get()) != 0);
    return got;
  }

  FaultyDisk disk_;
  std::optional<zrk::ScopedDisk> scope_;
  File file_;
};

TEST_F(GdalDiskAhead, GivesSmallReadsOfWhatOneOfTheDiskBrought) {
  {
    const zrk::SmallReadsAhead ahead;
    for (int i = 0; i < kNumBytes; ++i) ASSERT_EQ(1, Read(i, 1));
    EXPECT_EQ(3, disk_.GetReadCount()) << "4096 bytes each";
  }
  for (int i = 0; i < 100; ++i) ASSERT_EQ(1, Read(i, 1));
  EXPECT_EQ(103, disk_.GetReadCount()) << "nothing is kept without being told";
}

TEST_F(GdalDiskAhead, GivesTheBytesOfTheFileWhateverTheOrder) {
  const zrk::SmallReadsAhead ahead;
  std::minstd_rand random(1);
  for (int i = 0; i < 5000; ++i) {
    const int offset = static_cast<int>(random() % (kNumBytes + 100)), count = 1 + static_cast<int>(random() % 1500);
    ASSERT_EQ(std::clamp(kNumBytes - offset, 0, count), Read(offset, count)) << offset << " " << count;
  }
}

TEST_F(GdalDiskAhead, LeavesLargeReadsAsTheyAre) {
  const zrk::SmallReadsAhead ahead;
  EXPECT_EQ(2000, Read(100, 2000));
  EXPECT_EQ(1, disk_.GetReadCount());
  EXPECT_EQ(2000, disk_.GetBytesRead());
}

TEST_F(GdalDiskAhead, TellsThatTheDiskHasFailedAndAsksItAgain) {
  for (const int shortBy : {0, 1, 4096}) {
    const zrk::SmallReadsAhead ahead;
    const zrk::WatchedReads reads;
    const int before = disk_.GetReadCount(), offset = 5000 - shortBy;
    disk_.FailRead(before + 1, shortBy, 2);
    EXPECT_GT(4, Read(offset, 4));
    EXPECT_TRUE(reads.WereCut());
    EXPECT_TRUE(reads.HaveFailed());
    EXPECT_EQ(4, Read(offset, 4));
    EXPECT_EQ(before + 3, disk_.GetReadCount());
    file_ = Open();
  }
}

TEST_F(GdalDiskAhead, GivesBytesThatAreSoundWhereThoseAroundThemAreNot) {
  for (const int shortBy : {0, 1}) {
    const zrk::SmallReadsAhead ahead;
    const zrk::WatchedReads reads;
    const int before = disk_.GetReadCount();
    disk_.FailRead(before + 1, shortBy);
    EXPECT_EQ(4, Read(5000, 4));
    EXPECT_FALSE(reads.WereCut());
    EXPECT_EQ(before + 2, disk_.GetReadCount());
    file_ = Open();
  }
}

TEST_F(GdalDiskAhead, AReadAtTheEndOfTheFileIsCutAndHasNotFailed) {
  const zrk::SmallReadsAhead ahead;
  EXPECT_EQ(4, Read(kNumBytes - 4, 4));
  const zrk::WatchedReads reads;
  EXPECT_EQ(4, Read(kNumBytes - 4, 5));
  EXPECT_TRUE(reads.WereCut());
  EXPECT_FALSE(reads.HaveFailed());
}

TEST_F(GdalDiskAhead, OfAFileThatShrankGivesWhatWasReadBeforeAndNoMore) {
  {
    const zrk::SmallReadsAhead ahead;
    EXPECT_EQ(4, Read(0, 4));
    std::filesystem::resize_file(folder_.Path("a.txt"), 100);
    EXPECT_EQ(4, Read(200, 4));
    const zrk::WatchedReads reads;
    EXPECT_EQ(0, Read(5000, 4));
    EXPECT_TRUE(reads.WereCut());
  }
  EXPECT_EQ(0, Read(200, 4));
}

TEST_F(GdalDisk, KeepsToAFolderWhileItIsTold) {
  std::filesystem::create_directories(folder_.Path("in/deeper"));
  folder_.Write("in/b.txt", "b");
  folder_.Write("in/deeper/c.txt", "c");
  const auto isOpened = [&](const char* name) { return File(VSIFOpenL(Name(name).GetText(), "rb")) != nullptr; };
  {
    const zrk::KeptToFolder kept(folder_.Path("in/image"));
    EXPECT_TRUE(isOpened("in/b.txt"));
    EXPECT_TRUE(isOpened("in/deeper/c.txt"));
    EXPECT_FALSE(isOpened("a.txt"));
    EXPECT_FALSE(isOpened("in/../a.txt"));
    EXPECT_FALSE(isOpened("in/deeper/../b.txt"));
    EXPECT_FALSE(isOpened("in//etc/hostname"));
  }
  EXPECT_TRUE(isOpened("in/../a.txt"));
}

TEST_F(GdalDisk, OpensAFileOnceWhileItIsKeptToAFolder) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  char text[5] = {};
  {
    const zrk::KeptToFolder kept(folder_.Path("image"));
    const File first = Open(), second = Open();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(1, disk.GetOpenCount());
    VSIFReadL(text, 1, 4, first.get());
    VSIFReadL(text, 1, 2, second.get());
    EXPECT_STREQ("0123", text) << "each handle has an offset of its own";
  }
  EXPECT_TRUE(Open());
  EXPECT_EQ(2, disk.GetOpenCount());
}

TEST_F(GdalDisk, AnswersWholeItemsAtTheEnd) {
  const File file = Open();
  char text[12] = {};
  EXPECT_EQ(2u, VSIFReadL(text, 4, 3, file.get()));
  EXPECT_STREQ("0123456789", text);
  EXPECT_TRUE(VSIFEofL(file.get()));
  EXPECT_EQ(0, VSIFSeekL(file.get(), 0, SEEK_SET));
  EXPECT_FALSE(VSIFEofL(file.get()));
}

TEST_F(GdalDisk, SeeksFromAllOriginsAndNowhereElse) {
  const File file = Open();
  EXPECT_EQ(0, VSIFSeekL(file.get(), 0, SEEK_END));
  EXPECT_EQ(10u, VSIFTellL(file.get()));
  EXPECT_EQ(0, VSIFSeekL(file.get(), 3, SEEK_SET));
  EXPECT_EQ(0, VSIFSeekL(file.get(), 2, SEEK_CUR));
  EXPECT_EQ(5u, VSIFTellL(file.get()));
  EXPECT_EQ(-1, VSIFSeekL(file.get(), std::numeric_limits<vsi_l_offset>::max(), SEEK_SET));
  EXPECT_EQ(-1, VSIFSeekL(file.get(), std::numeric_limits<std::int64_t>::max(), SEEK_CUR));
  EXPECT_EQ(5u, VSIFTellL(file.get()));
}

TEST_F(GdalDisk, RefusesRequestsBeyondAllSizes) {
  const File file = Open();
  char text[1];
  EXPECT_EQ(0u, VSIFReadL(text, std::numeric_limits<std::size_t>::max() / 2, 4, file.get()));
  EXPECT_EQ(0u, VSIFReadL(text, 0, 4, file.get()));
}

TEST_F(GdalDisk, OpensNothingForWriting) {
  EXPECT_FALSE(Open("r+b"));
  EXPECT_FALSE(Open("wb"));
  EXPECT_FALSE(Open("ab"));
  EXPECT_EQ(10u, ReadBytes(folder_.Path("a.txt")).size());
}

TEST_F(GdalDisk, KnowsRegularFilesOnly) {
  VSIStatBufL stat;
  ASSERT_EQ(0, VSIStatL(Name("a.txt").GetText(), &stat));
  EXPECT_EQ(10, stat.st_size);
  EXPECT_TRUE(VSI_ISREG(stat.st_mode));
  EXPECT_EQ(-1, VSIStatL(Name("none.txt").GetText(), &stat));
  EXPECT_EQ(-1, VSIStatL(Name(".").GetText(), &stat));
  ASSERT_EQ(0, ::mkfifo(folder_.Path("pipe").c_str(), 0600));
  EXPECT_EQ(-1, VSIStatL(Name("pipe").GetText(), &stat));
  EXPECT_EQ(nullptr, VSIFOpenL(Name("pipe").GetText(), "rb"));
}

TEST_F(GdalDisk, ListsNoFolder) {
  EXPECT_EQ(nullptr, VSIReadDir(Name(".").GetText()));
}

TEST_F(GdalDisk, GoesThroughTheDiskInPlace) {
  FaultyDisk disk;
  const zrk::ScopedDisk inPlace(disk);
  const File file = Open();
  ASSERT_TRUE(file);
  EXPECT_EQ(1, disk.GetOpenCount());
  disk.FailRead(1);
  char text[4];
  EXPECT_EQ(0u, VSIFReadL(text, 1, 4, file.get()));
  EXPECT_TRUE(VSIFEofL(file.get()));
}

TEST_F(GdalDisk, TellsAbsoluteFromRelativePaths) {
  VSIStatBufL stat;
  const std::string relative = std::filesystem::relative(folder_.Path("a.txt")).string();
  EXPECT_EQ(0, VSIStatL(zrk::PathForGdal(relative).GetText(), &stat));
  EXPECT_EQ(-1, VSIStatL(zrk::PathForGdal(folder_.Path("a.txt").substr(1)).GetText(), &stat));
  EXPECT_EQ(-1, VSIStatL("/vsizrkio/a.txt", &stat));
}

TEST_F(GdalDisk, TurnsItsNamesBackIntoPaths) {
  for (const char* path : {"/a/b.shp", "a/b.shp", "b.shp", "../b.shp"}) {
    const XString sentence = "Unable to open " + zrk::PathForGdal(path) + " or " + zrk::PathForGdal(path) + ".";
    EXPECT_EQ(std::string("Unable to open ") + path + " or " + path + ".",
              zrk::WithPathsOfDisk(sentence).AsStdString());
  }
}

}  // namespace
