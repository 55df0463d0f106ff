// Windows of plain blocks that are stopped while they are read. The stop comes from the file itself, at a read that the
// test chooses, as it would come from another thread.

#include "core/model/PlainWindow.h"

#include "tagXArr2.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>

namespace {

/// A file of a given length, all of ones, that sets a word to stop at one of its reads.
class StoppingFile final : public zrk::DiskFile {
 public:
  StoppingFile(std::int64_t size, int stopAt) : size_(size), stopAt_(stopAt) {}

  std::int64_t ReadAt(std::int64_t, void* buffer, std::int64_t count) override {
    std::memset(buffer, 1, static_cast<std::size_t>(count));
    if (++numReads_ == stopAt_) stop = XThread::kStateStop;
    bytesRead += count;
    return count;
  }
  std::int64_t Size() override { return size_; }
  int WriteAt(std::int64_t, const void*, std::int64_t) override { return EROFS; }
  int SetSize(std::int64_t) override { return EROFS; }
  int Preallocate(std::int64_t) override { return EROFS; }
  int Sync() override { return 0; }
  std::unique_ptr<zrk::DiskMap> Map() override { return nullptr; }

  int stop = XThread::kStateRun;
  std::int64_t bytesRead = 0;

 private:
  std::int64_t size_;
  int stopAt_;
  int numReads_ = 0;
};

constexpr int kSide = 4096;

/// An image of bytes of 4096 x 4096 in square blocks, read as a whole at a level.
struct StoppedWindow {
  StoppedWindow(int blockSide, int level, int stopAt)
      : file(std::make_shared<StoppingFile>(std::int64_t{kSide} * kSide, stopAt)) {
    zrk::PlainBlocks blocks;
    blocks.file = std::make_shared<zrk::RowFile>(file);
    blocks.grid = {kSide, kSide, blockSide, blockSide};
    blocks.rowStride = blockSide;
    blocks.across = std::int64_t{blockSide} * blockSide;
    blocks.down = blocks.across * (kSide / blockSide);
    zrk::BlockPlan plan;
    plan.grid = blocks.grid;
    plan.request = {level, 0, kSide - 1, 0, kSide - 1};
    tagXArr2 out(kSide >> level, kSide >> level, 1);
    isRead = zrk::ReadPlainWindow(blocks, plan, out, &file->stop);
  }

  std::shared_ptr<StoppingFile> file;
  bool isRead = false;
};

constexpr int kNever = 0;

}  // namespace

TEST(PlainWindow, IsReadToItsEndWithoutAStop) {
  for (const int blockSide : {kSide, 1024, 64}) {
    EXPECT_TRUE(StoppedWindow(blockSide, 0, kNever).isRead) << blockSide;
    EXPECT_TRUE(StoppedWindow(blockSide, 1, kNever).isRead) << blockSide;
  }
}

TEST(PlainWindow, OfOneBlockHearsAStopWithinAFewMegabytes) {
  const StoppedWindow window(kSide, 0, 1);
  EXPECT_FALSE(window.isRead);
  EXPECT_GE(4 << 20, window.file->bytesRead);
}

TEST(PlainWindow, OfOneBlockHearsAStopAtALevelToo) {
  const StoppedWindow window(kSide, 1, 1);
  EXPECT_FALSE(window.isRead);
  EXPECT_GE(4 << 20, window.file->bytesRead);
}

TEST(PlainWindow, HearsAStopBetweenBlocksOfARow) {
  const StoppedWindow window(1024, 0, 1);
  EXPECT_FALSE(window.isRead);
  EXPECT_GE(1 << 20, window.file->bytesRead) << "one block of four";
}
