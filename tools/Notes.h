#pragma once

#include <string>

// What is told on stderr beside failures. With --quiet nothing is.

/// The word that --quiet is bound to.
bool& QuietFlag();
bool IsQuiet();

/// A line about a file that was written or looked at: "out.png: 64 x 64 pixels".
void PrintNote(const std::string& file, const std::string& text);

/// Keeps a line about the file that is worked on until `PrintRemarks`, when no bar is in the way.
void AddRemark(const std::string& text);
void PrintRemarks(const std::string& file);
