#pragma once

#include <vector>

class Command;

// Options that several subcommands take.

/// --workers: how many threads the library may use, by default as many as there are cores. Call `UseWorkers` with what
/// it left in `count` when the subcommand runs.
void AddWorkersOption(Command& command, int& count);
void UseWorkers(int count);

/// --window: four numbers, or none where it is not given.
void AddWindowOption(Command& command, std::vector<int>& window);

/// --no-levels: see `DetachLevelFile`.
void AddNoLevelsOption(Command& command, bool& noLevels);
