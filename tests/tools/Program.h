#pragma once

#include "BmpBuilder.h"
#include "RunProgram.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <chrono>
#include <filesystem>
#include <thread>

/// Runs zrkio in a folder of the test's own.
class Zrkio : public testing::Test {
 protected:
  static ProgramResult Run(std::vector<std::string> arguments, const ProgramOptions& options = {}) {
    arguments.insert(arguments.begin(), ZRK_PROGRAM);
    return RunProgram(arguments, options);
  }
  static ProgramResult RunAtTerminal(std::vector<std::string> arguments, const Typist& typist = {}) {
    arguments.insert(arguments.begin(), ZRK_PROGRAM);
    return RunOnTerminal(arguments, typist);
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
