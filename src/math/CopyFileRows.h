#pragma once

#include "base/RowReader.h"

namespace zrk {

/// Copies rows of a file to memory in which they are `outStride` bytes apart. False where not all are there; what has
/// come by then stays in `out`.
bool CopyFileRows(const RowReader& reader, const FileRows& rows, unsigned char* out, std::int64_t outStride);

}  // namespace zrk
