#pragma once

class CommandLine;

// Each subcommand is one source. `Add...` declares its options, and what runs when it is the one chosen.

void AddInfoCommand(CommandLine& program);
void AddBoundsCommand(CommandLine& program);
void AddReadCommand(CommandLine& program);
void AddValueCommand(CommandLine& program);
void AddViewCommand(CommandLine& program);
void AddLevelsCommand(CommandLine& program);
void AddConvertCommand(CommandLine& program);
void AddPyramidCommand(CommandLine& program);
void AddTileCommand(CommandLine& program);
void AddGridCommand(CommandLine& program);
void AddVerifyCommand(CommandLine& program);
void AddExportCommand(CommandLine& program);
void AddFormatsCommand(CommandLine& program);
