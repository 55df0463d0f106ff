// File systems without locks, in whose place this program has a `flock` of its own.

#include "base/Disk.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <string>

namespace {

/// The errno of every lock that is asked for; 0 for those of the system.
std::atomic<int> lockError = 0;

}  // namespace

extern "C" int flock(int file, int operation) noexcept {
  if (lockError == 0) return static_cast<int>(syscall(SYS_flock, file, operation));
  errno = lockError;
  return -1;
}

namespace {

class MissingLocks : public testing::TestWithParam<int> {
 protected:
  void SetUp() override { lockError = GetParam(); }
  void TearDown() override { lockError = 0; }
  int Open(const zrk::DiskOpen& how) const {
    std::shared_ptr<zrk::DiskFile> file;
    return zrk::SystemDisk().Open(folder_.Path("a"), how, file);
  }

  TempFolder folder_;
};

TEST_P(MissingLocks, FailNoOpening) {
  EXPECT_EQ(0, Open({.write = true, .create = true, .exclusive = true}));
  EXPECT_EQ(0, Open({.denyWrite = true}));
  EXPECT_EQ(0, Open({.exclusive = true}));
  EXPECT_EQ(0, Open({.write = true, .denyWrite = true}));
}

INSTANTIATE_TEST_SUITE_P(Errors, MissingLocks, testing::Values(ENOSYS, ENOLCK, EOPNOTSUPP));

TEST(HeldLocks, FailNoRead) {
  TempFolder folder;
  folder.Write("a", "x");
  lockError = EWOULDBLOCK;
  std::shared_ptr<zrk::DiskFile> file;
  EXPECT_EQ(0, zrk::SystemDisk().Open(folder.Path("a"), {.denyWrite = true}, file));
  EXPECT_EQ(EWOULDBLOCK, zrk::SystemDisk().Open(folder.Path("a"), {.write = true, .exclusive = true}, file));
  lockError = EIO;
  EXPECT_EQ(0, zrk::SystemDisk().Open(folder.Path("a"), {.denyWrite = true}, file));
  lockError = 0;
}

}  // namespace
