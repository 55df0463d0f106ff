// A codestream is its main header and then tile-parts, each with a head that tells its tile and its length. The parts
// of a tile stand in their order, with those of other tiles between them. A main header may list all lengths (TLM), so
// that nothing has to be read to know where they are. Otherwise one head leads to the next, which costs a read of a few
// bytes each.

#include "codec/J2kIndexReader.h"

#include "base/Cursor.h"
#include "base/Disk.h"
#include "codec/Jp2Boxes.h"

#include <algorithm>
#include <optional>

namespace zrk {
namespace {

constexpr std::int64_t kLeastPartBytes = 14;  // the head, and the marker in front of the data
constexpr std::int64_t kEndBytes = 2;         // the marker at the end of the codestream

/// A part whose length is not told reaches to the marker at the end of the codestream. Where that is not there, the
/// part is open. False where the disk fails.
bool FindOpenEnd(DiskFile& file, std::int64_t end, J2kTilePart& part) {
  part.numBytes = end - part.offset;
  part.isOpen = true;
  if (part.numBytes < kLeastPartBytes + kEndBytes) return true;
  unsigned char last[2] = {};
  if (file.ReadAt(end - kEndBytes, last, kEndBytes) != kEndBytes) return false;
  part.isOpen = Cursor(last).U16BE() != kMarkerEnd;
  if (!part.isOpen) part.numBytes -= kEndBytes;
  return true;
}

/// Whether the codestream ends here as it should. Nothing where the disk fails.
std::optional<bool> HasEndMarker(DiskFile& file, std::int64_t offset, std::int64_t end) {
  unsigned char bytes[2] = {};
  if (offset > end - kEndBytes) return false;
  if (file.ReadAt(offset, bytes, kEndBytes) != kEndBytes) return std::nullopt;
  return Cursor(bytes).U16BE() == kMarkerEnd;
}

}  // namespace

J2kHeadFound ReadJ2kPartHead(DiskFile& file, std::int64_t offset, std::int64_t end, J2kPartHead& head) {
  unsigned char bytes[J2kPartHead::kBytes] = {};
  if (offset > end - J2kPartHead::kBytes) return J2kHeadFound::kNothing;
  if (file.ReadAt(offset, bytes, J2kPartHead::kBytes) != J2kPartHead::kBytes) return J2kHeadFound::kDiskFailed;
  Cursor cursor(bytes);
  constexpr int kSegmentBytes = 10;
  if (cursor.U16BE() != kMarkerTilePart || cursor.U16BE() != kSegmentBytes) return J2kHeadFound::kNothing;
  head.tile = cursor.U16BE();
  head.numBytes = cursor.U32BE();
  head.number = cursor.U8();
  head.numParts = cursor.U8();
  return head.numBytes == 0 || head.numBytes >= kLeastPartBytes ? J2kHeadFound::kHead : J2kHeadFound::kNothing;
}

bool J2kIndex::TakeList(DiskFile& file, const J2kHeader& header, std::int64_t offset, std::int64_t end) {
  if (header.listedParts.empty() || std::ssize(header.listedParts) > kMaxJ2kParts) return false;
  parts_.clear();
  for (const J2kListedPart& listed : header.listedParts) {
    const int ordinal = static_cast<int>(parts_.size());
    const int tile = listed.tile < 0 ? ordinal : listed.tile;
    if (tile >= header.CountTiles() || listed.numBytes < kLeastPartBytes || offset >= end) return false;
    parts_.push_back({tile, ordinal, offset, listed.numBytes});
    offset += listed.numBytes;
  }
  if (!HasEndMarker(file, offset, end).value_or(false)) return false;
  isFromList_ = isWhole_ = true;
  Sort(header.CountTiles());
  return true;
}

bool J2kIndex::Walk(DiskFile& file, const J2kHeader& header, std::int64_t offset, std::int64_t end) {
  parts_.clear();
  isFromList_ = false;
  while (CountParts() < kMaxJ2kParts) {
    J2kPartHead head;
    const J2kHeadFound found = ReadJ2kPartHead(file, offset, end, head);
    if (found == J2kHeadFound::kDiskFailed) return false;
    if (found == J2kHeadFound::kNothing || head.tile >= header.CountTiles()) break;
    J2kTilePart part{head.tile, CountParts(), offset, head.numBytes, head.number, head.numParts};
    if (head.numBytes == 0 && !FindOpenEnd(file, end, part)) return false;
    parts_.push_back(part);
    offset += part.numBytes;
  }
  const std::optional<bool> hasEnd = HasEndMarker(file, offset, end);
  isWhole_ = hasEnd.value_or(false);
  Sort(header.CountTiles());
  return hasEnd.has_value();
}

void J2kIndex::Sort(int numTiles) {
  std::ranges::stable_sort(parts_, {}, &J2kTilePart::tile);
  firstOfTile_.assign(static_cast<std::size_t>(numTiles) + 1, parts_.size());
  for (std::size_t i = parts_.size(); i-- > 0;) firstOfTile_[static_cast<std::size_t>(parts_[i].tile)] = i;
  for (std::size_t t = static_cast<std::size_t>(numTiles); t-- > 0;) {
    firstOfTile_[t] = std::min(firstOfTile_[t], firstOfTile_[t + 1]);
  }
}

std::span<const J2kTilePart> J2kIndex::PartsOf(int tile) const {
  const std::size_t first = firstOfTile_[static_cast<std::size_t>(tile)];
  return std::span(parts_).subspan(first, firstOfTile_[static_cast<std::size_t>(tile) + 1] - first);
}

}  // namespace zrk
