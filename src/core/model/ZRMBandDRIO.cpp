#include "ZRMBandDRIO.h"

#include "ZRMBandXLD.h"

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandDRIO, ZRMBand);

ZRMBandDRIO::ZRMBandDRIO() = default;
ZRMBandDRIO::~ZRMBandDRIO() = default;

void ZRMBandDRIO::SetBandXLD(ZRMBandXLD* bandXLD) {
  if (bandXLD != bandXLD_.get()) bandXLD_.reset(bandXLD);
}

int ZRMBandDRIO::ReadFromLevelData(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) const {
  return bandXLD_ ? bandXLD_->ReadSubset(out, level, x0, x1, y0, y1, cancel) : 0;
}
