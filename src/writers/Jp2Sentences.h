#pragma once

namespace zrk {

// What a caller is told of a JPEG 2000 file that was not written, after it was begun.

inline constexpr const char* kJp2NotRead = "The pixels can't be read";
inline constexpr const char* kJp2NotWritten = "The file can't be written";
inline constexpr const char* kJp2NoMemory = "There is no memory for the pixels";

}  // namespace zrk
