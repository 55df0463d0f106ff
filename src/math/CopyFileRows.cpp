#include "math/CopyFileRows.h"

#include "base/AlignLike.h"
#include "math/CopyBlock.h"

#include <algorithm>
#include <array>

namespace zrk {
namespace {

/// The room on the stack for rows that are fetched with the gaps between them. It stays in the processor's cache until
/// they are copied.
constexpr std::int64_t kRoomBytes = 64 << 10;

/// Fetches as many rows at once as the room holds. The last row ends without its gap, which may lie behind the end of
/// the file.
bool CopyCloseRows(const RowReader& reader, const FileRows& rows, unsigned char* out, std::int64_t outStride) {
  std::array<unsigned char, kRoomBytes + kAlignRoom> room;
  const auto atOnce = static_cast<int>((kRoomBytes - rows.rowBytes) / rows.stride + 1);
  for (int y = 0; y < rows.numRows; y += atOnce) {
    FileRows part = rows;
    part.offset += y * rows.stride;
    part.numRows = std::min(atOnce, rows.numRows - y);
    const RowReader::Fetched fetched = reader.Fetch(part, rows.stride, room.data());
    if (!fetched.first) return false;
    CopyBlock(fetched.first, fetched.stride, out + y * outStride, outStride, rows.rowBytes, part.numRows);
  }
  return true;
}

}  // namespace

bool CopyFileRows(const RowReader& reader, const FileRows& rows, unsigned char* out, std::int64_t outStride) {
  if (const unsigned char* const mapped = reader.FindMapped(rows)) {
    CopyBlock(mapped, rows.stride, out, outStride, rows.rowBytes, rows.numRows);
    return true;
  }
  const bool comesInPlace = rows.AreTogether() && outStride == rows.rowBytes;
  if (rows.numRows > 1 && !comesInPlace && rows.rowBytes <= kRoomBytes && RowReader::AreFetchedAtOnce(rows)) {
    return CopyCloseRows(reader, rows, out, outStride);
  }
  return reader.Read(rows, out, outStride);
}

}  // namespace zrk
