// The bar on the terminal. It is drawn on stderr, on one line that is drawn over and wiped away at the end. Nothing is
// drawn where stderr is no terminal, or while the work is younger than half a second.

#include "Progress.h"

#include "Notes.h"
#include "output/Text.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

/// Short jobs are over before a bar could be read.
constexpr double kSecondsBeforeShown = 0.5;
/// How often the terminal is asked for its width while the percentage stays.
constexpr double kSecondsBetweenLooks = 0.1;
constexpr long kBarCells = 30;

/// A terminal that does not tell its width is taken to have 80 columns.
std::size_t TerminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string FormatSeconds(double seconds) {
  const long whole = std::lround(seconds);
  char text[32];
  std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
  return text;
}

/// The time left is estimated from the time taken since the first percentage, so there is none at that.
std::string FormatBar(long first, long percent, double seconds) {
  const auto cells = static_cast<std::size_t>(percent * kBarCells / 100);
  std::string bar = " [";
  bar.append(cells, '#').append(kBarCells - cells, '.').append("] ").append(std::to_string(percent)).append(" %");
  if (percent <= first) return bar;
  const double left = seconds * static_cast<double>(100 - percent) / static_cast<double>(percent - first);
  return bar.append(", ").append(FormatSeconds(left)).append(" left");
}

}  // namespace

ProgressBar::ProgressBar(std::string title, const Pace* pace)
    : title_(std::move(title)), pace_(pace), isTerminal_(!IsQuiet() && isatty(STDERR_FILENO)) {}

/// The line is wiped, so that it does not stay among the output.
ProgressBar::~ProgressBar() {
  if (isShown_) std::fputs("\r\033[K", stderr);
}

/// Each percentage is drawn once, however often it is posted, unless the terminal has another width by now.
void ProgressBar::PostMessage(unsigned message, XThread*, long value) {
  if (message != kXThreadMessage || !isTerminal_) return;
  if (firstPercent_ < 0) firstPercent_ = pace_ ? value : 0;
  const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  const bool isNew = value != lastPercent_;
  if (seconds < kSecondsBeforeShown || (!isNew && seconds < lastLook_ + kSecondsBetweenLooks)) return;
  lastLook_ = seconds;
  const std::size_t width = TerminalWidth();
  if (!isNew && width == width_) return;
  lastPercent_ = value;
  width_ = width;
  Draw(std::clamp(value, 0L, 100L), seconds);
}

/// What was done before the bar began is left out.
std::string ProgressBar::TellPace(long percent, double seconds) const {
  if (!pace_ || percent <= firstPercent_ || seconds <= 0.0) return "";
  const double made = static_cast<double>(pace_->total) * static_cast<double>(percent - firstPercent_) / 100.0;
  return ", " + std::to_string(std::lround(made / seconds)) + " " + pace_->unit + "/s";
}

/// A line that is too long would wrap and could not be wiped away, so the title gives way to the bar.
void ProgressBar::Draw(long percent, double seconds) {
  const std::size_t room = width_ - 1;
  const std::string bar = Shortened(FormatBar(firstPercent_, percent, seconds) + TellPace(percent, seconds), room);
  const std::string title = Shortened(title_, room - bar.size());
  std::fprintf(stderr, "\r%s%s\033[K", title.c_str(), bar.c_str());
  isShown_ = true;
}
