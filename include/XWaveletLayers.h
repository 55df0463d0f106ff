#pragma once

#include "XExport.h"

// The arithmetic of a pyramid of wavelet layers: layer 0 is one element, and each layer above it has three square
// blocks of details. Layers 0 to n fill a square of 2^n elements on a side. Answers that no int holds, and those for
// layers below 0, are 0. All functions are pure and serve any number of threads.

/// Bytes of an element, by its type: 1 for types 0 and 1, 2 for 2 and 3, 4 for 4 to 6, 8 for 7, 0 for any other.
ZRKIO_API int XfnWTGetDataSize(char code);

/// Elements in a layer: 1 in layer 0, and 3 * 4^(layer - 1) above.
ZRKIO_API int XfnWTGetLayerSize(int layer);
/// Elements on a side of one of its blocks: 1 in layer 0, and 2^(layer - 1) above.
ZRKIO_API int XfnWTGetLayerWidth(int layer);
/// Elements in all layers below it: 0 for layer 0, and 4^(layer - 1) above.
ZRKIO_API int XfnWTGetLayerOffsetLO(int layer);
/// Elements on a side of the square that layers 0 to `layer` fill: 2^layer.
ZRKIO_API int XfnWTGetSizeToLayer(int layer);

/// The last layer of a square of `size` elements on a side: the whole logarithm to base 2, -1 for a size of 0 or below.
ZRKIO_API int XfnWTGetMaxLayerWithinSize(int size);
ZRKIO_API int XfnWTGetMaxLevel(int size);
/// As above, of the shorter side.
ZRKIO_API int XfnWTGetMaxLevel(int width, int height);
/// How many layers such a square has: one more than the number of the last.
ZRKIO_API int XfnWTGetNumLayers(int size);
