#pragma once

#include "Interrupt.h"
#include "XThread.h"

#include <chrono>
#include <string>

/// A bar with the time left on the terminal behind stderr. It shows only where there is one and the work takes longer
/// than a moment, and is wiped away at the end.
class ProgressBar : public XMessageTarget {
 public:
  explicit ProgressBar(std::string title);
  ~ProgressBar() override;
  void PostMessage(unsigned message, XThread* sender, long value) override;

 private:
  void Draw(long percent);

  using Clock = std::chrono::steady_clock;

  std::string title_;
  bool isTerminal_;
  bool isShown_ = false;
  long lastPercent_ = -1;
  Clock::time_point start_ = Clock::now();
};

/// One job of the program: its progress on the terminal, and its ear for signals.
class Job {
 public:
  explicit Job(const std::string& title) : bar_(title), thread_(&bar_), stoppable_(thread_) {}
  XThread* GetThread() { return &thread_; }
  bool WasStopped() const { return thread_.GetState() != XThread::kStateRun; }

 private:
  ProgressBar bar_;
  XThread thread_;
  StoppableJob stoppable_;
};
