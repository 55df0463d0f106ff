#include "OpenStore.h"
#include "Sanitizers.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>

// An index of a million tiles, whose memory is measured in a process of its own; and many processes on one store.

namespace {

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
  if (IsSanitized()) GTEST_SKIP() << "a sanitizer takes memory of its own";
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

constexpr int kNumProcesses = 8;
constexpr int kNumReads = 40;

TxidBuilder LargerStore() {
  TxidBuilder builder = TxidBuilder().Grid(5, 4, 24);
  for (int key = 0; key < 20; ++key) {
    if (key % 7 != 3) builder.Tile(key);
  }
  return builder;
}

bool ReadsRightPixels(const std::string& path, const TxidBuilder& builder, int process) {
  ZRMBandTXID band(nullptr);
  band.SetReadPolicy(kReadExact);
  XString err;
  bool isRight = band.ReadFile(path, err, nullptr) != 0;
  for (int i = 0; isRight && i < kNumReads; ++i) {
    const int x = (i * 17 + process) % 70, y = i * 11 % 50;
    const Pixels pixels = ReadPixels(band, 0, {x, x + 30, y, y + 30});
    isRight = pixels.width == 31 && pixels.bytes[31 * 5 + 7] == builder.At(x + 7, y + 5)[0];
  }
  return isRight;
}

/// Each opens the store for itself, and answers by its exit status whether all pixels are right.
TEST(TxidProcesses, ReadOneStoreAlike) {
  TempFolder folder;
  const TxidBuilder builder = LargerStore();
  const std::string path = WriteStore(builder, folder);
  std::vector<pid_t> children;
  for (int p = 0; p < kNumProcesses; ++p) {
    const pid_t child = fork();
    if (child == 0) _exit(ReadsRightPixels(path, builder, p) ? 0 : 1);
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
  }
}

}  // namespace
