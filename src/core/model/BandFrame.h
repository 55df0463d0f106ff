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
  /// The same at a level above 0, for a decoder that knows no levels, under the exact policy: every 2^level-th pixel of
  /// every 2^level-th row, from the window's corner. Here a row at a time is decoded.
  virtual ChannelReads::Record* DecodeLevel(const ReadRequest& request, const int* cancel);
  /// Frees what is kept for the calling thread.
  virtual void FreeBuffers();

  /// The result for this band's channel, decoded or taken from the master; null where that fails.
  tagXArr2* Read(const ReadRequest& request, const int* cancel, bool isExact);
  bool IsFollower() const { return master != nullptr; }

  /// Whether a level above 0 is one that an image can have and leaves a pixel of the window.
  static bool LeavesPixels(const ReadRequest& request);

  ChannelReads reads;
  int channel = 0;
  bool asksLevelData = true;
  bool answersAtFullSize = false;  ///< whatever the level; reads are then cut where much is looked at
  bool decodesNoLevels = false;    ///< `Decode` gives full size whatever the level, as the compatible policy has it
  XBand* masterBand = nullptr;     ///< for a follower, its master twice: as the band that reads
  BandFrame* master = nullptr;     ///< and as the keeper of what was read

 private:
  tagXArr2* ReadAsMaster(const ReadRequest& request, const int* cancel, bool isExact);
  tagXArr2* ReadThroughMaster(const ReadRequest& request);

  ChannelReads thinned_;  // the levels that `DecodeLevel` puts together
};

}  // namespace zrk

template <class Base>
class ZRMBandFile<Base>::Frame : public zrk::BandFrame {};
