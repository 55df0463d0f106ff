#include "core/level/PyramidLayout.h"

#include "base/Checked.h"
#include "XDataType.h"
#include "XLimits.h"

namespace zrk {

std::optional<PyramidLayout> PyramidLayout::Make(const PyramidShape& shape) {
  const bool isPossible = shape.xSize > 0 && shape.ySize > 0 && shape.xTile > 0 && shape.yTile > 0 &&
                          shape.dataType >= kPint08 && shape.dataType <= kReal64 && shape.levels >= 0 &&
                          shape.levels <= kMaxLevels;
  if (!isPossible) return std::nullopt;
  PyramidLayout layout;
  layout.shape_ = shape;
  layout.sampleBytes_ = XfnGetDataSize(shape.dataType);
  // Sizes are a stranger's. What passes here is multiplied without a check wherever a layout is used.
  const auto tileSamples = CheckedMultiply(shape.xTile, shape.yTile);
  const auto tileBytes = tileSamples ? CheckedMultiply(*tileSamples, layout.sampleBytes_) : std::nullopt;
  if (!tileBytes || *tileBytes > XfnGetLimits().decodedTileBytes) return std::nullopt;
  // The first tiles of the images are kept, so that the offset of any tile is found without a loop.
  for (int level = 0; level <= shape.levels; ++level) {
    const auto numTiles = std::int64_t{layout.Columns(level)} * layout.Rows(level);
    const auto end = CheckedAdd(layout.firstTile_[level], numTiles);
    if (!end || !CheckedMultiply(*end, *tileBytes)) return std::nullopt;
    layout.firstTile_[level + 1] = *end;
  }
  return layout;
}

}  // namespace zrk
