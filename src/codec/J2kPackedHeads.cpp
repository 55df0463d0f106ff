#include "codec/J2kPackedHeads.h"

#include "base/Cursor.h"
#include "codec/Jp2Boxes.h"

#include <map>

namespace zrk {

/// The segments count in the order of their numbers, and of two with one number the last. A list may go on from one
/// segment to the next.
void J2kPackedHeads::Join(const J2kHeader& header) {
  constexpr std::size_t kHeadBytes = 5;  // marker, length and number
  std::map<int, J2kSegment> segments;
  for (const J2kSegment& segment : header.segments) {
    if (segment.marker != kMarkerPackedHeads) continue;
    areThere_ = true;
    const bool isNew = segment.numBytes >= kHeadBytes &&
                       segments.insert_or_assign(header.bytes[segment.offset + kHeadBytes - 1], segment).second;
    areWhole_ = areWhole_ && isNew;
  }
  for (const auto& [number, segment] : segments) {
    const auto first = header.bytes.begin() + static_cast<std::ptrdiff_t>(segment.offset);
    joined_.insert(joined_.end(), first + static_cast<std::ptrdiff_t>(kHeadBytes),
                   first + static_cast<std::ptrdiff_t>(segment.numBytes));
  }
  const bool hasGap = !segments.empty() && segments.rbegin()->first + 1 != static_cast<int>(segments.size());
  areWhole_ = areWhole_ && !hasGap;
}

/// Each list has its length in front. Their number is bounded, because an empty list takes more memory here than in the
/// header.
void J2kPackedHeads::Split() {
  Cursor cursor(joined_);
  while (cursor.Remaining() > 0 && CountParts() < kMaxJ2kParts) {
    const std::size_t numBytes = cursor.U32BE();
    const std::size_t offset = cursor.Position();
    cursor.Skip(numBytes);
    if (cursor.HasFailed()) break;
    lists_.push_back({offset, numBytes});
  }
  areWhole_ = areWhole_ && !cursor.HasFailed() && cursor.Remaining() == 0;
}

void J2kPackedHeads::Take(const J2kHeader& header) {
  *this = {};
  Join(header);
  Split();
}

std::span<const unsigned char> J2kPackedHeads::ListOf(int ordinal) const {
  if (ordinal < 0 || ordinal >= CountParts()) return {};
  const List& list = lists_[static_cast<std::size_t>(ordinal)];
  return std::span(joined_).subspan(list.offset, list.numBytes);
}

}  // namespace zrk
