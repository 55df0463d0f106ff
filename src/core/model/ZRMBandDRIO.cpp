#include "ZRMBandDRIO.h"

#include "base/ReadError.h"

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandDRIO, ZRMBand);

ZRMBandDRIO::ZRMBandDRIO() {
  SetLevelSource(this);
}
ZRMBandDRIO::~ZRMBandDRIO() = default;

/// The same band may be given again and must not be destroyed by that.
void ZRMBandDRIO::HoldLevelData(ZRMBand* levelData, ZRMBandXLD* bandXLD) {
  if (levelData != levelData_.get()) levelData_.reset(levelData);
  bandXLD_ = bandXLD;
}

int ZRMBandDRIO::ReadFromLevelData(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) const {
  if (!levelData_) return 0;
  if (levelData_->ReadSubset(out, level, x0, x1, y0, y1, cancel)) return 1;
  zrk::ForgetReadError();  // the source is asked next
  return 0;
}
