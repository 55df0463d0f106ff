#pragma once

#include <cstdint>

/// A folder of frame files, as a table of contents names it: mostly "./NAME/". Ends in zero.
struct tagPathnameRecordRPF {
  static constexpr int kMaxLength = 256;

  std::int32_t pathOffset;
  std::int32_t pathLength;  ///< of what stands in `path`; a longer one in the file is cut
  char path[kMaxLength + 1];
};
