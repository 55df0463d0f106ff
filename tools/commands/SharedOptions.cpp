// Options that several subcommands have, declared once so that they read and behave alike.

#include "commands/SharedOptions.h"

#include "CommandLine.h"
#include "XSystem.h"

#include <algorithm>
#include <thread>

void AddWorkersOption(Command& command, int& count) {
  command
      .AddOption("--workers", "N", count,
                 "Threads that share the work; as many as there are cores\n"
                 "unless given. The result is the same for any number.")
      .SetRange(1, 1024);
}

/// The library uses no threads unless it is granted some. The program owns its process and grants all cores.
void UseWorkers(int count) {
  const int numCores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  XfnSetWorkerCount(count > 0 ? count : numCores);
}

void AddWindowOption(Command& command, std::vector<int>& window) {
  command
      .AddOption("--window", "WINDOW", window,
                 "Columns and rows, inclusive, in full-resolution pixels, as\n"
                 "x0,x1,y0,y1; the whole image unless given")
      .SetCount(4);
}

void AddNoLevelsOption(Command& command, bool& noLevels) {
  command.AddFlag("--no-levels", noLevels, "Read the image itself, also where it has a level file");
}
