// Small windows are copied out of a mapping, because their rows are short and lie far apart, and a call to the system
// costs as much as copying some 4 KB. The file's length is asked once a window. A file that is cut between the question
// and the last row raises a signal: callers who fear that turn mappings off, and all is read by positional reads.
// docs/decisions/0021 has the figures.
//
// Large windows are always read: the calls cost little beside their bytes, which then don't stay in the process.

#include "base/RowReader.h"

#include "base/AlignLike.h"
#include "base/Checked.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

namespace zrk {
namespace {

constexpr std::int64_t kLargeWindow = 1 << 20;
constexpr std::int64_t kShortGap = 4096;  // what is read along with the rows on its sides
constexpr std::int64_t kRoomBytes = 64 << 10;

std::atomic<bool> areReadsMapped = true;

bool AreClose(const FileRows& rows) {
  return rows.numRows > 1 && rows.stride - rows.rowBytes <= kShortGap;
}

}  // namespace

bool AreReadsMapped() {
  return areReadsMapped;
}

void SetMappedReads(bool areMapped) {
  areReadsMapped = areMapped;
}

const DiskMap* RowFile::Map() const {
  std::call_once(isMapped_, [this] { map_ = file_->Map(); });
  return map_.get();
}

RowReader::RowReader(const RowFile& file, std::int64_t windowBytes) : file_(file) {
  const DiskMap* const map = AreReadsMapped() && windowBytes < kLargeWindow ? file.Map() : nullptr;
  if (!map) return;
  map_ = map->Data();
  numMapped_ = std::clamp<std::int64_t>(file.File().Size(), 0, map->Size());
}

const unsigned char* RowReader::FindMapped(const FileRows& rows) const {
  return map_ && FitsWithin(rows.offset, rows.Span(), numMapped_) ? map_ + rows.offset : nullptr;
}

bool RowReader::Read(const FileRows& rows, unsigned char* out, std::int64_t outStride) const {
  if (rows.AreTogether() && (rows.numRows <= 1 || outStride == rows.rowBytes)) {
    return ReadRange(rows.offset, out, rows.Bytes());
  }
  if (AreClose(rows) && rows.rowBytes <= kRoomBytes) return ReadClose(rows, out, outStride);
  for (int y = 0; y < rows.numRows; ++y) {
    if (!ReadRange(rows.offset + y * rows.stride, out + y * outStride, rows.rowBytes)) return false;
  }
  return true;
}

RowReader::Fetched RowReader::Fetch(const FileRows& rows, std::int64_t pitch, unsigned char* room) const {
  if (const unsigned char* const mapped = FindMapped(rows)) return {mapped, rows.stride};
  unsigned char* const first = AlignLike(room, rows.offset);
  if (!rows.AreTogether() && !AreClose(rows)) return {Read(rows, first, pitch) ? first : nullptr, pitch};
  return {ReadRange(rows.offset, first, rows.Span()) ? first : nullptr, rows.stride};
}

std::int64_t RowReader::CountRoomBytes(const FileRows& rows, std::int64_t pitch) {
  const bool isRange = rows.AreTogether() || AreClose(rows);
  return (isRange ? rows.Span() : pitch * rows.numRows) + kAlignRoom;
}

bool RowReader::ReadRange(std::int64_t offset, unsigned char* out, std::int64_t count) const {
  return file_.File().ReadAt(offset, out, count) == count;
}

/// As many rows at once as a room on the stack holds.
bool RowReader::ReadClose(const FileRows& rows, unsigned char* out, std::int64_t outStride) const {
  std::array<unsigned char, kRoomBytes + kAlignRoom> room;
  const auto atOnce = static_cast<int>((kRoomBytes - rows.rowBytes) / rows.stride + 1);
  for (int y = 0; y < rows.numRows; y += atOnce) {
    FileRows part = rows;
    part.offset += y * rows.stride;
    part.numRows = std::min(atOnce, rows.numRows - y);
    unsigned char* const bytes = AlignLike(room.data(), part.offset);
    if (!ReadRange(part.offset, bytes, part.Span())) return false;
    for (int i = 0; i < part.numRows; ++i) {
      std::memcpy(out + (y + i) * outStride, bytes + i * rows.stride, static_cast<std::size_t>(rows.rowBytes));
    }
  }
  return true;
}

}  // namespace zrk
