// Exports that are interrupted and gone on with, and exports that several processes share. What must come out is the
// file of a single run, byte by byte. Processes are killed at a write of their own and not by a clock.

#include "ByteFlips.h"
#include "FaultyDisk.h"
#include "GlobeSources.h"
#include "LevelDataset.h"
#include "writers/globe/DoneRecord.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <filesystem>
#include <random>

namespace {

/// Kills the process at its N-th write to any file.
class KillingDisk : public FaultyDisk {
 public:
  explicit KillingDisk(int nth) : left_(nth) {}
  int Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) override {
    const int error = zrk::SystemDisk().Open(path, how, file);
    if (error == 0 && how.write) file = std::make_shared<File>(*this, file);
    return error;
  }

 private:
  class File : public zrk::DiskFile {
   public:
    File(KillingDisk& disk, std::shared_ptr<zrk::DiskFile> file) : disk_(disk), file_(std::move(file)) {}
    std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) override {
      return file_->ReadAt(offset, buffer, count);
    }
    /// The last write is cut in the middle.
    int WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) override {
      if (--disk_.left_ > 0) return file_->WriteAt(offset, buffer, count);
      file_->WriteAt(offset, buffer, count / 2);
      kill(getpid(), SIGKILL);
      return EIO;
    }
    std::int64_t Size() override { return file_->Size(); }
    bool GoesBy(const std::string& path) override { return file_->GoesBy(path); }
    int SetSize(std::int64_t size) override { return file_->SetSize(size); }
    int Preallocate(std::int64_t size) override { return file_->Preallocate(size); }
    int Sync() override { return 0; }
    std::unique_ptr<zrk::DiskMap> Map() override { return file_->Map(); }

   private:
    KillingDisk& disk_;
    std::shared_ptr<zrk::DiskFile> file_;
  };

  std::atomic<int> left_;
};

/// Either kind of export: 8 tiles and 32.
class SharedExport : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    zrk::SetUnitsBetweenFlushes(1);
    sources_.Add<std::uint8_t>({-36.0, 18.0, 1.0, 1.0, 72, 36}, [](int x, int y) { return (x * 3 + y * 7) % 250; })
        .SetReadPolicy(kReadExact);
    what_ = {GetParam(), 0, 1, -36.0, -18.0, GetParam() ? 36.0 : 35.9, GetParam() ? 18.0 : 17.9, 0, GetParam()};
    EXPECT_EQ(1, Make("whole", {}));
    whole_ = ReadBytes(folder_.Path("whole"));
  }
  void TearDown() override { zrk::SetUnitsBetweenFlushes(0); }

  int Make(const std::string& name, const tagXGlobeShare& share, XThread* thread = nullptr) {
    error_ = "";
    state_ = {};
    return XfnContinueGlobeExport(folder_.Path(name), &sources_.manager, what_, share, state_, error_, thread);
  }
  bool IsWhole(const std::string& name) const { return ReadBytes(folder_.Path(name)) == whole_; }

  /// Runs a share in a process of its own that is killed at its N-th write, or ends before it.
  pid_t Start(const std::string& name, const tagXGlobeShare& share, int killAt) {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(2);
    KillingDisk disk(killAt);
    const zrk::ScopedDisk scope(disk);
    _exit(Make(name, share) ? 0 : 1);
  }
  static int Wait(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return status;
  }

  TempFolder folder_;
  GlobeSources sources_;
  tagXGlobeExport what_;
  tagXGlobeState state_;
  XString error_;
  std::vector<unsigned char> whole_;
};

INSTANTIATE_TEST_SUITE_P(OfBothKinds, SharedExport, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Heights" : "Pictures"; });

constexpr int kNever = 1 << 30;

tagXGlobeShare GoingOn(const XString& key = "") {
  return {1, 1, true, key, ""};
}

tagXGlobeShare PartOf(int shard, int count) {
  return {shard, count, false, "", ""};
}

/// Counts how often a file of that name is opened.
class CountingDisk : public FaultyDisk {
 public:
  explicit CountingDisk(std::string path) : path_(std::move(path)) {}
  int Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) override {
    if (path == path_) ++numOpens;
    return FaultyDisk::Open(path, how, file);
  }
  int numOpens = 0;

 private:
  const std::string path_;
};

}  // namespace

