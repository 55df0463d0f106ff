// Makes images of a store from the images above them in the same store, strip by strip. The build of a level file uses
// it for the small images at the end, and `BuildLowerLevels` for what a write has changed. Strips are whole rows,
// whatever the columns of the window: a row that is made twice comes out the same, and tiles lie row by row.

#include "core/level/LowerLevels.h"

#include <algorithm>

namespace zrk {
namespace {

/// How much of an image is read at a time.
constexpr std::int64_t kStripBytes = 4 << 20;

/// Rows y..y + numRows - 1 of an image, all of its columns, from the image above.
class StripMaker {
 public:
  StripMaker(PyramidStore& store, int level, const Reduction& how)
      : store_(store), layout_(store.Layout()), level_(level), how_(how) {}

  int CountRows() const {
    // Each row that is made takes two rows of the image above.
    const std::int64_t rowBytes = std::int64_t{layout_.Width(level_ - 1)} * layout_.SampleBytes();
    return static_cast<int>(std::clamp<std::int64_t>(kStripBytes / rowBytes / 2, 1, layout_.Shape().yTile));
  }

  bool Make(int y, int numRows) {
    // Only an image of one row has no second row to give. That row is then paired with itself.
    const int sourceRows = std::min(2 * numRows, layout_.Height(level_ - 1) - 2 * y);
    const int sampleBytes = layout_.SampleBytes();
    if (!above_.Alloc(layout_.Width(level_ - 1), sourceRows, sampleBytes)) return false;
    if (!made_.Alloc(layout_.Width(level_), numRows, sampleBytes)) return false;
    if (!store_.Read(above_, level_ - 1, 0, 2 * y, nullptr)) return false;
    for (int row = 0; row < numRows; ++row) {
      const int lower = std::min(2 * row + 1, sourceRows - 1);
      ReduceRows(layout_, level_ - 1, how_, above_.Row(2 * row), above_.Row(lower), made_.Row(row));
    }
    return store_.Write(made_, level_, 0, y, false, how_.nullValue);
  }

 private:
  PyramidStore& store_;
  const PyramidLayout& layout_;
  int level_;
  const Reduction& how_;
  tagXArr2 above_;
  tagXArr2 made_;
};

}  // namespace

bool MakeLowerLevels(PyramidStore& store, int firstLevel, const Window& window, const Reduction& how) {
  const PyramidLayout& layout = store.Layout();
  for (int level = firstLevel; level <= layout.Shape().levels; ++level) {
    StripMaker maker(store, level, how);
    const int last = layout.Height(level) - 1;
    const int end = std::min(window.y1 >> level, last) + 1;
    // The last row of an odd height has no part in the next image, so that halving a row number may lead beyond its
    // end.
    for (int y = std::min(window.y0 >> level, last), rows = 0; y < end; y += rows) {
      rows = std::min(maker.CountRows(), end - y);
      if (!maker.Make(y, rows)) return false;
    }
  }
  return true;
}

}  // namespace zrk
