// Exports that get the name of their target when they are whole: what stands where at any moment, and who begins anew.

#include "ByteFlips.h"
#include "FaultyDisk.h"
#include "GlobeSources.h"
#include "LevelDataset.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <filesystem>

namespace {

constexpr int kNoCall = 1 << 30;

/// Either kind of export: 8 tiles and 32.
class PublishedExport : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    sources_.Add<std::uint8_t>({-36.0, 18.0, 1.0, 1.0, 72, 36}, [](int x, int y) { return (x * 3 + y * 7) % 250; })
        .SetReadPolicy(kReadExact);
    what_ = {GetParam(), 0, 1, -36.0, -18.0, GetParam() ? 36.0 : 35.9, GetParam() ? 18.0 : 17.9, 0, GetParam()};
    XString error;
    EXPECT_EQ(1, XfnContinueGlobeExport(folder_.Path("whole"), &sources_.manager, what_, {}, state_, error, nullptr));
    whole_ = ReadBytes(folder_.Path("whole"));
  }

  int Make(int shard, int count, const XString& key = "", XThread* thread = nullptr) {
    error_ = "";
    return XfnContinueGlobeExport(folder_.Path("part"), &sources_.manager, what_,
                                  {shard, count, true, key, folder_.Path("target")}, state_, error_, thread);
  }
  /// Both shards, as often as levels wait for each other.
  void MakeAll(const XString& key = "") {
    for (const int shard : {1, 2, 1}) EXPECT_EQ(1, Make(shard, 2, key)) << error_.GetText();
  }
  bool Has(const std::string& name) const { return std::filesystem::exists(folder_.Path(name)); }
  bool IsWhole() const { return ReadBytes(folder_.Path("target")) == whole_; }

  /// Runs the last call of an export in a process of its own, which is killed at a call of the disk. Whether it was.
  bool DiesAt(int call, int count) {
    const pid_t parent = getpid(), child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (getppid() != parent) _exit(2);
      FaultyDisk disk;
      const zrk::ScopedDisk scope(disk);
      disk.DieAtCall(call);
      _exit(Make(1, count) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status);
  }
  void MakeAllButTheLastCall(int count);
  void ExpectNothingLost(int count);

  TempFolder folder_;
  GlobeSources sources_;
  tagXGlobeExport what_;
  tagXGlobeState state_;
  XString error_;
  std::vector<unsigned char> whole_;
};

INSTANTIATE_TEST_SUITE_P(OfBothKinds, PublishedExport, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Heights" : "Pictures"; });

/// Of shards. What one process makes is made by the last call.
void PublishedExport::MakeAllButTheLastCall(int count) {
  for (const char* name : {"part", "part.done", "target"}) std::filesystem::remove(folder_.Path(name));
  if (count == 1) return;
  if (!GetParam()) {
    ASSERT_EQ(1, Make(1, count));
  }
  ASSERT_EQ(1, Make(2, count));
  ASSERT_FALSE(state_.isComplete);
}

/// Kills the process that makes the last tiles at each of its last calls, and goes on.
void PublishedExport::ExpectNothingLost(int count) {
  MakeAllButTheLastCall(count);
  int numCalls = 0;
  {
    FaultyDisk disk;
    const zrk::ScopedDisk scope(disk);
    disk.FailCall(kNoCall, DiskFault::kError);
    ASSERT_EQ(1, Make(1, count)) << error_.GetText();
    numCalls = disk.GetCallCount();
  }
  const int step = TrialStep() > 1 ? 3 : 1;
  for (int call = std::max(1, numCalls - 9); call <= numCalls + 1 && !HasFailure(); call += step) {
    MakeAllButTheLastCall(count);
    const bool wasKilled = DiesAt(call, count), wasThere = Has("target");
    EXPECT_EQ(call <= numCalls, wasKilled) << call;
    EXPECT_TRUE(!wasThere || IsWhole()) << call;
    EXPECT_EQ(1, Make(1, count)) << call << error_.GetText();
    EXPECT_TRUE(state_.isComplete) << call;
    EXPECT_TRUE(!wasThere || !wasKilled || state_.numMade == 0) << call;
    EXPECT_TRUE(IsWhole() && !Has("part")) << call;
    EXPECT_EQ(count > 1, Has("part.done")) << call;
  }
}

}  // namespace

TEST_P(PublishedExport, HasTheNameOfItsTargetAndLeavesNothingElse) {
  EXPECT_EQ(1, Make(1, 1)) << error_.GetText();
  EXPECT_TRUE(state_.isComplete);
  EXPECT_TRUE(IsWhole());
  EXPECT_FALSE(Has("part") || Has("part.done"));
}

TEST_P(PublishedExport, LosesNothingWhereItIsKilledAtTheEnd) {
  ExpectNothingLost(1);
}

TEST_P(PublishedExport, LosesNothingWhereAShardIsKilledAtTheEnd) {
  ExpectNothingLost(2);
}

TEST_P(PublishedExport, IsNotBegunAnewByAShardThatComesWhenAllIsDone) {
  MakeAll();
  for (const int shard : {1, 2}) {
    ASSERT_EQ(1, Make(shard, 2)) << error_.GetText();
    EXPECT_TRUE(state_.isComplete);
    EXPECT_EQ(0, state_.numMade);
  }
  EXPECT_TRUE(IsWhole());
  EXPECT_FALSE(Has("part"));
  // The record has given back the room of its tiles.
  EXPECT_EQ(64u, std::filesystem::file_size(folder_.Path("part.done")));
}

TEST_P(PublishedExport, BeginsAnewOverTheWholeFileOfOtherSources) {
  MakeAll("one");
  ASSERT_EQ(1, Make(1, 2, "other")) << error_.GetText();
  EXPECT_GT(state_.numMade, 0);
  EXPECT_TRUE(Has("part"));
  EXPECT_TRUE(IsWhole());
}

TEST_P(PublishedExport, BeginsAnewWhereAnotherFileOfTheSameLengthHasTheName) {
  MakeAll();
  std::filesystem::remove(folder_.Path("target"));
  folder_.Write("target", std::vector<unsigned char>(whole_.size()));
  ASSERT_EQ(1, Make(1, 2)) << error_.GetText();
  EXPECT_GT(state_.numMade, 0);
  for (const int shard : {2, 1}) EXPECT_EQ(1, Make(shard, 2)) << error_.GetText();
  EXPECT_TRUE(IsWhole());
}

TEST_P(PublishedExport, RefusesAnotherWhileItIsUnfinished) {
  ASSERT_EQ(1, Make(1, 2, "one"));
  EXPECT_EQ(0, Make(2, 2, "other"));
  EXPECT_EQ("The unfinished file was begun with other sources or options", error_);
}

TEST_P(PublishedExport, StaysWithItsTilesWhereItCannotGetTheName) {
  std::filesystem::create_directory(folder_.Path("target"));
  EXPECT_EQ(0, Make(1, 1));
  EXPECT_EQ("The finished file can't take the name of its target", error_);
  std::filesystem::remove(folder_.Path("target"));
  EXPECT_EQ(1, Make(1, 1)) << error_.GetText();
  EXPECT_EQ(0, state_.numMade);
  EXPECT_TRUE(IsWhole());
}

TEST_P(PublishedExport, LeavesNothingWhereItIsStoppedBeforeTheFirstTile) {
  PercentKeeper keeper(1);
  XThread thread(&keeper);
  EXPECT_EQ(0, Make(1, 1, "", &thread));
  EXPECT_TRUE(error_.IsEmpty());
  EXPECT_FALSE(Has("part") || Has("part.done") || Has("target"));
}
