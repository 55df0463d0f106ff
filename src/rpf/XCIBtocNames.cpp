// The names of frame files: as the product's own systems write them, and as this system opens them.

#include "base/Fence.h"
#include "rpf/FolderWalk.h"
#include "XCIBtoc.h"

#include <algorithm>
#include <string>

namespace {

/// Mostly the dot and the slash that a stored path begins with.
constexpr int kDroppedCharacters = 2;

std::string WithoutTrailingBlanks(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

}  // namespace

XString XCIBtoc::GetFrameFilename(int index) const {
  const tagFrameFileIndexRecordRPF* frame = GetFrameRecordAt(index);
  if (!frame || frame->fileName[0] == '\0') return {};
  const tagPathnameRecordRPF* record = FindPathRecord(frame->pathOffset);
  XString path = record ? XString(record->path).Mid(kDroppedCharacters) : XString();
  path.Replace("/", "\\");
  return directory_ + path + XString(frame->fileName);
}

XString XCIBtoc::GetFrameFilename(int row, int col, int boundary) const {
  const auto isThere = [=](const tagFrameFileIndexRecordRPF& frame) {
    return frame.frameRow == row && frame.frameColumn == col && frame.boundaryIndex == boundary;
  };
  const auto found = std::ranges::find_if(frames_, isThere);
  return found == frames_.end() ? XString() : GetFrameFilename(static_cast<int>(found - frames_.begin()));
}

XString XCIBtoc::GetFramePath(int index, bool mayLeaveFolder) const {
  const tagFrameFileIndexRecordRPF* frame = GetFrameRecordAt(index);
  if (!frame || !walk_) return {};
  XString path;
  zrk::FencedRead([&] {
    const tagPathnameRecordRPF* record = FindPathRecord(frame->pathOffset);
    const std::string folder = record ? WithoutTrailingBlanks(record->path) : "";
    path = walk_->Find(folder, WithoutTrailingBlanks(frame->fileName), mayLeaveFolder);
    return 1;
  });
  return path;
}
