#pragma once

#include "core/load/FormatRow.h"

#include <algorithm>
#include <string_view>

namespace zrk {

/// Whether the bytes stand in the head at the offset.
inline bool HasBytesAt(FileHead head, std::size_t offset, std::string_view bytes) {
  if (offset > head.size() || bytes.size() > head.size() - offset) return false;
  return std::ranges::equal(head.subspan(offset, bytes.size()), bytes,
                            [](unsigned char is, char wanted) { return is == static_cast<unsigned char>(wanted); });
}

inline bool StartsWith(FileHead head, std::string_view bytes) {
  return HasBytesAt(head, 0, bytes);
}

/// The head as text, for formats that are text.
inline std::string_view TextOf(FileHead head) {
  return {reinterpret_cast<const char*>(head.data()), head.size()};
}

}  // namespace zrk
