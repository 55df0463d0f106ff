#pragma once

#include <cstdint>
#include <optional>

namespace zrk {

/// The sizes that a pyramid store is made of. Image k of the pyramid, k in 0..levels, is (xSize >> k) by (ySize >> k)
/// samples, at least 1 each way, and is cut into tiles of xTile by yTile samples.
struct PyramidShape {
  int xSize = 0;
  int ySize = 0;
  int dataType = 0;
  int xTile = 0;
  int yTile = 0;
  int levels = 0;
  friend bool operator==(const PyramidShape&, const PyramidShape&) = default;
};

/// Where everything is in a pyramid of a shape that was found possible. Tiles are numbered image by image from level 0,
/// row by row from the top. An uncompressed store is nothing but its tiles in this order, all of the same size.
class PyramidLayout {
 public:
  /// Empty for a shape that is not possible: sizes that are not positive, a data type other than 1 to 8, more than 30
  /// levels, a tile of more bytes than `tagXLimits` allows, or a store that no file could hold.
  static std::optional<PyramidLayout> Make(const PyramidShape& shape);

  const PyramidShape& Shape() const { return shape_; }
  int SampleBytes() const { return sampleBytes_; }
  /// Bytes of one row of a tile, and of a tile.
  std::int64_t TileRowBytes() const { return std::int64_t{shape_.xTile} * sampleBytes_; }
  std::int64_t TileBytes() const { return TileRowBytes() * shape_.yTile; }

  int Width(int level) const { return Reduced(shape_.xSize, level); }
  int Height(int level) const { return Reduced(shape_.ySize, level); }
  int Columns(int level) const { return CountTiles(Width(level), shape_.xTile); }
  int Rows(int level) const { return CountTiles(Height(level), shape_.yTile); }

  std::int64_t TileNumber(int level, int column, int row) const {
    return firstTile_[level] + std::int64_t{row} * Columns(level) + column;
  }
  std::int64_t NumTiles() const { return firstTile_[shape_.levels + 1]; }
  /// Bytes of the uncompressed store.
  std::int64_t Size() const { return NumTiles() * TileBytes(); }

  static constexpr int kMaxLevels = 30;

 private:
  static int Reduced(int size, int level) { return size >> level > 1 ? size >> level : 1; }
  static int CountTiles(int size, int tile) { return (size - 1) / tile + 1; }

  PyramidShape shape_;
  int sampleBytes_ = 0;
  std::int64_t firstTile_[kMaxLevels + 2] = {};  // of each image, and the end
};

}  // namespace zrk
