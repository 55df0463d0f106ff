#pragma once

#include "tiles/StoreAxis.h"

#include <vector>

namespace zrk {

/// Places of samples along an axis, in degrees: to the east, or to the south.
using PostPlaces = std::vector<double>;

/// The spacing of the posts of a level, whose tiles count as 31 posts wide.
double PbeResolution(int level);

/// Fills `places`, each a step behind the one before it.
void WalkPlaces(double from, double step, int count, PostPlaces& places);

/// The posts for places, as callers of the compatible policy rely on it: the nearest one to the west, or to the north.
/// A place on the edge of two tiles is given by both. Tiles from `first` to `last` alone take part.
void PlanPbeColumns(const PostPlaces& places, double tileSize, int first, int last, StoreAxis& axis);
void PlanPbeRows(const PostPlaces& places, double tileSize, int first, int last, StoreAxis& axis);

}  // namespace zrk
