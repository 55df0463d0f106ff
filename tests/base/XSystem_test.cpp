#include "XSystem.h"

#include "FaultyDisk.h"
#include "TempFolder.h"
#include "XFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

/// A disk on which the kernel's table of memory says `text`.
class MemoryTable : public FaultyDisk {
 public:
  explicit MemoryTable(std::string_view text) { folder_.Write("meminfo", text); }
  int Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) override {
    return FaultyDisk::Open(path == "/proc/meminfo" ? folder_.Path("meminfo") : path, how, file);
  }

 private:
  TempFolder folder_;
};

double AvailableOf(std::string_view table) {
  MemoryTable disk(table);
  const zrk::ScopedDisk scope(disk);
  return XfnGetAvailablePhysicalMemoryInPercent();
}

int IsEnoughWith(std::int64_t freeBytes, std::int64_t bytes) {
  FaultyDisk disk;
  disk.SetFreeBytes(freeBytes);
  const zrk::ScopedDisk scope(disk);
  return XfnIsDiskSpaceEnough("a.tif", bytes);
}

/// Another folder for temporary files while a test runs.
class ScopedTempDir {
 public:
  explicit ScopedTempDir(const std::string& path) {
    if (const char* before = std::getenv("TMPDIR")) before_ = before;
    setenv("TMPDIR", path.c_str(), 1);
  }
  ~ScopedTempDir() { before_.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", before_.c_str(), 1); }

 private:
  std::string before_;
};

std::string FirstLine(const std::filesystem::path& path) {
  std::string line;
  std::getline(std::ifstream(path) >> std::ws, line);
  return line;
}

/// What the kernel's own list says: a folder for each interface.
std::vector<std::string> AddressesOfTheKernel() {
  constexpr unsigned long kLoopback = 0x8;
  std::vector<std::string> addresses;
  std::error_code error;
  for (const auto& each : std::filesystem::directory_iterator("/sys/class/net", error)) {
    std::string address = FirstLine(each.path() / "address");
    const std::string flags = FirstLine(each.path() / "flags");
    if (flags.empty() || (std::stoul(flags, nullptr, 16) & kLoopback) != 0 || address.size() != 17) continue;
    std::replace(address.begin(), address.end(), ':', '-');
    std::transform(address.begin(), address.end(), address.begin(), [](unsigned char c) { return std::toupper(c); });
    addresses.push_back(address);
  }
  return addresses;
}

TEST(XSystem, AvailableMemoryIsAShareOfAll) {
  const double percent = XfnGetAvailablePhysicalMemoryInPercent();
  EXPECT_GT(percent, 0.0);
  EXPECT_LE(percent, 100.0);
}

TEST(XSystem, AvailableMemoryIsWhatTheKernelSaysOfAll) {
  EXPECT_EQ(25.0, AvailableOf("MemTotal:       4000 kB\nMemFree:  10 kB\nMemAvailable:   1000 kB\n"));
  EXPECT_EQ(0.0, AvailableOf("MemTotal: 4000 kB\nMemAvailable: 0 kB\n"));
}

TEST(XSystem, AvailableMemoryIsAllWhereItCannotBeTold) {
  for (const char* table :
       {"", "MemTotal: 4000 kB\n", "MemAvailable: 1000 kB\n", "MemTotal: 0 kB\nMemAvailable: 1 kB\n",
        "MemTotal: 4000 kB\nMemAvailable:", "MemTotal: many\nMemAvailable: 7 kB\n"}) {
    EXPECT_EQ(100.0, AvailableOf(table)) << table;
  }
  FaultyDisk disk;
  disk.FailOpen(1);
  const zrk::ScopedDisk scope(disk);
  EXPECT_EQ(100.0, XfnGetAvailablePhysicalMemoryInPercent());
}

TEST(XSystem, DiskSpaceIsEnoughUpToWhatIsFree) {
  EXPECT_EQ(1, IsEnoughWith(1000, 999));
  EXPECT_EQ(1, IsEnoughWith(1000, 1000));
  EXPECT_EQ(0, IsEnoughWith(1000, 1001));
  EXPECT_EQ(0, IsEnoughWith(0, 1));
  EXPECT_EQ(1, IsEnoughWith(0, 0));
  EXPECT_EQ(1, IsEnoughWith(0, INT64_MIN));
  EXPECT_EQ(1, IsEnoughWith(INT64_MAX, INT64_MAX));
}

TEST(XSystem, DiskSpaceIsEnoughWhereItCannotBeTold) {
  EXPECT_EQ(1, IsEnoughWith(-1, INT64_MAX));
  EXPECT_EQ(1, XfnIsDiskSpaceEnough("/no/such/folder/a.tif", INT64_MAX));
}

TEST(XSystem, DiskSpaceIsThatOfTheSystem) {
  const TempFolder folder;
  EXPECT_EQ(1, XfnIsDiskSpaceEnough(folder.Path("a.tif"), 1));
  EXPECT_EQ(0, XfnIsDiskSpaceEnough(folder.Path("a.tif"), INT64_MAX));
}

TEST(XSystem, TemporaryNamesAreTakenAndNew) {
  const TempFolder folder;
  const ScopedTempDir scope(folder.Path());
  const XString first = XfnGetTempFileName("_imp_"), second = XfnGetTempFileName("_imp_");
  EXPECT_NE(first.AsStdString(), second.AsStdString());
  EXPECT_EQ(0, first.Find(folder.Path() + "/_imp_"));
  EXPECT_TRUE(XFile::Exists(first));
  EXPECT_EQ(0u, std::filesystem::file_size(first.GetText()));
}

TEST(XSystem, TemporaryNamesGoToTheSystemsFolderWhereNoOtherIsNamed) {
  const ScopedTempDir scope("");
  const XString name = XfnGetTempFileName("zrkio-test-");
  EXPECT_EQ(0, name.Find("/tmp/zrkio-test-"));
  EXPECT_EQ(1, XFile::Remove(name));
}

TEST(XSystemThreads, NoTwoThreadsGetOneTemporaryName) {
  const TempFolder folder;
  const ScopedTempDir scope(folder.Path());
  std::vector<std::string> names(64);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = 0; i < 8; ++i) names[t * 8 + i] = XfnGetTempFileName("x").AsStdString();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(64u, std::set<std::string>(names.begin(), names.end()).size());
  EXPECT_FALSE(std::set<std::string>(names.begin(), names.end()).contains(""));
}

