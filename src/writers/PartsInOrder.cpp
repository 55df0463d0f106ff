#include "writers/PartsInOrder.h"

#include <utility>

namespace zrk {

/// Whoever has the part that is next never waits, so that somebody always goes on.
bool PartsInOrder::Add(int index, Bytes part) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return isGivenUp_ || index <= next_ + numAhead_; });
  if (!isGivenUp_) parts_.emplace(index, std::move(part));
  while (!isGivenUp_ && !parts_.empty() && parts_.begin()->first == next_) {
    isGivenUp_ = !sink_(next_, parts_.begin()->second);
    parts_.erase(parts_.begin());
    ++next_;
  }
  changed_.notify_all();
  return !isGivenUp_;
}

void PartsInOrder::GiveUp() {
  const std::lock_guard lock(mutex_);
  isGivenUp_ = true;
  changed_.notify_all();
}

}  // namespace zrk
