// The line that tells how long a job took. It speaks of samples in and bytes out, so that compressed files can be
// compared with plain ones.

#include "WorkReport.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace {

std::string Print(const char* format, double first, double second) {
  char text[64];
  std::snprintf(text, sizeof text, format, first, second);
  return text;
}

}  // namespace

/// Units are decimal, as on disks. A value that would be printed as 1000.0 goes to the next unit.
std::string FormatBytes(std::int64_t count) {
  if (count < 1000) return std::to_string(count) + (count == 1 ? " byte" : " bytes");
  double value = static_cast<double>(count) / 1000.0;
  const char* unit = "kB";
  for (const char* larger : {"MB", "GB", "TB"}) {
    if (value < 999.95) break;
    value /= 1000.0;
    unit = larger;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %s", value, unit);
  return text;
}

void WorkReport::Finish(const std::string& path) {
  seconds_ = std::chrono::duration<double>(Clock::now() - start_).count();
  std::error_code failure;
  const std::uintmax_t size = std::filesystem::file_size(path, failure);
  // A pipe has no size, and nothing failed where there is none.
  fileBytes_ = failure ? 0 : static_cast<std::int64_t>(size);
}

/// The shortest jobs take no time that a clock shows, and nothing is divided by 0.
std::string WorkReport::GetText() const {
  const double megabytes = static_cast<double>(sampleBytes_) / 1e6;
  return FormatBytes(fileBytes_) +
         Print(" in %.2f s, %.0f MB/s of samples", seconds_, megabytes / std::max(seconds_, 1e-6));
}
