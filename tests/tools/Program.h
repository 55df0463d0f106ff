#pragma once

#include "BmpBuilder.h"
#include "RunProgram.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <set>
#include <thread>

#include <sys/resource.h>

/// Runs zrkio in a folder of the test's own.
class Zrkio : public testing::Test {
 protected:
  static ProgramResult Run(std::vector<std::string> arguments, const ProgramOptions& options = {}) {
    arguments.insert(arguments.begin(), ZRK_PROGRAM);
    return RunProgram(arguments, options);
  }
  static ProgramResult RunAtTerminal(std::vector<std::string> arguments, const Typist& typist = {},
                                     const Resizer& resizer = {}) {
    arguments.insert(arguments.begin(), ZRK_PROGRAM);
    return RunOnTerminal(arguments, typist, resizer);
  }
  std::string Write(const std::string& name, const std::vector<unsigned char>& bytes) {
    folder_.Write(name, bytes);
    return folder_.Path(name);
  }
  /// A bitmap of 24 bits that takes no room on disk, and of which reading takes a while.
  std::string WriteHuge(const std::string& name, int size) {
    std::vector<unsigned char> bytes = BmpBuilder().Size(1, 1).Claim(size, size).Build();
    bytes.resize(54);
    Write(name, bytes);
    std::filesystem::resize_file(folder_.Path(name), 54 + 3LL * size * size);
    return folder_.Path(name);
  }
  /// A bitmap of 24 bits with pixels of many kinds; the width is a multiple of 4.
  std::string WriteLarge(const std::string& name, int width, int height) {
    std::vector<unsigned char> bytes = BmpBuilder().Size(1, 1).Claim(width, height).Build();
    bytes.resize(54);
    const std::size_t numBytes = 54 + static_cast<std::size_t>(3LL * width * height);
    bytes.reserve(numBytes);
    while (bytes.size() < numBytes) bytes.push_back(static_cast<unsigned char>(bytes.size() * 7 ^ bytes.size() >> 9));
    return Write(name, bytes);
  }
  /// The names of all files in the folder.
  std::set<std::string> ListFiles() const {
    std::set<std::string> names;
    for (const auto& each : std::filesystem::directory_iterator(folder_.Path())) names.insert(each.path().filename());
    return names;
  }
  /// For a child: writes beyond some bytes of a file end the program by a signal, unless that is ignored; then they
  /// fail.
  static void LimitFileSize() {
    std::signal(SIGXFSZ, SIG_DFL);
    const rlimit limit{10000, 10000};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  /// All come before the program goes on.
  static void SendTogether(pid_t child, const std::vector<int>& signalNumbers) {
    kill(child, SIGSTOP);
    for (const int signalNumber : signalNumbers) kill(child, signalNumber);
    kill(child, SIGCONT);
  }
  /// Kills a command at `numKills` moments spread over the time that it needs, and calls `inspect` after each. A run
  /// that ends before its moment counts for nothing, and the moments after it come sooner. Answers how many were
  /// killed.
  static int KillAtManyMoments(const std::vector<std::string>& arguments, int numKills,
                               const std::function<void()>& inspect) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, Run(arguments).exitStatus);
    std::chrono::duration<double> whole = std::chrono::steady_clock::now() - start;
    std::minstd_rand random(20);
    int numKilled = 0;
    for (int tries = 0; numKilled < numKills && tries < 4 * numKills; ++tries) {
      const double share = (numKilled + static_cast<double>(random() % 1000) / 1000.0) / numKills;
      ProgramOptions options;
      options.whileRunning = [&](pid_t child) {
        std::this_thread::sleep_for(share * whole);
        kill(child, SIGKILL);
      };
      const bool wasKilled = Run(arguments, options).signal == SIGKILL;
      numKilled += wasKilled ? 1 : 0;
      if (!wasKilled) whole *= 0.95;
      inspect();
    }
    return numKilled;
  }
  int CountFiles() const {
    int count = 0;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator(folder_.Path())) ++count;
    return count;
  }
  /// Waits until the program has begun a file beside the `numInputs` that were there.
  void WaitForOutput(int numInputs) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (CountFiles() <= numInputs && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
    EXPECT_GT(CountFiles(), numInputs);
  }
  TempFolder folder_;
};
