#include "XFile.h"

#include "FaultyDisk.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

/// The folder comes first, since the path is made of it.
class XFiles : public testing::Test {
 protected:
  TempFolder folder_;
  std::string path_ = folder_.Path("a.bin");
};

TEST_F(XFiles, WritesAndReadsBackAtTheFilePosition) {
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kCreate | XFile::kReadWrite)) << file.GetLastErrorText().GetText();
  EXPECT_EQ(1, file.Write("hello", 5));
  EXPECT_EQ(5, file.GetPosition());
  EXPECT_EQ(5, file.GetLength());
  file.SeekToBegin();
  char buffer[8] = {};
  EXPECT_EQ(5, file.Read(buffer, 8));
  EXPECT_STREQ("hello", buffer);
  EXPECT_EQ(0, file.Read(buffer, 8));
}

TEST_F(XFiles, ReadAtAndWriteAtLeaveThePositionAlone) {
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kCreate | XFile::kReadWrite));
  ASSERT_EQ(1, file.Write("hello", 5));
  EXPECT_EQ(1, file.WriteAt(1, "E", 1));
  char buffer[3] = {};
  EXPECT_EQ(2, file.ReadAt(1, buffer, 2));
  EXPECT_STREQ("El", buffer);
  EXPECT_EQ(5, file.GetPosition());
}

TEST_F(XFiles, SeeksFromAllOriginsButNotBeforeTheBeginning) {
  folder_.Write("a.bin", "0123456789");
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kRead));
  EXPECT_EQ(4, file.Seek(4, XFile::kBegin));
  EXPECT_EQ(6, file.Seek(2, XFile::kCurrent));
  EXPECT_EQ(9, file.Seek(-1, XFile::kEnd));
  EXPECT_EQ(-1, file.Seek(-11, XFile::kEnd));
  EXPECT_EQ(9, file.GetPosition());
  EXPECT_EQ(10, file.SeekToEnd());
}

TEST_F(XFiles, OpeningForReadingDoesNotWrite) {
  folder_.Write("a.bin", "x");
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kRead | XFile::kShareDenyNone));
  EXPECT_EQ(0, file.Write("y", 1));
  EXPECT_EQ(0, file.SetLength(0));
}

TEST_F(XFiles, CreatingEmptiesWhatWasThere) {
  folder_.Write("a.bin", "old");
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kCreate | XFile::kReadWrite));
  EXPECT_EQ(0, file.GetLength());
}

TEST_F(XFiles, ChangesItsLength) {
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kCreate | XFile::kReadWrite));
  EXPECT_EQ(1, file.SetLength(100));
  EXPECT_EQ(100, file.GetLength());
  EXPECT_EQ(1, file.Preallocate(4096));
  EXPECT_EQ(4096, file.GetLength());
  EXPECT_EQ(1, file.Flush());
  EXPECT_EQ(1, file.SetLength(1));
  EXPECT_EQ(std::vector<unsigned char>{0}, ReadBytes(path_));
  EXPECT_EQ(0, file.SetLength(-1));
  EXPECT_EQ(0, file.Preallocate(-1));
  EXPECT_EQ(1, file.GetLength());
}

TEST_F(XFiles, AnOpenThatFailsTellsTheReasonAndStaysClosed) {
  XFile file;
  EXPECT_EQ(0, file.Open(folder_.Path("none"), XFile::kRead));
  EXPECT_STREQ(std::strerror(ENOENT), file.GetLastErrorText());
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(-1, file.GetLength());
  char byte;
  EXPECT_EQ(0, file.Read(&byte, 1));
  EXPECT_EQ(0, file.Write(&byte, 1));
}

TEST_F(XFiles, AnOpenClosesWhatWasOpenEvenWhereItFails) {
  folder_.Write("a.bin", "first");
  folder_.Write("b.bin", "second");
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kRead));
  file.SeekToEnd();
  ASSERT_EQ(1, file.Open(folder_.Path("b.bin"), XFile::kRead));
  EXPECT_EQ(6, file.GetLength());
  EXPECT_EQ(0, file.GetPosition());
  EXPECT_EQ(0, file.Open(folder_.Path("none"), XFile::kRead));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_TRUE(file.GetFilePath().IsEmpty());
  ASSERT_EQ(1, file.Open(path_, XFile::kRead));
  EXPECT_TRUE(file.GetLastErrorText().IsEmpty());
}

TEST_F(XFiles, AClosedFileAnswersEverythingWithFailure) {
  XFile file;
  char byte = 'q';
  EXPECT_EQ(0, file.ReadAt(0, &byte, 1));
  EXPECT_EQ(0, file.WriteAt(0, &byte, 1));
  EXPECT_EQ(0, file.SetLength(1));
  EXPECT_EQ(0, file.Preallocate(1));
  EXPECT_EQ(0, file.Flush());
  EXPECT_EQ(-1, file.SeekToEnd());
  EXPECT_EQ(nullptr, file.GetDiskFile());
}

