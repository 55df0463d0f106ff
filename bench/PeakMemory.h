#pragma once

#include <cstdint>
#include <string>

/// Saves all of a dataset as TIFF, on one thread. Ends the program with a message where that fails.
void SaveAsTiff(const std::string& from, const std::string& to);
/// The same as the format of the new file's extension.
void SaveByExtension(const std::string& from, const std::string& to);
/// Reads a window of 256 x 256 pixels in the middle of an image, in all channels.
void ReadWindow(const std::string& path);

/// The most bytes that a program had in memory.
struct PeakMemory {
  std::int64_t own = 0;
  std::int64_t withFiles = 0;  ///< with pages of mapped files, its own code among them; the system can take these back
};

/// The peak of a program that does nothing but such a save, or such a read: this program, run once more.
PeakMemory MeasurePeakOfSave(const std::string& from, const std::string& to);
PeakMemory MeasurePeakOfWindow(const std::string& path);

/// The work of that program: does it, and prints the two figures.
void SaveAndPrintPeak(const std::string& from, const std::string& to);
void ReadAndPrintPeak(const std::string& path);
