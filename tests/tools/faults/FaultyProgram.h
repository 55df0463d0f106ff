#pragma once

#include "faults/FaultOrder.h"
#include "RunProgram.h"

#include <string>
#include <vector>

/// A command that is run time and again, with another of its calls to the disk failing each time.
class FaultyProgram {
 public:
  /// Calls are counted where they concern files in `folder`, and are listed in `log`, which lies elsewhere.
  FaultyProgram(const std::vector<std::string>& command, const std::string& folder, const std::string& log);
  ~FaultyProgram();
  FaultyProgram(const FaultyProgram&) = delete;
  FaultyProgram& operator=(const FaultyProgram&) = delete;

  /// Runs the command to its end. The log is that of this run.
  ProgramResult Run(const FaultOrder& order);

 private:
  std::string log_;
  pid_t server_ = -1;
  int socket_ = -1;
};