TEST_F(XFiles, TheFileBehindItStaysOpenForWhoeverSharesIt) {
  folder_.Write("a.bin", "x");
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kRead));
  const std::shared_ptr<zrk::DiskFile> shared = file.GetDiskFile();
  file.Close();
  ASSERT_NE(nullptr, shared);
  EXPECT_EQ(1, shared->Size());
}

TEST_F(XFiles, SeeksPastTheEndAndLeavesZerosBetween) {
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kCreate | XFile::kReadWrite));
  EXPECT_EQ(3, file.Seek(3, XFile::kEnd));
  char byte = 'q';
  EXPECT_EQ(0, file.Read(&byte, 1));
  EXPECT_EQ(1, file.Write("a", 1));
  EXPECT_EQ((std::vector<unsigned char>{0, 0, 0, 'a'}), ReadBytes(path_));
}

TEST_F(XFiles, SeeksThatOverflowStay) {
  folder_.Write("a.bin", "0123456789");
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kRead));
  EXPECT_EQ(2, file.Seek(2, XFile::kBegin));
  EXPECT_EQ(-1, file.Seek(INT64_MAX, XFile::kCurrent));
  EXPECT_EQ(-1, file.Seek(INT64_MIN, XFile::kEnd));
  EXPECT_EQ(-1, file.Seek(-1, XFile::kBegin));
  EXPECT_EQ(2, file.GetPosition());
}

TEST_F(XFiles, OpeningForWritingDoesNotRead) {
  folder_.Write("a.bin", "abc");
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kWrite));
  char byte = 'q';
  EXPECT_EQ(0, file.Read(&byte, 1));
  EXPECT_EQ('q', byte);
  EXPECT_EQ(1, file.Write("X", 1));
  EXPECT_EQ((std::vector<unsigned char>{'X', 'b', 'c'}), ReadBytes(path_));
}

TEST_F(XFiles, WritingWithoutCreatingNeedsTheFile) {
  XFile file;
  EXPECT_EQ(0, file.Open(path_, XFile::kWrite));
  EXPECT_EQ(0, file.Open(path_, XFile::kReadWrite));
  EXPECT_FALSE(XFile::Exists(path_));
}

TEST_F(XFiles, RefusesFlagsThatMakeNoSense) {
  folder_.Write("a.bin", "x");
  XFile file;
  EXPECT_EQ(0, file.Open(path_, 3));
  EXPECT_EQ(0, file.Open(path_, XFile::kCreate | XFile::kRead));
  EXPECT_EQ(0, file.Open(path_, XFile::kShareExclusive | XFile::kShareDenyNone));
  for (const unsigned flags : {0x8000u, 0x30u, 0x50u, 0x60u, 0x70u, 0x80u, 0x100u, 0x4u, 0x8u, ~0u}) {
    EXPECT_EQ(0, file.Open(path_, flags)) << flags;
    EXPECT_FALSE(file.GetLastErrorText().IsEmpty()) << flags;
  }
  EXPECT_EQ(1u, ReadBytes(path_).size());
}

TEST_F(XFiles, OpensRegularFilesOnly) {
  XFile file;
  EXPECT_EQ(0, file.Open(folder_.Path(), XFile::kRead));
  ASSERT_EQ(0, mkfifo(path_.c_str(), 0600));
  EXPECT_EQ(0, file.Open(path_, XFile::kRead));
  EXPECT_EQ(0, file.Open("/dev/zero", XFile::kRead));
}

TEST_F(XFiles, AnExclusiveOpenKeepsOthersWithLocksOut) {
  folder_.Write("a.bin", "x");
  XFile first, second;
  ASSERT_EQ(1, first.Open(path_, XFile::kReadWrite | XFile::kShareExclusive));
  EXPECT_EQ(0, second.Open(path_, XFile::kReadWrite | XFile::kShareExclusive));
  EXPECT_EQ(0, second.Open(path_, XFile::kReadWrite | XFile::kShareDenyWrite));
  EXPECT_EQ(1, second.Open(path_, XFile::kRead | XFile::kShareDenyWrite)) << "a reader does no harm";
  EXPECT_EQ(1, second.Open(path_, XFile::kRead | XFile::kShareDenyNone));
  first.Close();
  EXPECT_EQ(1, second.Open(path_, XFile::kReadWrite | XFile::kShareExclusive));
}

TEST_F(XFiles, ReadersThatDenyWritersShareTheFile) {
  folder_.Write("a.bin", "x");
  XFile first, second, writer;
  ASSERT_EQ(1, first.Open(path_, XFile::kRead | XFile::kShareDenyWrite));
  EXPECT_EQ(1, second.Open(path_, XFile::kRead | XFile::kShareDenyWrite));
  EXPECT_EQ(0, writer.Open(path_, XFile::kReadWrite | XFile::kShareDenyWrite));
}

TEST_F(XFiles, ACreateThatIsLockedOutDoesNotEmptyTheFile) {
  folder_.Write("a.bin", "precious");
  XFile first, second;
  ASSERT_EQ(1, first.Open(path_, XFile::kRead | XFile::kShareDenyWrite));
  EXPECT_EQ(0, second.Open(path_, XFile::kCreate | XFile::kReadWrite | XFile::kShareExclusive));
  EXPECT_EQ(8, first.GetLength());
}

