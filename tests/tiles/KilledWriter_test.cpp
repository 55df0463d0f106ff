// A process that is killed while it makes or changes a store. The file opens afterwards or has no header, and tiles
// that were written before are whole.

#include "ByteFlips.h"
#include "TempFolder.h"
#include "XPBEFile.h"
#include "XPBIFile.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <thread>

namespace {

constexpr int kSideMade = 8;
constexpr unsigned kTilesMade = kSideMade * kSideMade;
constexpr int kMoments = 50;

/// The bytes of a tile that is told by one number.
std::vector<unsigned char> BlocksOf(unsigned number) {
  return std::vector<unsigned char>(32768, static_cast<unsigned char>(number % 255 + 1));
}

/// A count that outlives the process that counts.
class SharedCount {
 public:
  SharedCount()
      : count_(new (mmap(nullptr, sizeof(std::atomic<unsigned>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1,
                         0)) std::atomic<unsigned>(0)) {}
  ~SharedCount() { munmap(count_, sizeof(std::atomic<unsigned>)); }
  SharedCount(const SharedCount&) = delete;
  SharedCount& operator=(const SharedCount&) = delete;
  std::atomic<unsigned>& operator*() const { return *count_; }

 private:
  std::atomic<unsigned>* count_;
};

using Count = std::atomic<unsigned>;

/// When the work is killed: a while after so many tiles are done.
struct Moment {
  unsigned numDone;
  std::chrono::microseconds after;
};

/// Waits for the moment, or until the child has ended, which is left to be waited for.
void Await(pid_t child, const Count& numDone, const Moment& moment) {
  siginfo_t end{};
  while (numDone < moment.numDone && end.si_pid == 0) {
    waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOHANG | WNOWAIT);
  }
  std::this_thread::sleep_for(moment.after);
}

/// Starts `work` in a process of its own, kills it at a moment unless it may end, and waits for its end. Whether it was
/// killed.
bool RunAndKill(const std::function<void(Count&)>& work, Count& numDone, std::optional<Moment> moment) {
  numDone = 0;
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == parent) work(numDone);
    _exit(0);
  }
  if (moment) {
    Await(child, numDone, *moment);
    kill(child, SIGKILL);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status);
}

/// Kills the work at moments spread over it, and looks at what is left each time.
void KillAtAllMoments(const std::function<void(Count&)>& work, const std::function<void(unsigned numDone)>& inspect) {
  const SharedCount numDone;
  EXPECT_FALSE(RunAndKill(work, *numDone, std::nullopt)) << "the work ends where nobody kills it";
  inspect(*numDone);
  std::mt19937 random(7);
  int numKilled = 0;
  for (int i = 0; i < TrialCount(kMoments, 12) && !testing::Test::HasFailure(); ++i) {
    const auto numTiles = static_cast<unsigned>(random() % kTilesMade);
    const std::chrono::microseconds after(random() % 500);
    numKilled += RunAndKill(work, *numDone, Moment{numTiles, after}) ? 1 : 0;
    inspect(*numDone);
  }
  EXPECT_GT(numKilled, 0);
}

/// Tells that a tile is done, and rests for an instant. A process that waits for its turn on a busy machine is quick
/// enough then to kill this one before the end.
void TellDone(Count& numDone, unsigned count) {
  numDone = count;
  std::this_thread::sleep_for(std::chrono::microseconds(100));
}

/// Every tile that was told to be done has its bytes.
void ExpectTiles(const XPBIFile& store, unsigned numDone, unsigned seed) {
  for (unsigned i = 0; i < numDone; ++i) {
    int size = 0;
    const std::unique_ptr<unsigned char[]> tile(
        store.GetDXTdata(3, static_cast<int>(i / kSideMade), static_cast<int>(i % kSideMade), size));
    ASSERT_TRUE(tile) << i;
    ASSERT_EQ(0, std::memcmp(tile.get(), BlocksOf(i + seed).data(), 32768)) << i;
  }
}

