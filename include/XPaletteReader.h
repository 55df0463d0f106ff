#pragma once

#include "XExport.h"

#include <cstdint>
#include <memory>
#include <vector>

class ZRMBand;

/// The colours that the values of a sample stand for: a component of 16 bits for each value from 0 on, as the file
/// stores them. Components of a byte are spread over the 16 bits, so that 255 becomes 65,535.
struct tagXColourMap {
  std::vector<std::uint16_t> red;
  std::vector<std::uint16_t> green;
  std::vector<std::uint16_t> blue;
};

/// A band that shows colours of a palette, where the file has the numbers of its entries. Band classes derive from it
/// beside their base. It serves those who keep the palette, as a writer of images with palettes does. Under the
/// compatible policy no band has a palette here.
class ZRKIO_API XPaletteReader {
 public:
  virtual ~XPaletteReader();
  /// The same for all bands whose colours come of one palette and one sample; null for a band without a palette. It is
  /// for comparison alone.
  virtual const void* GetPaletteSource() const = 0;
  /// The palette as it is stored; empty for a band without one.
  virtual tagXColourMap GetColourMap() const = 0;
  /// A new band of the same size and place, which shows the numbers of the entries and is the caller's. It lives on
  /// without this one. Returns null where there is no palette, and where the file can't be read.
  virtual std::unique_ptr<ZRMBand> MakeIndexBand() = 0;
};
