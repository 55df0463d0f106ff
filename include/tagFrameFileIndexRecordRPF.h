#pragma once

#include <cstdint>

/// One frame file that a table of contents lists; the file itself may be missing. Texts stand as the file has them,
/// with the spaces that fill them up, and end in zero. Numbers are not checked. `XCIBtoc` owns the record.
struct tagFrameFileIndexRecordRPF {
  /// The boundary rectangle that the frame belongs to, from 0 on. It may lie outside the table, where
  /// `XCIBtoc::GetBoundaryRecAt` gives null.
  std::int32_t boundaryIndex;
  /// The place in the grid of the boundary rectangle, each from 0 on.
  std::int32_t frameRow;
  std::int32_t frameColumn;
  /// Tells the path record, for `XCIBtoc::FindPathRecord`.
  std::int32_t pathOffset;
  /// The name with its extension and without a folder; empty for a place without a frame. `XCIBtoc::GetFramePath` gives
  /// the path that opens.
  char fileName[13];
  /// Where the frame lies, in a system of letters that names squares of the globe.
  char geographicLocation[7];
  /// The security marking, the country and the marking of release. They are for people, and nothing is refused by them.
  char classification[2];
  char country[3];
  char releaseMarking[3];
};
