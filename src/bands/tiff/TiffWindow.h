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

/// Fills the targets. There is at least one, and no more than one in a file with a plane for each sample. Samples that
/// can't be read are 0. False where the word behind `cancel` asked to stop.
bool SampleTiff(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets,
                const int* cancel);

}  // namespace zrk
