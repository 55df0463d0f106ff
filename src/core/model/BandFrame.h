#pragma once

#include "core/model/ChannelReads.h"
#include "ZRMBandChannels.h"

namespace zrk {

/// What stands behind a band over a file: its reads, its channel, and how a window of the file is decoded. Band classes
/// derive their hidden state from it.
class BandFrame {
 public:
  virtual ~BandFrame();

  /// Whether a window may be asked at all. `isInside` tells whether it lies in the band's size, which callers can set.
  virtual bool Accepts(const ReadRequest& request, bool isInside, const int* cancel) const;
  /// Decodes all channels of a window: begins a read, fills its buffers and answers its record, or null.
  virtual ChannelReads::Record* Decode(const ReadRequest& request, const int* cancel) = 0;
  /// Frees what is kept for the calling thread.
  virtual void FreeBuffers();

  /// The result for this band's channel, decoded or taken from the master; null where that fails.
  tagXArr2* Read(const ReadRequest& request, const int* cancel);
  bool IsFollower() const { return master != nullptr; }

  ChannelReads reads;
  int channel = 0;
  bool asksLevelData = true;
  bool answersAtFullSize = false;  ///< whatever the level; reads are then cut where much is looked at
  XBand* masterBand = nullptr;     ///< for a follower, its master twice: as the band that reads
  BandFrame* master = nullptr;     ///< and as the keeper of what was read

 private:
  tagXArr2* ReadAsMaster(const ReadRequest& request, const int* cancel);
  tagXArr2* ReadThroughMaster(const ReadRequest& request);
};

}  // namespace zrk

template <class Base>
class ZRMBandFile<Base>::Frame : public zrk::BandFrame {};