TEST_P(SharedExport, IsTheFileOfThePlainExport) {
  XString error;
  const XString path = folder_.Path("plain");
  const auto& w = what_;
  EXPECT_EQ(
      1, GetParam()
             ? XfnExport2PBE(path, &sources_.manager, 0, 1, w.minLon, w.minLat, w.maxLon, w.maxLat, 1, error, nullptr)
             : XfnExport2PBI(path, &sources_.manager, 0, 1, w.minLon, w.minLat, w.maxLon, w.maxLat, 0, error, nullptr));
  EXPECT_TRUE(IsWhole("plain"));
}

TEST_P(SharedExport, GoesOnWhereItWasKilled) {
  std::mt19937 random(5);
  for (int i = 0; i < TrialCount(50, 4) && !HasFailure(); ++i) {
    std::filesystem::remove(folder_.Path("a"));
    std::filesystem::remove(folder_.Path("a.done"));
    bool wasKilled = true;
    for (int kills = 0; wasKilled && kills < 3; ++kills) {
      const int killAt = 1 + static_cast<int>(random() % 50);
      wasKilled = WIFSIGNALED(Wait(Start("a", GoingOn(), killAt)));
      EXPECT_EQ(wasKilled, !IsWhole("a"));
    }
    ASSERT_EQ(1, Make("a", GoingOn())) << error_.GetText();
    EXPECT_TRUE(state_.isComplete);
    EXPECT_TRUE(IsWhole("a")) << i;
  }
}

TEST_P(SharedExport, MakesNoTileTwiceThatWasDoneBeforeAStop) {
  for (const int tile : {3, 17, 36}) {
    std::filesystem::remove(folder_.Path("a.done"));
    PercentKeeper keeper(tile);
    XThread thread(&keeper);
    EXPECT_EQ(0, Make("a", {}, &thread));
    EXPECT_TRUE(error_.IsEmpty());
    EXPECT_EQ(tile - 1, state_.numDone);
    PercentKeeper rest;
    XThread second(&rest);
    EXPECT_EQ(1, Make("a", GoingOn(), &second)) << error_.GetText();
    EXPECT_EQ(40 - (tile - 1), state_.numMade);
    EXPECT_EQ(static_cast<std::size_t>(state_.numMade), rest.percents.size());
    EXPECT_EQ(tile * 100 / 40, rest.percents.front());
    EXPECT_TRUE(IsWhole("a"));
  }
}

TEST_P(SharedExport, BeginsAnewUnlessToldToGoOn) {
  PercentKeeper keeper(20);
  XThread thread(&keeper);
  EXPECT_EQ(0, Make("a", {}, &thread));
  EXPECT_EQ(1, Make("a", {})) << error_.GetText();
  EXPECT_EQ(40, state_.numMade);
  EXPECT_TRUE(IsWhole("a"));
}

TEST_P(SharedExport, GoesOnWithNothingButTheSameSourcesAndOptions) {
  PercentKeeper keeper(20);
  XThread thread(&keeper);
  EXPECT_EQ(0, Make("a", {1, 1, false, "one", ""}, &thread));
  EXPECT_EQ(0, Make("a", GoingOn("other")));
  EXPECT_EQ("The unfinished file was begun with other sources or options", error_);
  what_.minLat += 18.0;
  EXPECT_EQ(0, Make("a", GoingOn("one")));
  EXPECT_EQ("The unfinished file was begun with other sources or options", error_);
  what_.minLat -= 18.0;
  EXPECT_EQ(1, Make("a", GoingOn("one"))) << error_.GetText();
  EXPECT_TRUE(IsWhole("a"));
}

TEST_P(SharedExport, BeginsAnewWhereTheFileIsGoneOrCut) {
  PercentKeeper keeper(20);
  XThread thread(&keeper);
  EXPECT_EQ(0, Make("a", {}, &thread));
  std::filesystem::remove(folder_.Path("a"));
  EXPECT_EQ(1, Make("a", GoingOn())) << error_.GetText();
  EXPECT_EQ(40, state_.numMade);
  EXPECT_TRUE(IsWhole("a"));
  std::filesystem::resize_file(folder_.Path("a"), 60000);
  EXPECT_EQ(1, Make("a", GoingOn())) << error_.GetText();
  EXPECT_TRUE(IsWhole("a"));
}

