#pragma once

#include "bands/tiff/TiffDecoder.h"
#include "core/model/ChannelReads.h"
#include "tagXArr2.h"

#include <span>

namespace zrk {

/// A buffer for the samples of a channel, of the size of a request's result.
struct TiffTarget {
  int channel = 0;
  tagXArr2* out = nullptr;
};

/// Fills the targets, one at least; of a file that has a plane for each sample, one alone. What can't be read is 0.
/// False where the word behind `cancel` asked to stop.
bool SampleTiff(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets,
                const int* cancel);

}  // namespace zrk
