#pragma once

#include "writers/globe/TileMaker.h"
#include "ZRMCompManager.h"

namespace zrk {

/// What the finest tiles of an image store show.
struct RenderedLayers {
  const ZRMCompManager& manager;
  XColour backColor;
  bool isExact;  ///< a composite that can't be read fails the tile; otherwise it is left out
  tagXTileLevel level;
};

/// A maker of the finest tiles of an image store. Returns null with the reason in `err`.
std::unique_ptr<TileMaker> NewRenderedMaker(const RenderedLayers& layers, double tileSize, XString& err);

}  // namespace zrk
