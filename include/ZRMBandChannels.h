#pragma once

#include "ZRMBandFile.h"

/// The frame of the bands of a file with several channels, of any number.
///
/// The first band of the file is the master, which decodes all channels of a window in one read and keeps them for the
/// thread that read. Each further band is a follower. It has a channel number and owns nothing of the file. If the
/// master's last read on the same thread was of the same level and window, the follower takes its channel of that read.
/// Otherwise it has the master read. The master has to outlive its followers.
template <class Base>
class ZRKIO_API ZRMBandChannels : public ZRMBandFile<Base> {
 public:
  ~ZRMBandChannels() override;

  /// The channel that this band shows: 0-based, 0 for the master and until it is set.
  int GetChannel() const;
  /// A channel that the file does not have makes reads fail.
  void SetChannel(int channel);

  /// The calling thread's result of a channel from the last read of this master. Returns null for a channel that is not
  /// there, before the thread's first read, after a read that failed, and on a follower.
  tagXArr2* GetResult(int channel) const;
  /// The calling thread's last request to this master, also where it failed to decode; all -1 before the first.
  void GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const;

 protected:
  using typename ZRMBandFile<Base>::Frame;

  /// Null makes a master; with a master this is a follower that shares its size and place. Not owned.
  ZRMBandChannels(std::unique_ptr<Frame> frame, ZRMBandChannels* master);
  ZRMBandChannels* GetMaster() const { return master_; }

 private:
  ZRMBandChannels* master_;
};

extern template class ZRMBandChannels<ZRMBand>;
extern template class ZRMBandChannels<ZRMBandDRIO>;
