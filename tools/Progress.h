#pragma once

#include "XThread.h"

#include <chrono>
#include <cstdint>
#include <string>

/// What the work is counted in: "tiles", and how many of them the whole of it is.
struct Pace {
  const char* unit;
  std::int64_t total;
};

/// A bar with the time left on the terminal behind stderr. It shows only where there is one and the work takes longer
/// than a moment, and is wiped away at the end.
class ProgressBar : public XMessageTarget {
 public:
  /// With a pace, which may be null and has to outlive the bar, it also tells how many are made a second.
  explicit ProgressBar(std::string title, const Pace* pace = nullptr);
  ~ProgressBar() override;
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  void PostMessage(unsigned message, XThread* sender, long value) override;

 private:
  using Clock = std::chrono::steady_clock;

  void Draw(long percent, double seconds);

  std::string TellPace(long percent, double seconds) const;

  std::string title_;
  const Pace* pace_;
  bool isTerminal_;
  bool isShown_ = false;
  long lastPercent_ = -1;
  long firstPercent_ = -1;  // work that is gone on with does not begin at 0
  std::size_t width_ = 0;   // of the terminal when the bar was drawn
  double lastLook_ = 0.0;   // at the width, in seconds from the start
  Clock::time_point start_ = Clock::now();
};
