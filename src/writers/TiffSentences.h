#pragma once

namespace zrk {

// What a caller is told of a TIFF file that was not written.

inline constexpr const char* kNoBandFound = "No Band found";
inline constexpr const char* kDiskFull = "Disk Space is Full";
inline constexpr const char* kNoBand = "Fail to get ZRM Band";
inline constexpr const char* kNoBuffer = "Fail to allocate memory for buffer";
inline constexpr const char* kNoIndex = "Fail to allocate memory for indexing";
inline constexpr const char* kReadFailed = "Fail to read subset";
inline constexpr const char* kWriteFailed = "Fail to write data!!!";

}  // namespace zrk
