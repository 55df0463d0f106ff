#pragma once

#include <cstdint>

namespace zrk {

// The first 16 bytes of a native raster file: "ZRM.", the version (4 bytes) and the offset of the XML (8 bytes).
// Numbers have their least significant byte first. While the offset is -1 the file is not complete.

inline constexpr std::uint32_t kNativeVersion = 1;
inline constexpr std::int64_t kNativeHeaderSize = 16;
inline constexpr char kNativeMagic[] = "ZRM.";

}  // namespace zrk
