// Options that several subcommands have, declared once so that they read and behave alike.

#include "commands/SharedOptions.h"

#include "XSystem.h"

#include <algorithm>
#include <thread>

void AddWorkersOption(CLI::App& command, int& count) {
  command
      .add_option("--workers", count,
                  "Threads that share the work; as many as there are cores\n"
                  "unless given. The result is the same for any number.")
      ->check(CLI::Range(1, 1024).description(""))
      ->type_name("N");
}

/// The library uses no threads unless it is granted some. The program owns its process and grants all cores.
void UseWorkers(int count) {
  const int numCores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  XfnSetWorkerCount(count > 0 ? count : numCores);
}

void AddWindowOption(CLI::App& command, std::vector<int>& window) {
  command
      .add_option("--window", window,
                  "Columns and rows, inclusive, in full-resolution pixels, as\n"
                  "x0,x1,y0,y1; the whole image unless given")
      ->delimiter(',')
      ->expected(4)
      ->type_name("WINDOW");
}

void AddNoLevelsOption(CLI::App& command, bool& noLevels) {
  command.add_flag("--no-levels", noLevels, "Read the image itself, also where it has a level file");
}
