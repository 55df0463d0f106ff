#pragma once

#include "MemoryBand.h"

#include <gtest/gtest.h>

#include <vector>

/// The samples of a window at a level; none where the read fails.
template <class Sample>
std::vector<Sample> Read(ZRMBand& band, int level, int x0, int x1, int y0, int y1) {
  tagXArr2* out = nullptr;
  if (!band.ReadSubset(out, level, x0, x1, y0, y1, nullptr)) return {};
  EXPECT_EQ((x1 - x0 + 1) >> level, out->xSize);
  EXPECT_EQ((y1 - y0 + 1) >> level, out->ySize);
  return SamplesOf<Sample>(*out);
}

template <class Sample>
std::vector<Sample> ReadAll(ZRMBand& band) {
  return Read<Sample>(band, 0, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1);
}
