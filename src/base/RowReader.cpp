// Small windows are copied out of a mapping, because their rows are short and lie far apart, and a call of the system
// costs as much as copying some 4 KB. The file's length is asked once a window. A file that is cut between the question
// and the last row raises a signal. Callers who fear that turn mappings off, and all is read by positional reads.
// docs/decisions/0021 has the figures.
//
// Large windows are always read: the calls cost little beside their bytes, which then don't stay in the process.

#include "base/RowReader.h"

#include "base/AlignLike.h"
#include "base/Checked.h"

#include <algorithm>
#include <atomic>

namespace zrk {
namespace {

/// Bytes of a window from which on it is read.
constexpr std::int64_t kLargeWindow = 1 << 20;
constexpr std::int64_t kShortGap = 4096;  // what is read along with the rows on its sides

std::atomic<bool> areReadsMapped = true;

}  // namespace

bool AreReadsMapped() {
  return areReadsMapped;
}

void SetMappedReads(bool areMapped) {
  areReadsMapped = areMapped;
}

/// A file is mapped when the first small window asks, and once for all threads. A mapping that failed is not tried
/// again.
const DiskMap* RowFile::Map() const {
  std::call_once(isMapped_, [this] { map_ = file_->Map(); });
  return map_.get();
}

RowReader::RowReader(const RowFile& file, std::int64_t windowBytes) : file_(file) {
  const DiskMap* const map = AreReadsMapped() && windowBytes < kLargeWindow ? file.Map() : nullptr;
  if (!map) return;
  map_ = map->Data();
  // The file may have grown since it was mapped, or may have been cut. Bytes have to be in both.
  numMapped_ = std::clamp<std::int64_t>(file.File().Size(), 0, map->Size());
}

const unsigned char* RowReader::FindMapped(const FileRows& rows) const {
  return map_ && FitsWithin(rows.offset, rows.Span(), numMapped_) ? map_ + rows.offset : nullptr;
}

/// The gaps between close rows cost less to read than the further calls without them would.
bool RowReader::AreFetchedAtOnce(const FileRows& rows) {
  return rows.numRows <= 1 || rows.stride - rows.rowBytes <= kShortGap;
}

/// Rows that follow one another without gaps are one range, and all others take a call each.
bool RowReader::Read(const FileRows& rows, unsigned char* out, std::int64_t outStride) const {
  if (rows.AreTogether() && (rows.numRows <= 1 || outStride == rows.rowBytes)) {
    return ReadRange(rows.offset, out, rows.Bytes());
  }
  for (int y = 0; y < rows.numRows; ++y) {
    if (!ReadRange(rows.offset + y * rows.stride, out + y * outStride, rows.rowBytes)) return false;
  }
  return true;
}

/// Close rows are read with their gaps and left as they lie, since a caller that takes rows by their stride needs no
/// packed ones.
RowReader::Fetched RowReader::Fetch(const FileRows& rows, std::int64_t pitch, unsigned char* room) const {
  if (const unsigned char* const mapped = FindMapped(rows)) return {mapped, rows.stride};
  unsigned char* const first = AlignLike(room, rows.offset);
  if (!AreFetchedAtOnce(rows)) return {Read(rows, first, pitch) ? first : nullptr, pitch};
  return {ReadRange(rows.offset, first, rows.Span()) ? first : nullptr, rows.stride};
}

/// The rule is that of `Fetch`, which fills the room.
std::int64_t RowReader::CountRoomBytes(const FileRows& rows, std::int64_t pitch) {
  return (AreFetchedAtOnce(rows) ? rows.Span() : pitch * rows.numRows) + kAlignRoom;
}

bool RowReader::ReadRange(std::int64_t offset, unsigned char* out, std::int64_t count) const {
  return file_.File().ReadAt(offset, out, count) == count;
}

}  // namespace zrk
