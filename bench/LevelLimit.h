#pragma once

#include <cstdint>
#include <string>

/// Moves the bytes that the build of a level file moves, and computes nothing. It reads `sourceBytes` of the native
/// raster `source`, which are those of its full resolution. It writes as many bytes as the level file `built` has to a
/// file of its own beside it. As in the builder, room is asked for first, what is written goes to the medium soon, and
/// the file is synced and renamed and its folder synced. The file stays, so that the next call replaces an older file
/// as a build does. `numWorkers` threads share the work. Ends the program where a call fails.
void MoveBytesOfLevelFile(const std::string& source, std::int64_t sourceBytes, const std::string& built,
                          int numWorkers);
