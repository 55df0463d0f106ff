#pragma once

#include "geo/EarthCentred.h"
#include "tagXVector3f.h"

#include <cstdint>
#include <vector>

namespace zrk {

/// Posts of a level of the global grid, counted from its north-western corner: columns eastward from longitude -180,
/// rows southward from latitude 90. A tile has 30 steps between its posts, and shares the posts on its edges.
struct LevelPosts {
  explicit LevelPosts(int level);

  double step;              ///< between posts, in degrees
  std::int64_t numColumns;  ///< steps around the earth: the post of that column is the one of column 0
  std::int64_t numRows;     ///< steps from pole to pole
};

/// The normals of posts, by central differences in space: the cross product of the way from the western neighbour to
/// the eastern one and that from the southern to the northern one. They are of unit length and point outward. At the
/// poles the normal is the axis. Heights that are not finite count as 0.
///
/// A normal follows from the post's column and row, its height and those around it alone. So a post that several tiles
/// share has the same bytes in all of them, also across longitude 180. For one thread.
class PostNormals {
 public:
  explicit PostNormals(int level) : posts_(level) {}

  /// Of `width` by `height` posts from a column and a row on. `heights` has one post more on each side, row by row from
  /// the north, and `normals` room for one a post.
  void Make(std::int64_t column, std::int64_t row, int width, int height, const float* heights, tagXVector3f* normals);

 private:
  Angle LatitudeOf(std::int64_t row) const;
  void FindMeridians(std::int64_t column, int width);
  void FindRow(std::int64_t row, const float* heights, std::vector<SpacePoint>& points) const;
  void MakeRow(const Angle& lat, tagXVector3f* normals) const;

  LevelPosts posts_;
  std::vector<Angle> meridians_;
  std::vector<SpacePoint> north_, middle_, south_;
};

}  // namespace zrk
