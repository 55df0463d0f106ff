#pragma once

#include "XExport.h"

class XEPOT2D;

/// A band that adds nothing to the store that it lies in: its samples at full resolution are those of image 0. A reader
/// of all pixels may take whole tiles from the store, and saves a copy. Band classes derive from it beside their base.
class ZRKIO_API XTileSource {
 public:
  virtual ~XTileSource();
  /// The store, which belongs to the band; null where samples must be read through the band.
  virtual const XEPOT2D* GetTileStore() const = 0;
};
