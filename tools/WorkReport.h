#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// A number of bytes as people say it: "812 bytes", "1.2 MB".
std::string FormatBytes(std::int64_t count);

/// Measures how long a file took to make, and from how many bytes of samples.
class WorkReport {
 public:
  /// The time runs from here.
  explicit WorkReport(std::int64_t sampleBytes) : sampleBytes_(sampleBytes) {}
  WorkReport() : WorkReport(0) {}

  /// Stops the time and looks up the size of the file.
  void Finish(const std::string& path);
  /// As "1.2 MB in 0.03 s, 410 MB/s of samples".
  std::string GetText() const;

 private:
  using Clock = std::chrono::steady_clock;

  std::int64_t sampleBytes_;
  std::int64_t fileBytes_ = 0;
  Clock::time_point start_ = Clock::now();
  double seconds_ = 0.0;
};
