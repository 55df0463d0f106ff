// The file behind the tile stores: what its operations answer, the sentences that they leave, and where the position
// ends. What the disk can't do is tried with one that fails.

#include "MappedFileTest.h"

#include "base/Disk.h"
#include "FaultyDisk.h"
#include "XFile.h"

#include <sys/stat.h>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

using XMMFileOpen = MappedFileTest;
using XMMFileCreate = MappedFileTest;
using XMMFileSeek = MappedFileTest;
using XMMFileRead = MappedFileTest;
using XMMFileWrite = MappedFileTest;
using XMMFileGrowth = MappedFileTest;

}  // namespace

TEST_F(XMMFileOpen, BeginsClosedWithoutASentence) {
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_EQ("", SentenceOf(file_));
  EXPECT_EQ(0u, file_.GetLength());
  EXPECT_EQ(0u, file_.GetPosition());
}

TEST_F(XMMFileOpen, MakesAMissingFileAndRefusesItAsEmpty) {
  EXPECT_FALSE(file_.Open(Path().c_str(), 0));
  EXPECT_EQ("Cannot open zero byte file.", SentenceOf(file_));
  EXPECT_TRUE(fs::exists(Path()));
  EXPECT_EQ(0u, fs::file_size(Path()));
  EXPECT_FALSE(file_.IsOpen());
}

TEST_F(XMMFileOpen, RefusesAnEmptyFile) {
  Write({});
  EXPECT_FALSE(file_.Open(Path().c_str(), 2));
  EXPECT_EQ("Cannot open zero byte file.", SentenceOf(file_));
}

TEST_F(XMMFileOpen, FailsForWhatCannotBeOpened) {
  EXPECT_FALSE(file_.Open(folder_.Path("no/such/file").c_str(), 0));
  EXPECT_EQ("Error encountered during file open.", SentenceOf(file_));
  EXPECT_FALSE(file_.Open(folder_.Path().c_str(), 0));
  EXPECT_FALSE(file_.Open(nullptr, 0));
}

TEST_F(XMMFileOpen, StartsAtTheBeginningWithTheLengthOfTheFile) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  EXPECT_EQ(100u, file_.GetLength());
  EXPECT_EQ(0u, file_.GetPosition());
  EXPECT_EQ("", SentenceOf(file_));
}

TEST_F(XMMFileOpen, AllowsWritingWithEitherOfTheTwoLowBitsOfTheMode) {
  WriteRamp(100);
  const unsigned char byte = 0xEE;
  for (const unsigned mode : {0u, 1u, 2u, 3u, 4u, 8u}) {
    ASSERT_TRUE(file_.Open(Path().c_str(), mode));
    EXPECT_EQ((mode & 3) != 0, file_.Write(&byte, 1, false)) << mode;
    file_.Close();
  }
}

TEST_F(XMMFileOpen, ClosesWhatWasOpenBefore) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  ASSERT_TRUE(file_.Seek(50, 0));
  folder_.Write("other", "four");
  ASSERT_TRUE(file_.Open(folder_.Path("other").c_str(), 2));
  EXPECT_EQ(4u, file_.GetLength());
  EXPECT_EQ(0u, file_.GetPosition());
  MappedFile again;
  EXPECT_TRUE(again.Open(Path().c_str(), 2));
}

TEST_F(XMMFileOpen, LetsOthersReadAndNoneWrite) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  MappedFile reader, writer;
  EXPECT_TRUE(reader.Open(Path().c_str(), 0));
  EXPECT_FALSE(writer.Open(Path().c_str(), 2));
  EXPECT_EQ("Error encountered during file open.", SentenceOf(writer));
}

TEST_F(XMMFileOpen, NeedsALengthAndAFirstByte) {
  WriteRamp(100);
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailRead(1);
  EXPECT_FALSE(file_.Open(Path().c_str(), 0));
  EXPECT_EQ("Failed to map view of file.", SentenceOf(file_));
  EXPECT_FALSE(file_.IsOpen());
  disk.FailCall(2, DiskFault::kError);  // the opening is the first call, the length the second
  EXPECT_FALSE(file_.Open(Path().c_str(), 0));
  EXPECT_EQ("Failed to create file mapping object.", SentenceOf(file_));
  EXPECT_TRUE(file_.Open(Path().c_str(), 0));
}

