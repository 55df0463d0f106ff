#pragma once

#include "XThread.h"

namespace zrk {

/// Takes the percentages of a thread into its hands and gives the caller's range back at the end. The thread may be
/// null.
class PercentRange {
 public:
  explicit PercentRange(XThread* thread) : thread_(thread) {
    if (thread_) thread_->GetPercentRange(first_, last_);
  }
  ~PercentRange() { Set(first_, last_); }
  PercentRange(const PercentRange&) = delete;
  PercentRange& operator=(const PercentRange&) = delete;

  /// The next step fills so much of the whole.
  void Set(int first, int last) {
    if (thread_) thread_->SetPercentRange(first, last);
  }
  /// The next step fills so much of the caller's range.
  void SetShare(int first, int last) {
    const auto place = [this](int percent) {
      return static_cast<int>(first_ + (static_cast<double>(last_) - first_) * percent / 100.0);
    };
    Set(place(first), place(last));
  }

 private:
  XThread* thread_;
  int first_ = 0;
  int last_ = 100;
};

}  // namespace zrk
