#include "XWaveletLayers.h"

#include "XBits.h"

#include <algorithm>

int XfnWTGetDataSize(char code) {
  switch (code) {
    case 0:
    case 1:
      return 1;
    case 2:
    case 3:
      return 2;
    case 4:
    case 5:
    case 6:
      return 4;
    case 7:
      return 8;
    default:
      return 0;
  }
}

/// 3 * 4^14 is the largest that an int holds.
int XfnWTGetLayerSize(int layer) {
  if (layer == 0) return 1;
  return layer >= 1 && layer <= 15 ? (3 << (layer - 1)) * (1 << (layer - 1)) : 0;
}

int XfnWTGetLayerWidth(int layer) {
  return layer == 0 ? 1 : XfnWTGetSizeToLayer(layer - 1);
}

/// The sum of the sizes of all layers below is a power of four, of which 4^15 is the largest that an int holds.
int XfnWTGetLayerOffsetLO(int layer) {
  return layer >= 1 && layer <= 16 ? 1 << (2 * (layer - 1)) : 0;
}

int XfnWTGetSizeToLayer(int layer) {
  return layer >= 0 && layer <= 30 ? 1 << layer : 0;
}

int XfnWTGetMaxLayerWithinSize(int size) {
  return XfnGetPowerOf2nValue(size);
}

int XfnWTGetMaxLevel(int size) {
  return XfnGetPowerOf2nValue(size);
}

int XfnWTGetMaxLevel(int width, int height) {
  return std::min(XfnGetPowerOf2nValue(width), XfnGetPowerOf2nValue(height));
}

int XfnWTGetNumLayers(int size) {
  return XfnGetPowerOf2nValue(size) + 1;
}