TEST(XSystem, ANameThatCannotBeIsEmpty) {
  const ScopedTempDir scope("/no/such/folder");
  EXPECT_TRUE(XfnGetTempFileName("x").IsEmpty());
}

TEST(XSystem, HardwareAddressesAreThoseOfTheKernelsList) {
  XStringList found;
  const int numFound = XfnGetMacAddress(found);
  std::vector<std::string> addresses;
  for (const XString& address : found) addresses.push_back(address.AsStdString());
  EXPECT_EQ(static_cast<std::size_t>(numFound), addresses.size());
  EXPECT_THAT(addresses, testing::UnorderedElementsAreArray(AddressesOfTheKernel()));
}

TEST(XSystem, HardwareAddressesAreAppended) {
  XStringList addresses;
  addresses.AddTail("first");
  const int numFound = XfnGetMacAddress(addresses);
  EXPECT_EQ(numFound + 1, addresses.GetCount());
  EXPECT_EQ("first", addresses.GetHead().AsStdString());
}

TEST(XSystem, TheCryptoMethodIsNoneUntilSet) {
  EXPECT_EQ(0, XfnGetCryptoMethod());
  XfnSetCryptoMethod(2);
  EXPECT_EQ(2, XfnGetCryptoMethod());
  XfnSetCryptoMethod(0);
}

TEST(XSystem, ThereIsOneWorkerUntilMoreAreGivenAndNeverLess) {
  EXPECT_EQ(1, XfnGetWorkerCount());
  XfnSetWorkerCount(4);
  EXPECT_EQ(4, XfnGetWorkerCount());
  for (const int count : {0, -3, INT_MIN}) {
    XfnSetWorkerCount(count);
    EXPECT_EQ(1, XfnGetWorkerCount()) << count;
  }
}

TEST(XSystem, BlocksTakeAtMostTwoMegabytes) {
  EXPECT_EQ(32, XfnCalcBlockHeight(1 << 16, 1000, 1, 1000));
  EXPECT_EQ(31, XfnCalcBlockHeight((1 << 16) + 1, 1000, 1, 1000));
  EXPECT_EQ(4, XfnCalcBlockHeight(1 << 16, 1000, 8, 1000));
  EXPECT_EQ(1, XfnCalcBlockHeight(1 << 21, 1000, 1, 1000));
  EXPECT_EQ(1, XfnCalcBlockHeight((1 << 21) + 1, 1000, 1, 1000));
}

TEST(XSystem, BlocksHaveAtLeastOneRow) {
  EXPECT_EQ(1, XfnCalcBlockHeight(10, 10, 1, 0));
  EXPECT_EQ(1, XfnCalcBlockHeight(10, 0, 1, 5));
  EXPECT_EQ(1, XfnCalcBlockHeight(LONG_MIN, LONG_MIN, LONG_MIN, LONG_MIN));
  EXPECT_EQ(1, XfnCalcBlockHeight(LONG_MAX, 10, LONG_MAX, 5));
}

TEST(XSystem, BlocksHaveTheRowsWantedWhereTheyFit) {
  EXPECT_EQ(200, XfnCalcBlockHeight(1000, 1000, 1, 200));
  EXPECT_EQ(50, XfnCalcBlockHeight(1000, 50, 1, 200));
  EXPECT_EQ(32, XfnCalcBlockHeight(1 << 16, 1000, 1, 200));
  EXPECT_EQ(1, XfnCalcBlockHeight(1 << 30, 1000, 8, 200));
  EXPECT_EQ(1, XfnCalcBlockHeight(LONG_MAX, LONG_MAX, LONG_MAX, LONG_MAX));
  EXPECT_EQ(1, XfnCalcBlockHeight(0, 0, 0, 0));
}

}  // namespace
