#include "ZRMBandChannels.h"

#include "core/model/BandFrame.h"

#include <utility>

template <class Base>
ZRMBandChannels<Base>::ZRMBandChannels(std::unique_ptr<Frame> frame, ZRMBandChannels* master)
    : ZRMBandFile<Base>(std::move(frame)), master_(master) {
  // A follower shares the size and place of its master, since one decode serves both.
  if (!master) return;
  this->CopyGeometry(*master);
  this->SetReadPolicy(master->GetReadPolicy());
  this->GetFrame().masterBand = master;
  this->GetFrame().master = &master->GetFrame();
}

template <class Base>
ZRMBandChannels<Base>::~ZRMBandChannels() = default;

template <class Base>
int ZRMBandChannels<Base>::GetChannel() const {
  return this->GetFrame().channel;
}

template <class Base>
void ZRMBandChannels<Base>::SetChannel(int channel) {
  this->GetFrame().channel = channel;
}

template <class Base>
tagXArr2* ZRMBandChannels<Base>::GetResult(int channel) const {
  return this->GetFrame().reads.GetResult(channel);
}

template <class Base>
void ZRMBandChannels<Base>::GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const {
  const zrk::ReadRequest last = this->GetFrame().reads.GetLastRequest();
  level = last.level;
  x0 = last.x0;
  x1 = last.x1;
  y0 = last.y0;
  y1 = last.y1;
}

/// The two bases that bands over files have.
template class ZRMBandChannels<ZRMBand>;
template class ZRMBandChannels<ZRMBandDRIO>;
