#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrk {

// The first 16 bytes of a native raster file: "ZRM.", the version (4 bytes), the offset of the XML (8 bytes), the least
// significant byte first. While the offset is -1 the file is not complete.

inline constexpr std::uint32_t kNativeVersion = 1;
inline constexpr std::int64_t kNativeHeaderSize = 16;
inline constexpr std::int64_t kNativeOffsetPlace = 8;
inline constexpr char kNativeMagic[] = "ZRM.";

template <class Value>
std::array<unsigned char, sizeof(Value)> LittleEndian(Value value) {
  std::array<unsigned char, sizeof(Value)> bytes{};
  const auto bits = static_cast<std::uint64_t>(value);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
  return bytes;
}

}  // namespace zrk
