#pragma once

#include <CLI/CLI.hpp>

/// Declares `zrkio toc`; see commands/Commands.h.
void AddTocCommand(CLI::App& program, int& status);
