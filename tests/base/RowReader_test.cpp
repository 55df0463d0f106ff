#include "base/RowReader.h"

#include "FaultyDisk.h"
#include "math/CopyFileRows.h"
#include "TempFolder.h"
#include "XSystem.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int kFileBytes = 3 << 20;

unsigned char ByteAt(std::int64_t offset) {
  return static_cast<unsigned char>(offset * 7 + offset / 251);
}

/// A file of known bytes, read as rows of one shape after the other.
class RowReaders : public testing::TestWithParam<bool> {
 protected:
  RowReaders() {
    std::vector<unsigned char> bytes(kFileBytes);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = ByteAt(static_cast<std::int64_t>(i));
    folder_.Write("a", bytes);
    XfnSetMappedReads(GetParam());
  }
  ~RowReaders() override { XfnSetMappedReads(true); }
  void Open() {
    std::shared_ptr<zrk::DiskFile> file;
    ASSERT_EQ(0, disk_.Open(folder_.Path("a"), {}, file));
    file_ = std::make_unique<zrk::RowFile>(file);
  }
  bool Read(const zrk::FileRows& rows, std::int64_t outStride) {
    out_.assign(static_cast<std::size_t>(outStride * rows.numRows), 0);
    return zrk::CopyFileRows(zrk::RowReader(*file_, 1000), rows, out_.data(), outStride);
  }
  void ExpectRows(const zrk::FileRows& rows, const unsigned char* first, std::int64_t stride) const {
    for (int y = 0; y < rows.numRows; ++y) {
      for (std::int64_t x = 0; x < rows.rowBytes; ++x) {
        ASSERT_EQ(ByteAt(rows.offset + y * rows.stride + x), first[y * stride + x]) << x << ", " << y;
      }
    }
  }

  TempFolder folder_;
  FaultyDisk disk_;
  std::unique_ptr<zrk::RowFile> file_;
  std::vector<unsigned char> out_;
};

/// Together, close, long, and short ones far apart.
constexpr zrk::FileRows kShapes[] = {
    {5, 100, 100, 300},   {5, 900, 100, 300}, {5, 70000, 66000, 3}, {5, 9000, 5000, 30},  {7, 8192, 256, 256},
    {7, 5000, 1000, 300}, {7, 3000, 1, 1000}, {9, 40, 40, 1},       {0, 8192, 4000, 250}, {kFileBytes - 10, 20, 10, 1}};

TEST_P(RowReaders, ReadRowsOfEveryShape) {
  Open();
  for (const zrk::FileRows& rows : kShapes) {
    for (const std::int64_t stride : {rows.rowBytes, rows.rowBytes + 3}) {
      ASSERT_TRUE(Read(rows, stride)) << rows.stride;
      ExpectRows(rows, out_.data(), stride);
    }
  }
}

TEST_P(RowReaders, LeaveWhatIsBetweenRowsOfTheResult) {
  Open();
  ASSERT_TRUE(Read({0, 8192, 10, 100}, 16));
  for (int y = 0; y < 100; ++y) ASSERT_EQ(0, out_[static_cast<std::size_t>(y * 16 + 10)]);
}

TEST_P(RowReaders, FetchRowsOfEveryShape) {
  Open();
  for (const zrk::FileRows& rows : kShapes) {
    const std::int64_t pitch = rows.rowBytes + 5;
    out_.assign(static_cast<std::size_t>(zrk::RowReader::CountRoomBytes(rows, pitch)), 0);
    const zrk::RowReader::Fetched fetched = zrk::RowReader(*file_, 1000).Fetch(rows, pitch, out_.data());
    ASSERT_NE(nullptr, fetched.first);
    ExpectRows(rows, fetched.first, fetched.stride);
  }
}

TEST_P(RowReaders, ReadWithoutAMapping) {
  disk_.FailMap(1);
  Open();
  EXPECT_EQ(nullptr, file_->Map());
  ASSERT_TRUE(Read({7, 8192, 256, 256}, 256));
  ExpectRows({7, 8192, 256, 256}, out_.data(), 256);
}

TEST_P(RowReaders, MissRowsThatTheFileDoesNotHave) {
  Open();
  for (zrk::FileRows rows : kShapes) {
    rows.offset = kFileBytes - rows.Span() + 1;
    EXPECT_FALSE(Read(rows, rows.rowBytes)) << rows.stride;
  }
}

TEST_P(RowReaders, MissRowsThatWereCutOff) {
  constexpr zrk::FileRows rows{0, 8192, 256, 256};
  Open();
  ASSERT_TRUE(Read(rows, 256));
  for (const std::int64_t size : {rows.Span() - 1, rows.Span() - 8192, std::int64_t{8192}, std::int64_t{0}}) {
    std::filesystem::resize_file(folder_.Path("a"), static_cast<std::uintmax_t>(size));
    EXPECT_FALSE(Read(rows, 256)) << size;
  }
}

TEST_P(RowReaders, ReadWhatWasAddedSinceTheFileWasMapped) {
  Open();
  ASSERT_NE(nullptr, file_->Map());
  std::filesystem::resize_file(folder_.Path("a"), 2 * kFileBytes);
  ASSERT_TRUE(Read({kFileBytes - 8192, 8192, 256, 3}, 256));
  EXPECT_EQ(0, out_[600]);
}

TEST_P(RowReaders, TellOfAReadThatFails) {
  XfnSetMappedReads(false);
  Open();
  for (const zrk::FileRows& rows : {kShapes[0], kShapes[1], kShapes[2]}) {
    disk_.FailRead(disk_.GetReadCount() + 1);
    EXPECT_FALSE(Read(rows, rows.rowBytes));
  }
}

TEST_P(RowReaders, MapForSmallWindowsOnly) {
  Open();
  constexpr zrk::FileRows rows{7, 8192, 256, 256};
  EXPECT_EQ(GetParam(), zrk::RowReader(*file_, (1 << 20) - 1).FindMapped(rows) != nullptr);
  EXPECT_EQ(nullptr, zrk::RowReader(*file_, 1 << 20).FindMapped(rows));
}

INSTANTIATE_TEST_SUITE_P(Mapped, RowReaders, testing::Values(true));
INSTANTIATE_TEST_SUITE_P(Read, RowReaders, testing::Values(false));

}  // namespace
