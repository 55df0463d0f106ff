#include "base/Parallel.h"

#include "XSystem.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace zrk {
namespace {

class Crew {
 public:
  Crew(int count, const std::function<bool(int, int)>& work) : count_(count), work_(work) {}

  void Work(int worker) noexcept {
    try {
      for (int index = next_++; index < count_ && isGood_; index = next_++) {
        if (!work_(index, worker)) isGood_ = false;
      }
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!thrown_) thrown_ = std::current_exception();
      isGood_ = false;
    }
  }
  bool Finish() {
    if (thrown_) std::rethrow_exception(thrown_);
    return isGood_;
  }

 private:
  int count_;
  const std::function<bool(int, int)>& work_;
  std::atomic<int> next_ = 0;
  std::atomic<bool> isGood_ = true;
  std::mutex mutex_;
  std::exception_ptr thrown_;
};

}  // namespace

int CountWorkers(int count) {
  return std::clamp(XfnGetWorkerCount(), 1, std::max(count, 1));
}

bool ForEachInParallel(int numWorkers, int count, const std::function<bool(int, int)>& work) {
  Crew crew(count, work);
  {
    std::vector<std::jthread> others;
    try {
      for (int worker = 1; worker < std::min(numWorkers, count); ++worker) {
        others.emplace_back([&crew, worker] { crew.Work(worker); });
      }
    } catch (const std::system_error&) {
      // A machine that has no thread left does the work with those there are.
    }
    crew.Work(0);
  }
  return crew.Finish();
}

}  // namespace zrk
