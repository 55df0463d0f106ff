#pragma once

#include <string>

/// Moves the bytes that the build of a level file moves, and computes nothing: reads the band bodies of the native
/// raster `source` as they lie in the file, and writes as many bytes as the level file `built` has to a file of its own
/// beside it, in pieces of the size that the builder writes. Room is asked for first, each piece is handed to the
/// medium as soon as it is written, and the file is synced, renamed and its folder synced, all as the builder does it.
/// The work is shared by `numWorkers` threads. The file is removed again. Ends the program where a call fails.
void MoveBytesOfLevelFile(const std::string& source, const std::string& built, int numWorkers);
