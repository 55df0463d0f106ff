#pragma once

#include "PbiBuilder.h"
#include "Samples.h"

/// What a compatible read of a store gives for a channel, by plain loops over all tiles, rows and columns. `band` tells
/// the place of the image. Tiles have pixels in rows of 256; other widths are read beside their rows all the same.
Pixels ReadPlainly(const PbiBuilder& store, const ZRMBand& band, int level, const Window& window, int channel);

/// What an exact read gives: pixel (x0 + i 2^n, y0 + j 2^n) of the index-th level, whose tiles begin at a row and
/// column of the image. Pixels of tiles outside of its range are 0.
Pixels PickExactly(const PbiBuilder& store, std::size_t index, int level, const Window& window, int channel);