TEST_F(XMMFileOpen, KeepsTheSentenceOfAFailureThroughASuccess) {
  EXPECT_FALSE(file_.Open(folder_.Path("no/such/file").c_str(), 0));
  WriteRamp(100);
  EXPECT_TRUE(file_.Open(Path().c_str(), 0));
  EXPECT_EQ("Error encountered during file open.", SentenceOf(file_));
  EXPECT_FALSE(file_.Seek(100, 0));
  EXPECT_EQ(kSeekSentence, SentenceOf(file_));
}

TEST_F(XMMFileCreate, MakesAFileOfZerosThatCanBeWritten) {
  ASSERT_TRUE(file_.Create(Path().c_str(), 70000));
  EXPECT_EQ(70000u, file_.GetLength());
  EXPECT_EQ(70000u, fs::file_size(Path()));
  EXPECT_EQ(Bytes(70000, 0), Read(file_, 70000, 70000));
  ASSERT_TRUE(file_.Seek(0, 0));
  EXPECT_TRUE(file_.Write("ab", 2, false));
}

TEST_F(XMMFileCreate, EmptiesAnOldFileFirst) {
  for (const std::size_t old : {50u, 100u, 200u}) {
    WriteRamp(old);
    ASSERT_TRUE(file_.Create(Path().c_str(), 100));
    file_.Close();
    EXPECT_EQ(Bytes(100, 0), ReadBytes(Path())) << old;
  }
}

TEST_F(XMMFileCreate, TakesTheRoomOnDisk) {
  ASSERT_TRUE(file_.Create(Path().c_str(), 1 << 20));
  struct stat status;
  ASSERT_EQ(0, stat(Path().c_str(), &status));
  EXPECT_GE(status.st_blocks * 512, 1 << 20);
}

TEST_F(XMMFileCreate, RefusesASizeOfZero) {
  EXPECT_FALSE(file_.Create(Path().c_str(), 0));
  EXPECT_EQ("Cannot open zero byte file.", SentenceOf(file_));
}

TEST_F(XMMFileCreate, FailsWhereNoFileCanBeMade) {
  EXPECT_FALSE(file_.Create(folder_.Path("no/such/file").c_str(), 100));
  EXPECT_EQ("Failed to create file.", SentenceOf(file_));
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailOpen(1, EROFS);
  EXPECT_FALSE(file_.Create(Path().c_str(), 100));
  EXPECT_EQ("Failed to create file.", SentenceOf(file_));
  EXPECT_FALSE(fs::exists(Path()));
}

TEST_F(XMMFileCreate, LeavesNoFileOfASizeThatIsRefused) {
  for (const std::uint64_t size : {std::uint64_t{1} << 62, std::uint64_t{INT64_MAX}, UINT64_MAX}) {
    EXPECT_FALSE(file_.Create(Path().c_str(), size));
    EXPECT_EQ(kNoRoomSentence, SentenceOf(file_));
    EXPECT_FALSE(fs::exists(Path()));
    EXPECT_FALSE(file_.IsOpen());
  }
}

TEST_F(XMMFileCreate, AsksForTheRoomBeforeAnOldFileIsEmptied) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.SetFreeBytes(50);
  WriteRamp(100);
  EXPECT_FALSE(file_.Create(Path().c_str(), 151));
  EXPECT_EQ(kNoRoomSentence, SentenceOf(file_));
  EXPECT_EQ(Ramp(100), ReadBytes(Path()));
  EXPECT_TRUE(file_.Create(Path().c_str(), 150));
}

TEST_F(XMMFileCreate, LeavesNoFileWhereTheDiskIsFull) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailSetSize(2);  // the first call empties the file, the second takes the room
  EXPECT_FALSE(file_.Create(Path().c_str(), 100));
  EXPECT_EQ(kNoRoomSentence, SentenceOf(file_));
  EXPECT_FALSE(fs::exists(Path()));
}

TEST_F(XMMFileCreate, LeavesAnOldEmptyFileWhereTheDiskIsFull) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  Write({});
  disk.FailSetSize(2);
  EXPECT_FALSE(file_.Create(Path().c_str(), 100));
  EXPECT_EQ(kNoRoomSentence, SentenceOf(file_));
  EXPECT_TRUE(fs::exists(Path()));
  EXPECT_TRUE(file_.Create(Path().c_str(), 100));
}

