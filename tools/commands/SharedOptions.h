#pragma once

#include <vector>

#include <CLI/CLI.hpp>

// Options that several subcommands take.

/// --workers: how many threads the library may use, by default as many as there are cores. Call `UseWorkers` with what
/// it left in `count` when the subcommand runs.
void AddWorkersOption(CLI::App& command, int& count);
void UseWorkers(int count);

/// --window: four numbers, or none where it is not given.
void AddWindowOption(CLI::App& command, std::vector<int>& window);

/// --no-levels: see `DetachLevelFile`.
void AddNoLevelsOption(CLI::App& command, bool& noLevels);
