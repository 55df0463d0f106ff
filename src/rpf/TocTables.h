#pragma once

#include "rpf/RpfBlocks.h"
#include "tagBoundaryRectangleRecordRPF.h"
#include "tagColortableIndexRecordRPF.h"
#include "tagFrameFileIndexRecordRPF.h"
#include "tagPathnameRecordRPF.h"

#include <cstdint>
#include <map>
#include <vector>

struct tagComponentRPF;

namespace zrk {

/// The boundary rectangles, in the order of the file.
struct TocBoundaries {
  std::vector<tagBoundaryRectangleRecordRPF> records;
  int productDataType = 0;  ///< of the last of them, as in `XCIBtoc::ProductDataType`
};

/// The frame files, and the paths to which they refer.
struct TocFrames {
  std::vector<tagFrameFileIndexRecordRPF> records;
  std::vector<tagPathnameRecordRPF> paths;     ///< in the order in which frames first refer to them
  std::map<std::int32_t, std::size_t> pathAt;  ///< by offset; ordered, as a file can choose offsets that collide
};

// The tables of a table of contents, each of which fills a record from its place in the file. False where it is not as
// it must be.

bool ReadTocBoundaries(RpfBlocks& blocks, const tagComponentRPF& subheader, const tagComponentRPF& table,
                       bool littleEndian, TocBoundaries& boundaries);
bool ReadTocFrames(RpfBlocks& blocks, const tagComponentRPF& subheader, const tagComponentRPF& subsection,
                   bool littleEndian, TocFrames& frames);
bool ReadTocColortables(RpfBlocks& blocks, const tagComponentRPF& section, bool littleEndian,
                        std::vector<tagColortableIndexRecordRPF>& colortables);

}  // namespace zrk
