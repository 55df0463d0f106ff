#pragma once

#include <cstdint>

/// A folder of frame files, as a table of contents names it: mostly "./NAME/", from the folder of the table on. Slashes
/// separate the parts. `XCIBtoc` owns the record.
struct tagPathnameRecordRPF {
  /// What is kept of a path, in characters.
  static constexpr int kMaxLength = 256;

  /// The number by which frames refer to the folder: `tagFrameFileIndexRecordRPF::pathOffset`.
  std::int32_t pathOffset;
  /// Characters in `path`, 0 to `kMaxLength`. A longer path of the file is cut.
  std::int32_t pathLength;
  /// Ends in zero. It comes from the file and may lead anywhere: `XCIBtoc::GetFramePath` refuses what leaves the
  /// folder.
  char path[kMaxLength + 1];
};
