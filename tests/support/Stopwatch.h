#pragma once

#include <ctime>

/// Seconds that the processor has worked for this program since the watch was made. What else runs on the machine does
/// not count, nor does waiting.
class Stopwatch {
 public:
  double Seconds() const { return static_cast<double>(std::clock() - begin_) / CLOCKS_PER_SEC; }

 private:
  std::clock_t begin_ = std::clock();
};
