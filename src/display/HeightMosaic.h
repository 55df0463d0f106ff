#pragma once

#include "ZRMCompManager.h"

#include <memory>

struct tagXArr2;

namespace zrk {

/// A grid of posts in the world: the post in column i and row j stands at x0 + i * xStep, y0 - j * yStep. Columns and
/// rows may lie outside 0 to their number and are then simply farther west or north.
struct PostGrid {
  double x0 = 0.0;
  double y0 = 0.0;
  double xStep = 1.0;
  double yStep = 1.0;
};

/// A block of posts of a grid: its first column and row, and how many there are.
struct PostBlock {
  std::int64_t column = 0;
  std::int64_t row = 0;
  int numColumns = 0;
  int numRows = 0;
};

/// The heights of a manager's composites at any posts: those of band 0 of each, the first composite on top. A height is
/// the sample whose area holds the post, by the geotransform of the band, from level 0. Bands of other systems are
/// asked at the place that the post has in theirs, worked out for each post by itself; longitudes wrap at 180 degrees.
/// Where all are null or do not reach, the height is 0.
///
/// Many threads may read at once; the composites have to outlive it and are not to be changed meanwhile.
class HeightMosaic {
 public:
  /// Returns null where no composite has a band 0 of a scalar type that can be placed in the manager's system, and
  /// where an exact one can't be.
  static std::unique_ptr<HeightMosaic> Make(const ZRMCompManager& manager);
  ~HeightMosaic();

  /// The type of the sources where they agree, otherwise REAL32.
  int GetDataType() const;
  /// Reads a block of posts into `out`, which gets the block's size and samples of `GetDataType`, rows from the north.
  /// False where a source can't be read, a stop is requested or memory ran out.
  bool Read(const PostGrid& grid, const PostBlock& block, tagXArr2& out, int* cancel) const;

 private:
  struct Impl;
  explicit HeightMosaic(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace zrk
