#include "core/level/BuildProgress.h"

namespace zrk {

bool BuildProgress::Report() {
  // Other threads add rows meanwhile. One look at the count lets the loop end however fast they are.
  const std::int64_t rowsDone = rowsDone_;
  for (; nextStep_ < numSteps_ && RowsBefore(nextStep_) <= rowsDone; ++nextStep_) {
    if (IsStopped()) return false;
    const auto percent = static_cast<int>(nextStep_ * percentSpan_ / numSteps_);
    if (thread_) thread_->CallbackPercent(percentStart_ + percent);
  }
  return !IsStopped();
}

}  // namespace zrk
