#pragma once

#include "XThread.h"

#include <chrono>
#include <string>

/// A bar with the time left on the terminal behind stderr. It shows only where there is one and the work takes longer
/// than a moment, and is wiped away at the end.
class ProgressBar : public XMessageTarget {
 public:
  explicit ProgressBar(std::string title);
  ~ProgressBar() override;
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  void PostMessage(unsigned message, XThread* sender, long value) override;

 private:
  using Clock = std::chrono::steady_clock;

  void Draw(long percent, double seconds);

  std::string title_;
  bool isTerminal_;
  bool isShown_ = false;
  long lastPercent_ = -1;
  std::size_t width_ = 0;  // of the terminal when the bar was drawn
  double lastLook_ = 0.0;  // at the width, in seconds from the start
  Clock::time_point start_ = Clock::now();
};
