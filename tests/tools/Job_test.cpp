// What the bar of a job shows at its end. The bar belongs to a terminal, and so the errors of this program go to one
// for the time of a job.

#include "Job.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <thread>

namespace {

/// What has been written to a terminal. Its far end gets the pieces one after the other, and a while passes between.
std::string ReadShown(int terminal) {
  std::string shown;
  std::array<char, 4096> piece;
  for (pollfd waiting{terminal, POLLIN, 0}; ::poll(&waiting, 1, 200) > 0 && (waiting.revents & POLLIN) != 0;) {
    const ssize_t count = ::read(terminal, piece.data(), piece.size());
    if (count <= 0) break;
    shown.append(piece.data(), static_cast<std::size_t>(count));
  }
  return shown;
}

/// Runs a job and answers what a terminal shows of it.
std::string ShowJob(const Work& work) {
  int terminal = -1, line = -1;
  EXPECT_EQ(0, ::openpty(&terminal, &line, nullptr, nullptr, nullptr));
  const int errors = ::dup(STDERR_FILENO);
  ::dup2(line, STDERR_FILENO);
  RunJob("a", work);
  ::dup2(errors, STDERR_FILENO);
  const std::string shown = ReadShown(terminal);
  for (const int file : {terminal, line, errors}) ::close(file);
  return shown;
}

/// Does 95 percent of its work, and answers whether that is to count as all of it.
bool WorkUpTo95(XThread& thread, bool isDone) {
  std::this_thread::sleep_for(std::chrono::milliseconds(600));  // shorter work shows no bar
  thread.SetPercentRange(0, 95);
  thread.CallbackPercent(100.0);
  return isDone;
}

TEST(Job, ThatIsDoneEndsAt100WhereItsWorkDoesNot) {
  const std::string shown = ShowJob([](XThread& thread, std::string&) { return WorkUpTo95(thread, true); });
  EXPECT_NE(std::string::npos, shown.find("] 95 %")) << shown;
  EXPECT_NE(std::string::npos, shown.find("] 100 %")) << shown;
}

TEST(Job, ThatFailsDoesNotEndAt100) {
  const std::string shown = ShowJob([](XThread& thread, std::string&) { return WorkUpTo95(thread, false); });
  EXPECT_NE(std::string::npos, shown.find("] 95 %")) << shown;
  EXPECT_EQ(std::string::npos, shown.find("] 100 %")) << shown;
}

}  // namespace