TEST_F(XMMFileCreate, LeavesNoFileThatItEmptiedInVain) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  WriteRamp(50);
  disk.FailSetSize(2);
  EXPECT_FALSE(file_.Create(Path().c_str(), 100));
  EXPECT_EQ(kNoRoomSentence, SentenceOf(file_));
  EXPECT_FALSE(fs::exists(Path()));
}

TEST_F(XMMFileCreate, DeletesATemporaryFileWhenItIsClosed) {
  ASSERT_TRUE(file_.CreateTemp(100));
  EXPECT_EQ(100u, file_.GetLength());
  const fs::path folder = fs::temp_directory_path();
  const auto count = [&] {
    int number = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
      number += entry.path().filename().string().starts_with("XMMFileTemp") ? 1 : 0;
    }
    return number;
  };
  const int before = count();
  EXPECT_GE(before, 1);
  file_.Close();
  EXPECT_EQ(before - 1, count());
}

TEST_F(XMMFileSeek, CountsFromTheBeginningThePositionAndTheEnd) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  EXPECT_TRUE(file_.Seek(40, 0));
  EXPECT_TRUE(file_.Seek(-10, 1));
  EXPECT_EQ(30u, file_.GetPosition());
  EXPECT_TRUE(file_.Seek(-1, 2));
  EXPECT_EQ(99u, file_.GetPosition());
}

TEST_F(XMMFileSeek, FailsOutsideTheFileAndLeavesThePosition) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  ASSERT_TRUE(file_.Seek(40, 0));
  for (const std::int64_t target : {std::int64_t{-1}, std::int64_t{100}, INT64_MAX, INT64_MIN}) {
    EXPECT_FALSE(file_.Seek(target, 0));
    EXPECT_EQ(kSeekSentence, SentenceOf(file_));
  }
  EXPECT_FALSE(file_.Seek(INT64_MAX, 1));
  EXPECT_FALSE(file_.Seek(0, 2));
  EXPECT_EQ(40u, file_.GetPosition());
}

TEST_F(XMMFileSeek, FailsForAClosedFile) {
  EXPECT_FALSE(file_.Seek(0, 0));
  EXPECT_EQ(kSeekSentence, SentenceOf(file_));
}

TEST_F(XMMFileRead, GoesFromViewToView) {
  const Bytes ramp = Ramp(3 * kView + 1000);
  Write(ramp);
  for (const std::uint32_t step : {1000u, 65535u, 65536u, 65537u, 200000u}) {
    ASSERT_TRUE(file_.Open(Path().c_str(), 0));
    Bytes all;
    for (std::uint32_t got = step; got == step;) {
      Bytes piece(step);
      got = file_.Read(piece.data(), step);
      all.insert(all.end(), piece.begin(), piece.begin() + got);
    }
    EXPECT_EQ(ramp, all) << step;
  }
}

TEST_F(XMMFileRead, ComesShortAtTheEndAndThenGivesNothing) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  ASSERT_TRUE(file_.Seek(90, 0));
  EXPECT_EQ(Part(Ramp(100), 90, 10), Read(file_, 20, 10));
  EXPECT_EQ(100u, file_.GetPosition());
  Read(file_, 20, 0);
  EXPECT_EQ(100u, file_.GetPosition());
}

TEST_F(XMMFileRead, LeavesTheSentenceOfASeekAtTheLastByteAlthoughItSucceeds) {
  for (const std::size_t size : {std::size_t{100}, std::size_t{kView}, std::size_t{2 * kView + 100}}) {
    WriteRamp(size);
    MappedFile file;
    ASSERT_TRUE(file.Open(Path().c_str(), 0));
    Read(file, static_cast<std::uint32_t>(size - 1), static_cast<std::uint32_t>(size - 1));
    EXPECT_EQ("", SentenceOf(file));
    Read(file, 1, 1);
    EXPECT_EQ(kSeekSentence, SentenceOf(file));
  }
}

TEST_F(XMMFileRead, OfNothingDoesNothing) {
  WriteRamp(100);
  EXPECT_EQ(0u, file_.Read(nullptr, 10));
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  EXPECT_EQ(0u, file_.Read(nullptr, 10));
  Read(file_, 0, 0);
  EXPECT_EQ(0u, file_.GetPosition());
  EXPECT_EQ("", SentenceOf(file_));
}

