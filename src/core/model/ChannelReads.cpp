#include "core/model/ChannelReads.h"

namespace zrk {

/// The request is stored and the results are given up before anything can fail. A follower that asks after a failure
/// then finds no pixels of an older read. The list of channels only grows, because callers may still hold what it
/// handed out.
ChannelReads::Record* ChannelReads::Begin(const ReadRequest& request, const Shape& shape) {
  Record& record = records_.Get();
  record.request = request;
  record.isFilled = false;
  record.numChannels = shape.numChannels;
  record.image = image_;
  while (std::ssize(record.channels) < shape.numChannels) record.channels.emplace_back();
  for (int channel = 0; channel < shape.numChannels; ++channel) {
    tagXArr2& result = record.At(channel);
    if (!result.Alloc(shape.width, shape.height, shape.sampleBytes)) return nullptr;
    result.isLent = true;
  }
  return &record;
}

}  // namespace zrk
