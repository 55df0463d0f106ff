#pragma once

#include "base/RowReader.h"
#include "math/CopyBlock.h"

namespace zrk {

/// Copies rows of a file to memory in which they are `outStride` bytes apart. False where not all are there.
inline bool CopyFileRows(const RowReader& reader, const FileRows& rows, unsigned char* out, std::int64_t outStride) {
  const unsigned char* const mapped = reader.FindMapped(rows);
  if (!mapped) return reader.Read(rows, out, outStride);
  CopyBlock(mapped, rows.stride, out, outStride, rows.rowBytes, rows.numRows);
  return true;
}

}  // namespace zrk
