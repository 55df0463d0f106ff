#pragma once

#include "TxidBuilder.h"

/// Four planes of a window, by the arithmetic that compatible reads follow, tile by tile and pixel by pixel, straight
/// from its description. Nothing of the library is in it.
struct TxidWindowModel {
  int width = 0;
  int height = 0;
  std::array<std::vector<unsigned char>, 4> planes;
  bool isBlank = true;
};

TxidWindowModel ModelCompatibleRead(const TxidBuilder& store, int level, int x0, int x1, int y0, int y1);
