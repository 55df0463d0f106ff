#include "OpenStore.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>

// An index of a million tiles. The memory that it takes is measured in a process of its own.

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

constexpr int kSide = 1000;
constexpr long kMaxKilobytes = 96 * 1024;

/// Records in no order, of which the one of each key tells its key.
TxidBuilder MillionTiles() {
  TxidBuilder builder = TxidBuilder().Grid(kSide, kSide, 8).PixelSize(1, 1);
  for (std::int64_t i = 0; i < std::int64_t{kSide} * kSide; ++i) {
    const auto key = static_cast<std::int32_t>(i * 617933 % (kSide * kSide));
    builder.Record(key, static_cast<std::uint64_t>(key) * 32, 32);
  }
  return builder;
}

/// A line of what the system tells of this process, in kilobytes.
long MemoryOf(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(name + ":", 0) == 0) return std::stol(line.substr(name.size() + 1));
  }
  return -1;
}

bool OpensInLittleMemory(const std::string& path) {
  ZRMBandTXID band(nullptr);
  XString err;
  std::ofstream("/proc/self/clear_refs") << 5;  // the peak is counted from here
  const long before = MemoryOf("VmRSS");
  return band.ReadFile(path, err, nullptr) != 0 && MemoryOf("VmHWM") - before <= kMaxKilobytes;
}

TEST(TxidLarge, AMillionTilesTakeLittleMemory) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  TempFolder folder;
  folder.Write("a.txi", MillionTiles().BuildIndex());
  const pid_t child = fork();
  if (child == 0) _exit(OpensInLittleMemory(folder.Path("a.txi")) ? 0 : 1);
  int status = 1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
}

TEST(TxidLarge, AMillionTilesInNoOrderAreAllFound) {
  TempFolder folder;
  folder.Write("a.txi", MillionTiles().BuildIndex());
  ZRMBandTXID band(nullptr);
  tagTxiInfo info;
  XString err;
  ASSERT_EQ(1, band.ReadTXI(folder.Path("a.txi"), &info, err)) << err;
  ASSERT_EQ(std::size_t{kSide} * kSide, info.tiles.size());
  std::int32_t key = 0;
  for (const auto& tile : info.tiles) {
    if (tile.first != key || tile.second != static_cast<std::uint64_t>(key) * 32) FAIL() << key;
    ++key;
  }
}

}  // namespace
