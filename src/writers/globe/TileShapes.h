#pragma once

#include "tiles/BlockCoder.h"

namespace zrk {

// The tiles of exports.

/// Pixels of a picture along an edge, and the share of the tile that one has.
constexpr int kPictureSide = 256;
constexpr double kPictureStep = 0.00390625;
constexpr BlockShape kPictureShape{kDxt1, kPictureSide, kPictureSide};

/// Posts along an edge, and the steps between them.
constexpr int kPostSide = 31;
constexpr int kPostSteps = kPostSide - 1;
constexpr int kPostsOfTile = kPostSide * kPostSide;

}  // namespace zrk