TEST_F(XMMFileRead, ComesShortWhereOthersCutTheFile) {
  WriteRamp(3 * kView);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  fs::resize_file(Path(), 100);
  EXPECT_EQ(Ramp(100), Read(file_, 3 * kView, 100));
  EXPECT_EQ(100u, file_.GetPosition());
  Read(file_, 10, 0);
}

TEST_F(XMMFileRead, SeesWhatOthersWrite) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  Read(file_, 10, 10);
  Write(Bytes(100, 9));
  EXPECT_EQ(Bytes(10, 9), Read(file_, 10, 10));
}

TEST_F(XMMFileWrite, LandsWhereThePositionIs) {
  Bytes expected = Ramp(4 * kView);
  Write(expected);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  for (const std::size_t offset : {std::size_t{0}, std::size_t{kView - 10}, std::size_t{4 * kView - 150000}}) {
    const Bytes piece(150000, static_cast<unsigned char>(offset % 250));
    ASSERT_TRUE(file_.Seek(static_cast<std::int64_t>(offset), 0));
    EXPECT_TRUE(file_.Write(piece.data(), 150000, false));
    EXPECT_EQ(offset + 150000, file_.GetPosition());
    std::copy(piece.begin(), piece.end(), expected.begin() + static_cast<long>(offset));
  }
  EXPECT_EQ(4 * kView, file_.GetLength());
  EXPECT_EQ(expected, ReadBytes(Path()));
}

TEST_F(XMMFileWrite, WithinTheViewLeavesNoSentenceAtTheEndOfTheFile) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  EXPECT_TRUE(file_.Write(Bytes(100, 1).data(), 100, false));
  EXPECT_EQ(100u, file_.GetPosition());
  EXPECT_EQ("", SentenceOf(file_));
}

TEST_F(XMMFileWrite, BeyondTheViewLeavesTheSentenceOfASeekAtTheEndOfTheFile) {
  WriteRamp(kView + 100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  EXPECT_TRUE(file_.Write(Bytes(kView + 99, 1).data(), kView + 99, false));
  EXPECT_EQ("", SentenceOf(file_));
  ASSERT_TRUE(file_.Seek(0, 0));
  EXPECT_TRUE(file_.Write(Bytes(kView + 100, 1).data(), kView + 100, false));
  EXPECT_EQ(kSeekSentence, SentenceOf(file_));
}

TEST_F(XMMFileWrite, FlushesOnlyWhatLeavesTheView) {
  WriteRamp(2 * kView);
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  disk.FailSync(1);
  EXPECT_TRUE(file_.Write("ab", 2, true));
  EXPECT_FALSE(file_.Write(Bytes(kView, 1).data(), kView, true));
  EXPECT_EQ(kView + 2, file_.GetPosition());
}

TEST_F(XMMFileWrite, OfNothingDoesNothing) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  EXPECT_TRUE(file_.Write(nullptr, 0, true));
  EXPECT_FALSE(file_.Write(nullptr, 5, false));
  EXPECT_EQ(0u, file_.GetPosition());
  EXPECT_EQ(Ramp(100), ReadBytes(Path()));
}

TEST_F(XMMFileWrite, HasNoEffectOnAFileOpenForReading) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 0));
  EXPECT_FALSE(file_.Write(Bytes(50, 1).data(), 50, false));
  EXPECT_FALSE(file_.Write(Bytes(500, 1).data(), 500, false));
  EXPECT_FALSE(file_.WriteAt(0, "ab", 2));
  EXPECT_EQ(0u, file_.GetPosition());
  file_.Close();
  EXPECT_FALSE(file_.Write("ab", 2, false));
  EXPECT_EQ(Ramp(100), ReadBytes(Path()));
}

TEST_F(XMMFileWrite, TellsThatTheDiskIsFull) {
  WriteRamp(100);
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  disk.FailWrite(1);
  EXPECT_FALSE(file_.Write("ab", 2, false));
  EXPECT_EQ("Failed to write file.", SentenceOf(file_));
  EXPECT_EQ(0u, file_.GetPosition());
  EXPECT_TRUE(file_.Write("ab", 2, false));
}

