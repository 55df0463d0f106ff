#pragma once

#include <CLI/CLI.hpp>

// Each subcommand is one source. `Add...` declares its options; when it is the one chosen it runs and puts its exit
// status into `status`: 0, or 1 where a job failed.

void AddInfoCommand(CLI::App& program, int& status);
void AddBoundsCommand(CLI::App& program, int& status);
void AddReadCommand(CLI::App& program, int& status);
void AddViewCommand(CLI::App& program, int& status);
void AddLevelsCommand(CLI::App& program, int& status);
void AddConvertCommand(CLI::App& program, int& status);
void AddFormatsCommand(CLI::App& program, int& status);
