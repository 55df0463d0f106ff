#pragma once

#include "tagXArr2.h"
#include "XChannelReads.h"

namespace zrk {

/// A channel of the master's last read on this thread, if that was of this request; otherwise null.
template <class Band>
tagXArr2* FindResult(const Band& master, int channel, const ReadRequest& request) {
  ReadRequest last;
  master.GetPrevReadSubsetParam(last.level, last.x0, last.x1, last.y0, last.y1);
  return last == request ? master.GetResult(channel) : nullptr;
}

/// The read of a follower: its channel of the master's last read on this thread if that was the same request, otherwise
/// of a new one, in which the master decodes all channels at once. Where the master answers from its level data it
/// decodes nothing, and there is no channel to take.
template <class Band>
int ReadThroughMaster(Band& master, int channel, tagXArr2*& out, const ReadRequest& request) {
  tagXArr2* result = FindResult(master, channel, request);
  if (!result) {
    tagXArr2* ofMaster = nullptr;
    if (!master.ReadSubset(ofMaster, request.level, request.x0, request.x1, request.y0, request.y1, nullptr)) return 0;
    result = FindResult(master, channel, request);
    if (!result) return 0;
  }
  out = result;
  return 1;
}

}  // namespace zrk
