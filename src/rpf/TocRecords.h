#pragma once

#include "rpf/RpfBlocks.h"
#include "tagBoundaryRectangleRecordRPF.h"
#include "tagColortableIndexRecordRPF.h"
#include "tagFrameFileIndexRecordRPF.h"

namespace zrk {

inline constexpr int kTocBoundaryBytes = 132;
inline constexpr int kTocFrameBytes = 33;
inline constexpr int kTocColortableBytes = 62;

// Each takes the bytes of one record, all of which must be there.

tagBoundaryRectangleRecordRPF ParseTocBoundary(RpfBlocks::Bytes bytes, bool littleEndian);
tagFrameFileIndexRecordRPF ParseTocFrame(RpfBlocks::Bytes bytes, bool littleEndian);
tagColortableIndexRecordRPF ParseTocColortable(RpfBlocks::Bytes bytes);

/// The code of a product by its data type text, see `XCIBtoc::ProductDataType`.
int FindProductDataType(const char* text);

}  // namespace zrk
