#pragma once

/// A grid of tiles laid over the world: where it begins, how far a pixel goes, and how large it is.
struct tagVirtualTileGrid {
  double originX = 0.0;
  double originY = 0.0;
  double stepX = 0.0;
  double stepY = 0.0;
  int width = 0;
  int height = 0;
};
