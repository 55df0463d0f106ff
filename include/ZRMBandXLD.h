#pragma once

#include "ZRMBand.h"

/// A band over the level data of another one: it serves reduced levels and declines level 0. Without a store behind it,
/// as after a level file that holds statistics only, it declines every read.
class ZRKIO_API ZRMBandXLD : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandXLD();
  ~ZRMBandXLD() override;

  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
};
