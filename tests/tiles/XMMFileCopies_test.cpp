// Copies of the file behind the tile stores, and threads that read one.

#include "MappedFileTest.h"

#include "base/Disk.h"
#include "FaultyDisk.h"

#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace {

using XMMFileCopies = MappedFileTest;
using XMMFileThreads = MappedFileTest;

}  // namespace

TEST_F(XMMFileCopies, ShareTheFileAndHaveAPositionEach) {
  WriteRamp(100);
  ::XMMFile file;
  ASSERT_TRUE(file.Open(Path().c_str(), 2));
  ASSERT_TRUE(file.Seek(40, 0));
  ::XMMFile copy = file;
  EXPECT_EQ(40u, copy.GetPosition());
  EXPECT_EQ(100u, copy.GetLength());
  ASSERT_TRUE(copy.Write("ab", 2, false));
  EXPECT_EQ(40u, file.GetPosition());
  EXPECT_EQ((Bytes{'a', 'b'}), Read(file, 2, 2));
}

TEST_F(XMMFileCopies, AreClosedByThemselves) {
  WriteRamp(100);
  ::XMMFile file, copy;
  ASSERT_TRUE(file.Open(Path().c_str(), 0));
  copy = file;
  file.Close();
  EXPECT_EQ(Ramp(100), Read(copy, 100, 100));
  const ::XMMFile& same = copy;
  copy = same;
  copy.Close();
  copy.Close();
  EXPECT_FALSE(copy.IsOpen());
}

TEST_F(XMMFileCopies, ThatCannotGrowLeaveWhatAnotherHasAdded) {
  WriteRamp(100);
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  ::XMMFile file;
  ASSERT_TRUE(file.Open(Path().c_str(), 2));
  ::XMMFile copy = file;
  Read(file, 100, 100);
  const Bytes added(200000, 7);
  ASSERT_TRUE(file.Write(added.data(), 200000, false));
  disk.FailSetSize(2);  // the first call was the growth above
  EXPECT_FALSE(copy.Write(Bytes(300000, 1).data(), 300000, false));
  EXPECT_EQ("Failed to set end of file.", SentenceOf(copy));
  EXPECT_EQ(added, Part(ReadBytes(Path()), 100, 200000));
}

TEST_F(XMMFileCopies, GrowWithinTheRoomThatAnotherHasTaken) {
  WriteRamp(100);
  ::XMMFile file;
  ASSERT_TRUE(file.Open(Path().c_str(), 2));
  ::XMMFile copy = file;
  ASSERT_TRUE(file.Write(Bytes(200000, 7).data(), 200000, false));
  ASSERT_TRUE(copy.Write(Bytes(150, 1).data(), 150, false));
  EXPECT_EQ(150u, copy.GetLength());
  EXPECT_EQ(200000 + kView, fs::file_size(Path()));
}

TEST_F(XMMFileCopies, TakeTheSentenceAlong) {
  ::XMMFile file;
  EXPECT_FALSE(file.Seek(1, 0));
  const ::XMMFile copy = file;
  ::XMMFile assigned;
  assigned = file;
  EXPECT_EQ(kSeekSentence, SentenceOf(copy));
  EXPECT_EQ(kSeekSentence, SentenceOf(assigned));
}

TEST_F(XMMFileCopies, DeleteATemporaryFileOnce) {
  ::XMMFile file;
  ASSERT_TRUE(file.CreateTemp(100));
  ::XMMFile copy = file;
  copy = file;
  EXPECT_EQ(100u, copy.GetLength());
  file.Close();
  EXPECT_EQ(Bytes(100, 0), Read(copy, 100, 100));
}

TEST_F(XMMFileThreads, ReadAtOffsetsOfOneFile) {
  const Bytes ramp = Ramp(1 << 20);
  Write(ramp);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      Bytes piece(1000);
      for (std::size_t i = 0; i < 200; ++i) {
        const std::size_t offset = (t * 7919 + i * 104729) % (ramp.size() - 1000);
        EXPECT_EQ(1000u, file_.ReadAt(offset, piece.data(), 1000));
        EXPECT_EQ(Part(ramp, offset, 1000), piece);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}
