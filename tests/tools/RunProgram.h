#pragma once

#include <sys/types.h>
#include <functional>
#include <string>
#include <vector>

/// What a program has left behind.
struct ProgramResult {
  int exitStatus = -1;  ///< -1 where a signal ended it
  int signal = 0;       ///< that signal, or 0
  std::string out;
  std::string err;
};

struct ProgramOptions {
  std::function<void()> inChild;            ///< run in the child just before the program
  std::function<void(pid_t)> whileRunning;  ///< run in the test once the program has begun
};

/// Runs a program to its end, with empty standard input. One that hangs is ended by SIGALRM.
ProgramResult RunProgram(const std::vector<std::string>& command, const ProgramOptions& options = {});

/// Given all that the terminal has shown so far, answers what is typed now.
using Typist = std::function<std::string(const std::string& shown)>;

/// Given all that the terminal has shown so far, answers how many columns it has from now on, or 0 to leave it as it
/// is.
using Resizer = std::function<int(const std::string& shown)>;

/// Runs a program on a terminal of its own, of 80 columns; `out` is all that it was shown, `err` stays empty.
ProgramResult RunOnTerminal(const std::vector<std::string>& command, const Typist& typist = {},
                            const Resizer& resizer = {});
