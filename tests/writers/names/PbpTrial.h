#pragma once

#include "XPBPProviderExporter.h"
#include "XReadPolicy.h"
#include "XThread.h"

#include <climits>
#include <vector>

/// Sets the default policy for its lifetime.
class ScopedPolicy {
 public:
  explicit ScopedPolicy(XReadPolicy policy) : previous_(XfnGetDefaultReadPolicy()) { XfnSetDefaultReadPolicy(policy); }
  ~ScopedPolicy() { XfnSetDefaultReadPolicy(previous_); }
  ScopedPolicy(const ScopedPolicy&) = delete;
  ScopedPolicy& operator=(const ScopedPolicy&) = delete;

 private:
  XReadPolicy previous_;
};

/// Keeps what is reported, and asks the operation to stop with one of the reports.
class ReportLog : public XMessageTarget {
 public:
  /// Reports count from 1.
  explicit ReportLog(int stopWith = INT_MAX) : stopWith_(stopWith) {}
  void PostMessage(unsigned, XThread* sender, long value) override {
    reports.push_back(value);
    if (static_cast<int>(reports.size()) == stopWith_) sender->SetState(XThread::kStateStop);
  }
  std::vector<long> reports;

 private:
  int stopWith_;
};

inline std::vector<int> ListOf(const XArray<int>& table) {
  return {table.begin(), table.end()};
}
