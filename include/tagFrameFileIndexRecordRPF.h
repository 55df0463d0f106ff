#pragma once

#include <cstdint>

/// One frame file that a table of contents lists. Texts stand as the file has them and end in zero.
struct tagFrameFileIndexRecordRPF {
  std::int32_t boundaryIndex;
  std::int32_t frameRow;
  std::int32_t frameColumn;
  std::int32_t pathOffset;  ///< tells the path record
  char fileName[13];
  char geographicLocation[7];
  char classification[2];
  char country[3];
  char releaseMarking[3];
};
