#pragma once

#include <string>

/// Moves the bytes that the build of a level file moves, and computes nothing. It reads the native raster `source` from
/// end to end. It writes as many bytes as the level file `built` has to a file of its own beside it, in pieces of the
/// size that the builder writes. As in the builder, room is asked for first, each piece goes to the medium as soon as
/// it is written, and the file is synced, renamed and its folder synced. `numWorkers` threads share the work. The file
/// is removed again. Ends the program where a call fails.
void MoveBytesOfLevelFile(const std::string& source, const std::string& built, int numWorkers);
