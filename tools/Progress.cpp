#include "Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <cstdio>

namespace {

constexpr double kSecondsBeforeShown = 0.5;
constexpr int kBarCells = 30;

std::size_t TerminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string FormatSeconds(double seconds) {
  const long whole = static_cast<long>(seconds + 0.5);
  char text[32];
  std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
  return text;
}

}  // namespace

ProgressBar::ProgressBar(std::string title) : title_(std::move(title)), isTerminal_(isatty(STDERR_FILENO)) {}

ProgressBar::~ProgressBar() {
  if (isShown_) std::fputs("\r\033[K", stderr);
}

void ProgressBar::PostMessage(unsigned message, XThread*, long value) {
  if (message != kXThreadMessage || !isTerminal_ || value == lastPercent_) return;
  lastPercent_ = value;
  Draw(std::clamp(value, 0L, 100L));
}

void ProgressBar::Draw(long percent) {
  const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  if (seconds < kSecondsBeforeShown) return;
  const auto cells = static_cast<std::size_t>(percent * kBarCells / 100);
  std::string line = title_ + " [";
  line.append(cells, '#').append(kBarCells - cells, '.').append("] ").append(std::to_string(percent)).append(" %");
  if (percent > 0) {
    const double left = seconds * static_cast<double>(100 - percent) / static_cast<double>(percent);
    line.append(", ").append(FormatSeconds(left)).append(" left");
  }
  line.resize(std::min(line.size(), TerminalWidth() - 1));
  std::fprintf(stderr, "\r%s\033[K", line.c_str());
  isShown_ = true;
}
