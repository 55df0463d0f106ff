#pragma once

#include "base/Window.h"
#include "display/PlaceMap.h"

#include <array>
#include <cstddef>
#include <vector>

namespace zrk {

/// A part of a picture under which the places of a band lie straight between those under the centres of its four corner
/// pixels, or each has its own.
struct Patch {
  Window window;
  std::array<BandPlace, 4> corners;  ///< upper left, upper right, lower left, lower right
  std::ptrdiff_t firstPlace = -1;    ///< of the list of exact places, row by row; -1 where the corners tell all
};

/// The places under a row of a straight patch: the first, and the step from pixel to pixel.
struct PatchRow {
  BandPlace first;
  double stepU = 0.0;
  double stepV = 0.0;
};

/// The patches of a block of a picture. A patch that would be off by more than a sixteenth of a pixel where that is
/// tested is divided; what remains of some pixels' size is worked out pixel by pixel.
class PatchList {
 public:
  /// Makes the patches of a window. `offsetX` and `offsetY` are added to the centres of pixels.
  void Cover(const PlaceMap& map, const Window& window, double offsetX, double offsetY);
  const std::vector<Patch>& GetPatches() const { return patches_; }
  /// Whether the corners of a patch tell all of its places.
  static bool IsStraight(const Patch& patch) { return patch.firstPlace < 0; }
  /// A row of a straight patch.
  static PatchRow RowOf(const Patch& patch, int y);
  /// The places under the pixels of a patch's row, into `places`.
  void PlacesOfRow(const Patch& patch, int y, std::vector<BandPlace>& places) const;
  /// The range of places under all patches, which the straight lines between do not leave; not set where none has a
  /// place.
  Extent GetRange() const;

 private:
  struct Work;
  void Add(const Work& work, const Window& window);
  void Divide(const Work& work, const Window& window);
  void AddExact(const Work& work, const Window& window);
  static bool IsNearlyStraight(const Work& work, const Patch& patch);

  std::vector<Patch> patches_;
  std::vector<BandPlace> exact_;
};

}  // namespace zrk
