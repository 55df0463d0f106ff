#include "base/Parallel.h"

#include "base/ReadError.h"
#include "XSystem.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace zrk {
namespace {

thread_local int numSharedWorks = 0;

/// What the workers of one call share. Indices are handed out one by one and not in equal parts beforehand, because one
/// piece of work may take much longer than another. Nothing may leave a thread by an exception, which would end the
/// process: the first one is kept and thrown again on the caller's thread.
class Crew {
 public:
  Crew(int numWorkers, int count, const std::function<bool(int, int)>& work)
      : isShared_(std::min(numWorkers, count) > 1), count_(count), work_(work) {}

  void Work(int worker) noexcept {
    numSharedWorks += isShared_;
    WorkOn(worker);
    numSharedWorks -= isShared_;
  }
  // Called when all other workers have ended, so that nothing here needs the lock.
  bool Finish() {
    if (thrown_) std::rethrow_exception(thrown_);
    AdoptReadError(readError_);
    return isGood_;
  }

 private:
  /// Takes indices until none is left.
  void WorkOn(int worker) noexcept {
    try {
      for (int index = next_++; index < count_ && isGood_; index = next_++) {
        if (!work_(index, worker)) Fail(worker);
      }
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!thrown_) thrown_ = std::current_exception();
      isGood_ = false;
    }
  }

  /// Why a read failed is known on the thread that has read, which is about to end unless it is the caller's.
  void Fail(int worker) {
    isGood_ = false;
    if (worker == 0) return;
    const std::lock_guard lock(mutex_);
    if (readError_.empty()) readError_ = CopyReadError();
  }

  bool isShared_;
  int count_;
  const std::function<bool(int, int)>& work_;
  std::atomic<int> next_ = 0;
  std::atomic<bool> isGood_ = true;
  std::mutex mutex_;
  std::exception_ptr thrown_;
  std::string readError_;
};

}  // namespace

bool IsSharingWork() {
  return numSharedWorks > 0;
}

/// The setting may be larger than the work has pieces, and a thread without a piece would be made for nothing.
int CountWorkers(int count) {
  return std::clamp(XfnGetWorkerCount(), 1, std::max(count, 1));
}

/// The end of the inner block waits for all threads. Only then may the crew be asked how it went.
bool ForEachInParallel(int numWorkers, int count, const std::function<bool(int, int)>& work) {
  Crew crew(numWorkers, count, work);
  {
    std::vector<std::jthread> others;
    try {
      for (int worker = 1; worker < std::min(numWorkers, count); ++worker) {
        others.emplace_back([&crew, worker] { crew.Work(worker); });
      }
    } catch (const std::system_error&) {
      // A machine that has no thread left does the work with those that it gave.
    }
    crew.Work(0);
  }
  return crew.Finish();
}

}  // namespace zrk
