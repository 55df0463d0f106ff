#include "core/model/BandFrame.h"

namespace zrk {

BandFrame::~BandFrame() = default;

/// The rule of most formats. A class with a size of its own, which callers can't set, adds to it.
bool BandFrame::Accepts(const ReadRequest&, bool isInside, const int*) const {
  return isInside;
}

void BandFrame::FreeBuffers() {
  reads.Release();
}

tagXArr2* BandFrame::Read(const ReadRequest& request, const int* cancel) {
  return master ? ReadThroughMaster(request) : ReadAsMaster(request, cancel);
}

tagXArr2* BandFrame::ReadAsMaster(const ReadRequest& request, const int* cancel) {
  ChannelReads::Record* const record = Decode(request, cancel);
  if (!record) return nullptr;
  record->isFilled = true;
  return reads.GetResult(channel);
}

/// Takes the channel of the master's last read on this thread, if that was the same request. Otherwise the master reads
/// anew, and decodes all channels at once. A master that answers from its level data decodes nothing, and there is no
/// channel to take.
tagXArr2* BandFrame::ReadThroughMaster(const ReadRequest& request) {
  if (tagXArr2* const result = master->reads.FindResult(channel, request)) return result;
  tagXArr2* ofMaster = nullptr;
  if (!masterBand->ReadSubset(ofMaster, request.level, request.x0, request.x1, request.y0, request.y1, nullptr)) {
    return nullptr;
  }
  return master->reads.FindResult(channel, request);
}

}  // namespace zrk
