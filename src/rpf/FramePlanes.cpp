#include "rpf/FramePlanes.h"

#include "base/ReadError.h"
#include "XFile.h"
#include "XReadPolicy.h"

#include <string>

namespace zrk {

/// What sections a frame lacks, nobody asks in detail; the colours alone have a sentence of their own.
int LoadExactly(XCIBframe& frame, const XString& path, FramePlanes& planes, XString& err) {
  ReadErrand errand;
  if (errand.End(frame.LoadPlanesExactly(path, planes), "The frame lacks a section, or one of them is damaged"))
    return 1;
  XfnGetLastReadError(err);
  if (!XFile().Open(path, XFile::kRead | XFile::kShareDenyNone)) err = "Can't open file : " + path;
  return 0;
}

bool HoldsWindow(const FramePlanes& planes, int x0, int x1, int y0, int y1) {
  constexpr int kSide = static_cast<int>(kSubframeSide), kAcross = static_cast<int>(kSubframesAcross);
  for (int row = y0 / kSide; row <= y1 / kSide; ++row) {
    for (int column = x0 / kSide; column <= x1 / kSide; ++column) {
      const int subframe = row * kAcross + column;
      const FramePlanes::Subframe state = planes.subframes[static_cast<std::size_t>(subframe)];
      if (state == FramePlanes::Subframe::kThere || state == FramePlanes::Subframe::kAbsent) continue;
      const bool isCut = state == FramePlanes::Subframe::kCut;
      const std::string name = "subframe " + std::to_string(subframe) + " of the frame";
      NoteReadError(((isCut ? "The file ends within " : "The colour table lacks a colour of ") + name).c_str());
      return false;
    }
  }
  return true;
}

}  // namespace zrk
