#pragma once

#include "Window.h"

#include <string>
#include <vector>

class Command;
class XSpatialReference;

// Options that several subcommands take.

/// --workers: how many threads the library may use, by default as many as there are cores. Call `UseWorkers` with what
/// it left in `count` when the subcommand runs.
void AddWorkersOption(Command& command, int& count);
void UseWorkers(int count);

/// --window, --bbox and --lonlat: see `FindWindow`.
void AddWindowOptions(Command& command, WindowRequest& window);

/// --no-levels: see `DetachLevelFile`.
void AddNoLevelsOption(Command& command, bool& noLevels);

/// --quiet: see Notes.h. For commands that show progress.
void AddQuietOption(Command& command);

/// Takes a system from "EPSG:4326", in any case of letters, or from WKT. False for what is not understood.
bool ReadSystem(const std::string& text, XSpatialReference& sr);

/// Refuses a name of an output file whose extension promises something else than one of those given, which are in small
/// letters. A name without an extension promises nothing, and neither does a device.
void CheckOutputName(const std::string& path, const std::vector<std::string>& extensions, const std::string& written);