TEST_P(SharedExport, IsMadeByShardsInAnyOrder) {
  constexpr int kShards = 4;
  std::vector<int> order = {3, 1, 4, 2};
  for (int turn = 0; turn < 2; ++turn) {
    for (const int shard : order) {
      ASSERT_EQ(1, Make("a", PartOf(shard, kShards))) << error_.GetText();
    }
    std::reverse(order.begin(), order.end());
  }
  EXPECT_TRUE(state_.isComplete);
  EXPECT_TRUE(IsWhole("a"));
}

TEST_P(SharedExport, RefusesALevelOfPicturesBeforeTheFinerOneIsComplete) {
  ASSERT_EQ(1, Make("a", PartOf(1, 4))) << error_.GetText();
  if (GetParam()) return;
  EXPECT_EQ(8, state_.numMade);
  EXPECT_EQ(0, state_.waitingLevel);
  EXPECT_EQ(0, Make("a", PartOf(1, 4)));
  EXPECT_EQ("Level 0 is made of level 1, which other shards have not completed", error_);
  for (const int shard : {2, 3, 4}) ASSERT_EQ(1, Make("a", PartOf(shard, 4))) << error_.GetText();
  EXPECT_EQ(1, Make("a", PartOf(1, 4))) << error_.GetText();
}

TEST_P(SharedExport, IsMadeByProcessesOfWhichOneIsKilledAndStartedAgain) {
  const int killAt = 3 + static_cast<int>(TrialCount(9, 3));
  for (int turn = 0; turn < 2; ++turn) {
    std::vector<pid_t> children;
    for (int shard = 1; shard <= 4; ++shard) {
      children.push_back(Start("a", PartOf(shard, 4), turn == 0 && shard == 2 ? killAt : kNever));
    }
    for (const pid_t child : children) Wait(child);
    Wait(Start("a", PartOf(2, 4), kNever));
  }
  for (int shard = 1; shard <= 4; ++shard) Make("a", PartOf(shard, 4));
  EXPECT_TRUE(state_.isComplete) << error_.GetText();
  EXPECT_TRUE(IsWhole("a"));
}

// A file system on a network may show what others have written only when a file is opened.
TEST_P(SharedExport, IsOpenedAnewBeforeALevelThatIsMadeOfTheShards) {
  for (int shard = 1; shard <= 4; ++shard) ASSERT_EQ(1, Make("a", PartOf(shard, 4))) << error_.GetText();
  if (GetParam()) return;
  CountingDisk file(folder_.Path("a"));
  {
    const zrk::ScopedDisk scope(file);
    EXPECT_EQ(1, Make("a", PartOf(1, 4)));
  }
  EXPECT_EQ(2, file.numOpens);
  EXPECT_TRUE(IsWhole("a"));
}

TEST_P(SharedExport, RefusesAShardThatIsNone) {
  for (const auto& [shard, count] : {std::pair{0, 4}, {5, 4}, {1, 0}, {-1, -2}}) {
    EXPECT_EQ(0, Make("a", PartOf(shard, count)));
    EXPECT_EQ("There is no such shard", error_);
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("a")));
}

TEST_P(SharedExport, IsMadeByOneProcessAtATime) {
  std::shared_ptr<zrk::DiskFile> other;
  zrk::DiskOpen how;
  how.write = how.ensure = how.exclusive = true;
  ASSERT_EQ(0, zrk::SystemDisk().Open(folder_.Path("a.done"), how, other));
  EXPECT_EQ(0, Make("a", {}));
  EXPECT_EQ("Another process is making the file, or there can be no record beside it", error_);
}

TEST_P(SharedExport, FailsWithASentenceAtEveryCallOfTheDisk) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  disk.FailCall(kNever, DiskFault::kError);
  ASSERT_EQ(1, Make("a", {}));
  const int numCalls = disk.GetCallCount();
  for (int call = 1; call <= numCalls && !HasFailure(); call += CallStep(call)) {
    disk.FailCall(call, DiskFault::kError);
    if (!Make("a", {})) {
      EXPECT_FALSE(error_.IsEmpty()) << call;
      disk.FailCall(kNever, DiskFault::kError);
      EXPECT_EQ(1, Make("a", GoingOn())) << call << error_.GetText();
    }
    EXPECT_TRUE(state_.isComplete) << call;
    EXPECT_TRUE(IsWhole("a")) << call;
  }
}
