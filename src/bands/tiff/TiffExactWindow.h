#pragma once

#include "bands/tiff/TiffPieces.h"

namespace zrk {

/// Fills the targets with the pixels at x0 + i * 2^n and y0 + j * 2^n. Blocks that the file leaves out have the null
/// sample, or 0. False where a block can't be read or the word behind `cancel` asked to stop; `NoteReadError` has the
/// reason then.
bool SampleTiffExactly(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets,
                       const int* cancel);

}  // namespace zrk