TEST_F(XMMFileWrite, AtAnOffsetStaysWithinTheFile) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  EXPECT_TRUE(file_.WriteAt(98, "ab", 2));
  EXPECT_FALSE(file_.WriteAt(99, "ab", 2));
  EXPECT_FALSE(file_.WriteAt(UINT64_MAX, "ab", 2));
  EXPECT_EQ(0u, file_.GetPosition());
  EXPECT_EQ(100u, file_.GetLength());
  EXPECT_EQ((Bytes{'a', 'b'}), Part(ReadBytes(Path()), 98, 2));
}

TEST_F(XMMFileGrowth, MakesTheFileAsLongAsTheWriteAndOneViewLongerOnDisk) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  ASSERT_TRUE(file_.Seek(90, 0));
  EXPECT_TRUE(file_.Write(Bytes(30, 1).data(), 30, false));
  EXPECT_EQ(120u, file_.GetLength());
  EXPECT_EQ(120u, file_.GetPosition());
  EXPECT_EQ(kSeekSentence, SentenceOf(file_));
  file_.Close();
  Bytes expected = Ramp(100);
  std::fill(expected.begin() + 90, expected.end(), 1);
  expected.resize(120, 1);
  expected.resize(120 + kView, 0);
  EXPECT_EQ(expected, ReadBytes(Path()));
}

TEST_F(XMMFileGrowth, GoesOnFromTheEnd) {
  WriteRamp(100);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  const Bytes piece = Ramp(30000);
  Read(file_, 100, 100);
  Bytes expected = Ramp(100);
  for (int i = 0; i < 10; ++i) {
    EXPECT_TRUE(file_.Write(piece.data(), 30000, i % 2 == 0));
    expected.insert(expected.end(), piece.begin(), piece.end());
  }
  EXPECT_EQ(expected.size(), file_.GetLength());
  ASSERT_TRUE(file_.Seek(0, 0));
  const auto size = static_cast<std::uint32_t>(expected.size());
  EXPECT_EQ(expected, Read(file_, size + 10, size));
}

TEST_F(XMMFileGrowth, GoesOnFromTheEndAfterAReadOfManyViews) {
  WriteRamp(3 * kView + 5);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  Read(file_, 3 * kView + 5, 3 * kView + 5);
  EXPECT_TRUE(file_.Write("abc", 3, false));
  EXPECT_EQ(3 * kView + 8, file_.GetLength());
  EXPECT_EQ((Bytes{'a', 'b', 'c'}), Part(ReadBytes(Path()), 3 * kView + 5, 3));
}

TEST_F(XMMFileGrowth, FailsWhereThereIsNoRoomAndLeavesTheFile) {
  WriteRamp(100);
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  disk.SetFreeBytes(kView + 49);
  EXPECT_FALSE(file_.Write(Bytes(150, 1).data(), 150, false));
  EXPECT_EQ(kNoRoomSentence, SentenceOf(file_));
  EXPECT_EQ(100u, file_.GetLength());
  EXPECT_EQ(0u, file_.GetPosition());
  EXPECT_EQ(Ramp(100), ReadBytes(Path()));
  disk.SetFreeBytes(kView + 50);
  EXPECT_TRUE(file_.Write(Bytes(150, 1).data(), 150, false));
}

TEST_F(XMMFileGrowth, FailsWhereTheRoomIsNotGivenAndLeavesTheFile) {
  WriteRamp(100);
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  disk.FailSetSize(1);
  EXPECT_FALSE(file_.Write(Bytes(150, 1).data(), 150, false));
  EXPECT_EQ("Failed to set end of file.", SentenceOf(file_));
  EXPECT_EQ(100u, file_.GetLength());
  EXPECT_EQ(Ramp(100), ReadBytes(Path()));
}

TEST_F(XMMFileGrowth, FailsWhereTheFileDidNotBecomeLonger) {
  WriteRamp(100);
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  ASSERT_TRUE(file_.Open(Path().c_str(), 2));
  disk.FailCall(4, DiskFault::kError);  // the length, the room, the growth, and then the length again
  EXPECT_FALSE(file_.Write(Bytes(150, 1).data(), 150, false));
  EXPECT_EQ("Failed to create file mapping.", SentenceOf(file_));
  EXPECT_EQ(100u, file_.GetLength());
}
