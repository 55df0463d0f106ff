#pragma once

#include "PbeBuilder.h"
#include "Samples.h"

#include <vector>

/// What a compatible read of a store gives, by plain loops over all tiles and all samples of the result.
Pixels ReadPlainly(const PbeBuilder& store, const ZRMBand& band, int level, const Window& window);

/// The bytes of a read as heights.
std::vector<float> FloatsOf(const Pixels& pixels);
std::vector<short> ShortsOf(const Pixels& pixels);
