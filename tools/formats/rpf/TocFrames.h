#pragma once

#include "XCIBtoc.h"

#include <cstdint>
#include <string>

/// Loads a table of contents; false with the reason in `err`.
bool LoadToc(const std::string& path, XCIBtoc& toc, std::string& err);

/// Whether the file of a frame is there. A file outside the folder of its table of contents is not looked for unless
/// that is asked for.
enum class FrameState { kThere, kMissing, kOutside };

const char* NameOf(FrameState state);

struct FrameFile {
  std::string path;  ///< as it opens on this system, or would; empty for one outside
  FrameState state = FrameState::kMissing;
};

FrameFile FindFrame(const XCIBtoc& toc, int index, bool anywhere);

/// Folder and name of a frame as the table of contents has them.
std::string StoredPathOf(const XCIBtoc& toc, int index);

/// How many frames are listed, and how many of each state.
struct FrameCounts {
  int listed = 0;
  int there = 0;
  int missing = 0;
  int outside = 0;

  void Add(FrameState state);
};

/// How the records of frames count boundary rectangles, rows and columns. Tables whose first frame lies in rectangle 0
/// count from 0, and rows from the south. Others count from 1, and rows from the north.
struct FrameNumbering {
  int first = 0;
  bool rowsGoNorth = true;
};

FrameNumbering NumberingOf(const XCIBtoc& toc);

/// Where a frame lies in its boundary rectangle.
struct FrameCell {
  int boundary = 0;      ///< index of a boundary record, or -1 for a frame that lies in none
  std::int64_t row = 0;  ///< from the north; may lie outside the grid, as may the column
  std::int64_t column = 0;
};

FrameCell CellOf(const XCIBtoc& toc, const FrameNumbering& numbering, int index);
