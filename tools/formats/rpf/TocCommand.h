#pragma once

class CommandLine;

/// Declares `zrkio toc`; see commands/Commands.h.
void AddTocCommand(CommandLine& program);
