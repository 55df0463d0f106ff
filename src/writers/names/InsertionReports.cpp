#include "writers/names/InsertionReports.h"

#include "XThread.h"

#include <algorithm>

namespace zrk {

InsertionReports::InsertionReports(int count, XThread* thread)
    : count_(count), step_(std::max(count / 100, 1)), thread_(thread) {}

/// The last record has a report of its own, whether or not a step ends there.
void InsertionReports::MoveOn() {
  const int last = count_ - 1;
  if (next_ == last) {
    next_ = count_;
  } else {
    next_ = last - next_ < step_ ? last : next_ + step_;
  }
}

bool InsertionReports::Report() {
  if (thread_->GetState() != XThread::kStateRun) return false;
  thread_->CallbackPercent(100.0 * (next_ + 1.0) / count_);
  return true;
}

bool InsertionReports::Reach(double share) {
  if (!thread_) return true;
  const double reached = share * (count_ - 1);
  while (next_ < count_ && next_ <= reached) {
    if (!Report()) return false;
    MoveOn();
  }
  return true;
}

}  // namespace zrk
