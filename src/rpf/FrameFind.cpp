#include "rpf/FrameFind.h"

#include <algorithm>

namespace zrk {
namespace {

/// A frame whose subframes all follow one another is read at once, since one call of the system for 36 subframes is
/// much cheaper than 36. Codes behind the end of the file are 0. A file that is all in the head, and has not even one
/// subframe there, is no frame.
bool FindWholeImage(const RpfBlocks& blocks, std::int64_t offset, FrameSubframes& subframes) {
  constexpr std::size_t kBytes = kSubframes * kCompressedSubframe;
  const unsigned char* whole = blocks.FindInHead(offset, kBytes).data();
  if (!whole) {
    unsigned char* const work = subframes.Slot(0);
    if (blocks.HasFile()) {
      blocks.ReadFromFile(offset, {work, kBytes});
    } else {
      // The rest is shorter than the room, because otherwise the whole image would have been found in the head.
      const RpfBlocks::Bytes rest = blocks.HeadFrom(offset);
      if (rest.size() < kCompressedSubframe) return false;
      std::ranges::copy(rest, work);
    }
    whole = work;
  }
  for (std::size_t i = 0; i < kSubframes; ++i) subframes.at[i] = whole + i * kCompressedSubframe;
  return true;
}

/// Finds the subframes one by one. A compressed subframe that is cut short has codes of 0 behind its end, as in a whole
/// image; one of plain pixels is left out. A mask that leads out of a file of which all is in the head fails the frame,
/// while a file without a mask may simply end early.
bool FindEach(const RpfBlocks& blocks, std::int64_t offset, const FrameMasks& masks, FrameSubframes& subframes) {
  const auto count = static_cast<std::int64_t>(subframes.bytes);
  for (std::size_t i = 0; i < kSubframes; ++i) {
    if (masks.hasSubframes && masks.subframes[i] == -1) continue;
    const std::int64_t at = offset + (masks.hasSubframes ? masks.subframes[i] : static_cast<std::int64_t>(i) * count);
    subframes.at[i] = blocks.FindInHead(at, count).data();
    if (subframes.at[i]) continue;
    if (!blocks.HasFile()) {
      if (masks.hasSubframes) return false;
      continue;
    }
    unsigned char* const slot = subframes.Slot(i);
    const std::int64_t numRead = blocks.ReadFromFile(at, {slot, subframes.bytes});
    if (subframes.isCompressed || numRead == count) subframes.at[i] = slot;
  }
  return true;
}

}  // namespace

bool FindSubframes(RpfBlocks& blocks, std::int64_t offset, const FrameMasks& masks, FrameSubframes& subframes) {
  if (subframes.isCompressed && !masks.hasSubframes) return FindWholeImage(blocks, offset, subframes);
  return FindEach(blocks, offset, masks, subframes);
}

void FindSubframesExactly(RpfBlocks& blocks, std::int64_t offset, const FrameMasks& masks, FrameSubframes& subframes,
                          std::array<FramePlanes::Subframe, kSubframes>& states) {
  const auto count = static_cast<std::int64_t>(subframes.bytes);
  for (std::size_t i = 0; i < kSubframes; ++i) {
    if (masks.hasSubframes && masks.subframes[i] == -1) {
      states[i] = FramePlanes::Subframe::kAbsent;
      continue;
    }
    const std::int64_t within = masks.hasSubframes ? masks.subframes[i] : static_cast<std::int64_t>(i) * count;
    subframes.at[i] = blocks.FindInHead(offset + within, count).data();
    if (!subframes.at[i] && blocks.HasFile()) {
      unsigned char* const slot = subframes.Slot(i);
      if (blocks.ReadFromFile(offset + within, {slot, subframes.bytes}) == count) subframes.at[i] = slot;
    }
    states[i] = subframes.at[i] ? FramePlanes::Subframe::kThere : FramePlanes::Subframe::kCut;
  }
}

}  // namespace zrk
