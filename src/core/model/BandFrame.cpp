#include "core/model/BandFrame.h"

#include "base/ReadError.h"
#include "math/Interleave.h"

namespace zrk {

BandFrame::~BandFrame() = default;

/// The rule of most formats. A class with a size of its own, which callers can't set, adds to it.
bool BandFrame::Accepts(const ReadRequest&, bool isInside, const int*) const {
  return isInside;
}

void BandFrame::FreeBuffers() {
  reads.Release();
  thinned_.Release();
}

tagXArr2* BandFrame::Read(const ReadRequest& request, const int* cancel, bool isExact) {
  return master ? ReadThroughMaster(request) : ReadAsMaster(request, cancel, isExact);
}

tagXArr2* BandFrame::ReadAsMaster(const ReadRequest& request, const int* cancel, bool isExact) {
  const bool isThinned = isExact && decodesNoLevels && request.level != 0;
  ChannelReads::Record* const record = isThinned ? DecodeLevel(request, cancel) : Decode(request, cancel);
  if (!record) return nullptr;
  record->isFilled = true;
  return reads.GetResult(channel);
}

bool BandFrame::LeavesPixels(const ReadRequest& request) {
  constexpr int kMaxLevel = 30;  // an int has no more
  return 0 < request.level && request.level <= kMaxLevel && request.Width() >> request.level > 0 &&
         request.Height() >> request.level > 0;
}

/// The decoder writes its rows to the record that results are found in, so the level is put together in another one.
/// They change places in the end, and the room for a row is there for the next read.
ChannelReads::Record* BandFrame::DecodeLevel(const ReadRequest& request, const int* cancel) {
  if (!LeavesPixels(request)) {
    NoteReadError(kNoSuchLevel);
    return nullptr;
  }
  const int width = request.Width() >> request.level, height = request.Height() >> request.level;
  const int step = 1 << request.level;
  ChannelReads::Record* row = nullptr;
  ChannelReads::Record* whole = nullptr;
  for (int y = 0; y < height; ++y) {
    const int from = request.y0 + y * step;
    row = Decode({0, request.x0, request.x0 + (width - 1) * step, from, from}, cancel);
    if (!row) return nullptr;
    const int sampleBytes = row->At(0).elementSize;
    if (!whole) whole = thinned_.Begin(request, {row->numChannels, width, height, sampleBytes});
    if (!whole) return nullptr;
    for (int c = 0; c < row->numChannels; ++c) {
      GatherSamples(row->At(c).data, static_cast<std::size_t>(width), std::ptrdiff_t{step} * sampleBytes, sampleBytes,
                    whole->At(c).Row(y));
    }
  }
  row->channels.swap(whole->channels);
  row->request = request;
  return row;
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
