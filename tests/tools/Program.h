#pragma once

#include "RunProgram.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <filesystem>

/// Runs zrkio in a folder of the test's own.
class Zrkio : public testing::Test {
 protected:
  static ProgramResult Run(std::vector<std::string> arguments, const ProgramOptions& options = {}) {
    arguments.insert(arguments.begin(), ZRK_PROGRAM);
    return RunProgram(arguments, options);
  }
  static ProgramResult RunAtTerminal(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ZRK_PROGRAM);
    return RunOnTerminal(arguments);
  }
  std::string Write(const std::string& name, const std::vector<unsigned char>& bytes) {
    folder_.Write(name, bytes);
    return folder_.Path(name);
  }
  int CountFiles() const {
    int count = 0;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator(folder_.Path())) ++count;
    return count;
  }
  TempFolder folder_;
};
