// What the bar of a job shows at its end. The bar belongs to a terminal, and so the errors of this program go to one
// for the time of a job.

#include "Job.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <thread>

namespace {

/// Runs a job and answers what a terminal shows of it.
std::string ShowJob(const Work& work) {
  int terminal = -1, line = -1;
  EXPECT_EQ(0, ::openpty(&terminal, &line, nullptr, nullptr, nullptr));
  const int errors = ::dup(STDERR_FILENO);
  ::dup2(line, STDERR_FILENO);
  RunJob("a", work);
  ::dup2(errors, STDERR_FILENO);
  std::array<char, 4096> shown;
  const ssize_t count = ::read(terminal, shown.data(), shown.size());
  for (const int file : {terminal, line, errors}) ::close(file);
  return std::string(shown.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
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
