#pragma once

#include <string>

/// Moves the bytes that the build of a level file moves, and computes nothing. It reads the native raster
/// `source` as a whole, because the level file tells the fingerprint of all its bytes. It writes as many bytes as the
/// level file `built` has to a file of its own beside it. As in the builder, room is asked for first, what is written
/// goes to the medium soon, and the file is synced and renamed and its folder synced. The file stays, so that the next
/// call replaces an older file as a build does. `numWorkers` threads share the work. Ends the program where a call
/// fails.
void MoveBytesOfLevelFile(const std::string& source, const std::string& built, int numWorkers);
