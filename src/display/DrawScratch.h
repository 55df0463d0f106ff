#pragma once

#include "display/JointSamples.h"
#include "display/Patches.h"
#include "math/BytePicker.h"
#include "tagXArr2.h"

#include <array>
#include <cstdint>
#include <vector>

namespace zrk {

/// A block of bytes that a band gives to the picture, row by row, and which of them are shown.
struct BandPlane {
  std::vector<unsigned char> bytes;  ///< 0 where nothing is shown
  std::vector<unsigned char> shown;  ///< 255 or 0; without meaning where `isWhole`
  bool isWhole = false;              ///< every byte is shown
};

/// How opaque the four quarters of each pixel of a block are, as a plane each. For means alone.
struct OpacityQuarters {
  int numHalves = 0;  ///< 2 where there are quarters
  std::array<std::vector<unsigned char>, 4> planes;
};

/// The columns, or the rows, of a band under those of a block.
struct BlockAxis {
  std::vector<int>
      pixels;     ///< of the band, for the block's pixels from `first` to `last`; then where their samples are
  int first = 0;  ///< of the block's pixels that lie over the band
  int last = -1;
  int lowest = 0;  ///< of the band's pixels under them
  int highest = -1;
};

/// What the patches of a draw were made for, so that bands that lie alike share them.
struct PatchKey {
  Window block{0, -1, 0, -1};
  std::array<double, 6> toPixels{};
  double shift = 0.0;
  int numHalves = 0;
  friend bool operator==(const PatchKey&, const PatchKey&) = default;
};

/// Working memory of the drawing into one buffer, kept from draw to draw.
struct DrawScratch {
  std::array<BandPlane, 3> planes;
  BandPlane opacity;  ///< of a composite that has one
  OpacityQuarters quarters;
  std::array<BlockAxis, 2> columns;  ///< one, or for means one for each half of the pixels
  std::array<BlockAxis, 2> rows;
  std::array<PatchList, 4> patches;   ///< one, or for means one for each quarter of the pixels
  PatchKey patchKey;                  ///< of `patches`; void when a draw begins
  std::vector<BandPlace> line;        ///< places under a row
  std::vector<int> places;            ///< of their samples in the buffer
  BytePicker picker;                  ///< of bytes at those places
  std::vector<int> otherPlaces;       ///< for means: of the right halves
  std::vector<int> everyPlace;        ///< 0, 1, 2 and so on
  std::vector<unsigned char> bytes;   ///< of a row
  std::vector<unsigned char> others;  ///< of another one
  std::vector<unsigned char> shown;   ///< of a row
  std::vector<unsigned char> inside;  ///< which pixels of a row lie over the band, 255 or 0
  std::vector<std::uint16_t> sums;    ///< for means: of the bytes that are shown
  std::vector<std::uint8_t> counts;   ///< how many those are
  tagXArr2 strip;                     ///< for bands that fill the buffer they are given
  JointSamples joint;                 ///< of the colours of a block
};

}  // namespace zrk