void WriteTiles(XPBIFile& store, Count& numDone, unsigned seed) {
  for (unsigned i = 0; i < kTilesMade; ++i) {
    std::vector<unsigned char> tile = BlocksOf(i + seed);
    if (!store.UpdateDXT(3, static_cast<int>(i / kSideMade), static_cast<int>(i % kSideMade), tile.data())) _exit(1);
    TellDone(numDone, i + 1);
  }
}

}  // namespace

TEST(KilledWriter, LeavesAnImageStoreInTheMakingWithItsTilesOrWithoutAHeader) {
  const TempFolder folder;
  const XString path = folder.Path("a.pbi");
  int numOpened = 0;
  const auto make = [&](Count& numDone) {
    XPBIFile store(1.0, 18.0);
    store.AddLevel(3, 0, 0, kSideMade - 1, kSideMade - 1, 256, 256, kDxt1);
    if (!store.Create(path)) _exit(1);
    WriteTiles(store, numDone, 0);
  };
  KillAtAllMoments(make, [&](unsigned numDone) {
    XPBIFile store;
    const bool isOpen = store.OpenFile(path, 0) && store.IsUsable();
    EXPECT_TRUE(isOpen || numDone == 0);
    if (!isOpen) return;
    ++numOpened;
    ASSERT_EQ(1, store.GetFileInfo()->GetNumberOfLevel());
    EXPECT_EQ(51200 + kTilesMade * 32768, store.GetFileInfo()->GetFileSize());
    ExpectTiles(store, numDone, 0);
  });
  EXPECT_GT(numOpened, 0);
}

TEST(KilledWriter, LeavesAChangedImageStoreWithOldTilesAndNewOnes) {
  const TempFolder folder;
  const XString path = folder.Path("a.pbi");
  const SharedCount all;
  {
    XPBIFile store(1.0, 18.0);
    store.AddLevel(3, 0, 0, kSideMade - 1, kSideMade - 1, 256, 256, kDxt1);
    ASSERT_TRUE(store.Create(path));
    WriteTiles(store, *all, 0);
  }
  const auto change = [&](Count& numDone) {
    XPBIFile store;
    if (!store.OpenFile(path, 2) || !store.IsUsable()) _exit(1);
    WriteTiles(store, numDone, 100);
  };
  KillAtAllMoments(change, [&](unsigned numDone) {
    XPBIFile store;
    ASSERT_TRUE(store.OpenFile(path, 0) && store.IsUsable());
    ExpectTiles(store, numDone, 100);
  });
}

std::vector<float> HeightsMade(unsigned number) {
  return std::vector<float>(961 * 4, static_cast<float>(number + 1));
}

void MakeElevationStore(const XString& path, Count& numDone) {
  XPBEFile store(2.0, 18.0);
  store.AddLevel(3, 0, 0, kSideMade - 1, kSideMade - 1, 31, 31);
  store.Create(path);
  for (unsigned i = 0; store.IsUsable() && i < kTilesMade; ++i) {
    if (!store.Update(3, static_cast<int>(i / kSideMade), static_cast<int>(i % kSideMade), HeightsMade(i).data()))
      _exit(1);
    TellDone(numDone, i + 1);
  }
}

TEST(KilledWriter, LeavesAnElevationStoreInTheMakingWithItsTilesOrWithoutAHeader) {
  const TempFolder folder;
  const XString path = folder.Path("a.pbe");
  const auto make = [&](Count& numDone) { MakeElevationStore(path, numDone); };
  KillAtAllMoments(make, [&](unsigned numDone) {
    const XPBEFile store(path, 0);
    EXPECT_TRUE(store.GetFileInfo() || numDone == 0);
    for (unsigned i = 0; i < numDone; ++i) {
      int size = 0;
      const std::unique_ptr<float[]> tile(
          store.GetElevationData(3, static_cast<int>(i / kSideMade), static_cast<int>(i % kSideMade), size));
      ASSERT_TRUE(tile);
      ASSERT_EQ(HeightsMade(i), std::vector<float>(tile.get(), tile.get() + 961 * 4));
    }
  });
}
