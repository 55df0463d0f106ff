// Frames of a table of contents and their files. Tables of different makers count from 0 or from 1, and their rows from
// the south or from the north; the first frame tells which.

#include "formats/rpf/TocFrames.h"

#include "XFile.h"

#include <string_view>

bool LoadToc(const std::string& path, XCIBtoc& toc, std::string& err) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    err = "can't be opened (" + file.GetLastErrorText().AsStdString() + ")";
    return false;
  }
  if (toc.LoadFile(path)) return true;
  char head[4] = {};
  // The library tells no reason, so the mark of the file decides between two sentences.
  const bool isNitf = file.ReadAt(0, head, sizeof head) == sizeof head && std::string_view(head, 4) == "NITF";
  err = isNitf ? "not a table of contents, or damaged" : "not a NITF file, as tables of contents have to be";
  return false;
}

const char* NameOf(FrameState state) {
  switch (state) {
    case FrameState::kThere:
      return "there";
    case FrameState::kOutside:
      return "outside";
    default:
      return "missing";
  }
}

/// The library gives no path for a frame outside, unless that is asked for.
FrameFile FindFrame(const XCIBtoc& toc, int index, bool anywhere) {
  const XString path = toc.GetFramePath(index, anywhere);
  if (path.IsEmpty()) return {"", FrameState::kOutside};
  return {path.AsStdString(), XFile::Exists(path) ? FrameState::kThere : FrameState::kMissing};
}

std::string StoredPathOf(const XCIBtoc& toc, int index) {
  const tagFrameFileIndexRecordRPF* frame = toc.GetFrameRecordAt(index);
  if (!frame) return "";
  const tagPathnameRecordRPF* path = toc.FindPathRecord(frame->pathOffset);
  return std::string(path ? path->path : "") + frame->fileName;
}

void FrameCounts::Add(FrameState state) {
  ++listed;
  if (state == FrameState::kThere) ++there;
  if (state == FrameState::kMissing) ++missing;
  if (state == FrameState::kOutside) ++outside;
}

FrameNumbering NumberingOf(const XCIBtoc& toc) {
  const tagFrameFileIndexRecordRPF* first = toc.GetFrameRecordAt(0);
  const bool countsFromOne = first && first->boundaryIndex != 0;
  return {countsFromOne ? 1 : 0, !countsFromOne};
}

FrameCell CellOf(const XCIBtoc& toc, const FrameNumbering& numbering, int index) {
  const tagFrameFileIndexRecordRPF& frame = *toc.GetFrameRecordAt(index);
  const int number = frame.boundaryIndex - numbering.first;
  const tagBoundaryRectangleRecordRPF* boundary = toc.GetBoundaryRecAt(number);
  if (!boundary) return {-1, 0, 0};
  const std::int64_t row = frame.frameRow - numbering.first;
  return {number, numbering.rowsGoNorth ? std::int64_t{boundary->numFramesNorthSouth} - 1 - row : row,
          std::int64_t{frame.frameColumn} - numbering.first};
}
