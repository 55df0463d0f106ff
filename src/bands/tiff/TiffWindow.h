#pragma once

#include "bands/tiff/TiffDecoder.h"
#include "tagXArr2.h"
#include "XChannelReads.h"

namespace zrk {

/// Fills `out`, which has the size of the request's result, with samples of a channel. What can't be read is 0. False
/// where the word behind `cancel` asked to stop.
bool SampleTiff(TiffDecoder& decoder, const ReadRequest& request, int channel, const int* cancel, tagXArr2& out);

}  // namespace zrk
