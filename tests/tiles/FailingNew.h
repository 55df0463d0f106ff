#pragma once

#include <cstddef>

/// While one lives, one request of its thread for memory fails: the `nth` that goes through `new`, counted from 1.
/// There is one at a time on a thread. Memory of a larger alignment than usual is always granted.
class FailingNew {
 public:
  explicit FailingNew(int nth);
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;

  /// Whether so many requests were made that one has failed.
  bool HasFailed() const;
};

/// Calls `work` again and again, each time with the next request for memory failing, until none is left that could
/// fail. Answers how many could.
template <class Work>
int FailEachRequest(const Work& work) {
  for (int nth = 1;; ++nth) {
    bool hasFailed = false;
    work([&](auto&& call) {
      const FailingNew failing(nth);
      auto result = call();
      hasFailed = failing.HasFailed();
      return result;
    });
    if (!hasFailed) return nth - 1;
  }
}