TEST_F(XFiles, RenamingReplacesTheTarget) {
  folder_.Write("a.bin", "new");
  folder_.Write("b.bin", "old");
  EXPECT_EQ(1, XFile::Rename(path_, folder_.Path("b.bin")));
  EXPECT_FALSE(XFile::Exists(path_));
  EXPECT_EQ(3u, ReadBytes(folder_.Path("b.bin")).size());
  EXPECT_EQ(1, XFile::Remove(folder_.Path("b.bin")));
  EXPECT_EQ(0, XFile::Remove(folder_.Path("b.bin")));
  EXPECT_EQ(0, XFile::Rename(path_, folder_.Path("b.bin")));
}

TEST_F(XFiles, NamesItsParts) {
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kCreate | XFile::kWrite));
  EXPECT_EQ(path_, file.GetFilePath().AsStdString());
  EXPECT_EQ("a.bin", file.GetFileName().AsStdString());
  EXPECT_EQ("a", file.GetFileTitle().AsStdString());
  file.Close();
  EXPECT_EQ("", file.GetFilePath().AsStdString());
}

TEST_F(XFiles, AReadThatFallsShortMovesByWhatItGot) {
  folder_.Write("a.bin", "0123456789");
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kRead));
  char bytes[4] = {};
  disk.FailRead(1, 3);
  EXPECT_EQ(1, file.Read(bytes, 4));
  EXPECT_EQ(1, file.GetPosition());
  disk.FailRead(2);
  EXPECT_EQ(0, file.Read(bytes, 4));
  EXPECT_EQ(1, file.GetPosition());
  EXPECT_EQ(4, file.Read(bytes, 4));
  EXPECT_EQ("1234", std::string(bytes, 4));
}

TEST_F(XFiles, AFullDiskIsFoundWhereTheLengthIsSet) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kCreate | XFile::kReadWrite));
  disk.FailSetSize(1);
  EXPECT_EQ(0, file.SetLength(100));
  EXPECT_EQ(0, file.GetLength());
  EXPECT_EQ(1, file.SetLength(100));
}

TEST_F(XFiles, AnOpenThatTheDiskRefusesSaysWhy) {
  folder_.Write("a.bin", "x");
  FaultyDisk disk;
  disk.FailOpen(1, EACCES);
  const zrk::ScopedDisk scope(disk);
  XFile file;
  EXPECT_EQ(0, file.Open(path_, XFile::kRead));
  EXPECT_STREQ("Permission denied", file.GetLastErrorText());
}

TEST_F(XFiles, FaultsOfTheDiskAreFailuresOfTheCall) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  XFile file;
  disk.FailOpen(1);
  EXPECT_EQ(0, file.Open(path_, XFile::kCreate | XFile::kReadWrite));
  ASSERT_EQ(1, file.Open(path_, XFile::kCreate | XFile::kReadWrite));
  disk.FailWrite(2);
  EXPECT_EQ(1, file.Write("abcd", 4));
  EXPECT_EQ(0, file.Write("efgh", 4));
  EXPECT_EQ(4, file.GetPosition());
  char buffer[4];
  disk.FailRead(1);
  EXPECT_EQ(0, file.ReadAt(0, buffer, 4));
  disk.FailRead(2, 3);
  EXPECT_EQ(1, file.ReadAt(0, buffer, 4));
  disk.FailSync(1);
  EXPECT_EQ(0, file.Flush());
  disk.FailSetSize(1);
  EXPECT_EQ(0, file.Preallocate(100));
  disk.FailRename(1);
  EXPECT_EQ(0, XFile::Rename(path_, folder_.Path("b")));
}

using XFilesThreads = XFiles;

TEST_F(XFilesThreads, ManyReadOneFileAtPlacesOfTheirOwn) {
  std::vector<unsigned char> bytes(8 * 4096);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i / 4096);
  folder_.Write("a.bin", bytes);
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kRead));
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      std::vector<unsigned char> page(4096);
      const std::vector<unsigned char> wanted(4096, static_cast<unsigned char>(t));
      for (int i = 0; i < 100; ++i) {
        if (file.ReadAt(t * 4096, page.data(), 4096) != 4096 || page != wanted) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
  EXPECT_EQ(0, file.GetPosition());
}

TEST_F(XFiles, ImpossibleRangesTouchNothing) {
  folder_.Write("a.bin", "x");
  XFile file;
  ASSERT_EQ(1, file.Open(path_, XFile::kReadWrite));
  char byte = 'q';
  EXPECT_EQ(0, file.ReadAt(-1, &byte, 1));
  EXPECT_EQ(0, file.ReadAt(0, &byte, -1));
  EXPECT_EQ(0, file.ReadAt(INT64_MAX - 1, &byte, 1));
  EXPECT_EQ(0, file.WriteAt(-1, &byte, 1));
  EXPECT_EQ('q', byte);
}

}  // namespace
