#pragma once

#include <cstdint>
#include <string>

/// Saves all of a dataset as TIFF, on one thread. Ends the program with a message where that fails.
void SaveAsTiff(const std::string& from, const std::string& to);

/// The most bytes that a program had in memory.
struct PeakMemory {
  std::int64_t own = 0;
  std::int64_t withFiles = 0;  ///< with pages of mapped files, its own code among them; the system can take these back
};

/// The peak of a program that does nothing but such a save: this program, run once more.
PeakMemory MeasurePeakOfSave(const std::string& from, const std::string& to);

/// The work of that program: saves, and prints the two figures.
void SaveAndPrintPeak(const std::string& from, const std::string& to);
