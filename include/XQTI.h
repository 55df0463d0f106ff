#pragma once

#include "tagXVector2.h"
#include "XExport.h"
#include "XString.h"

#include <cstdint>

/// Names of the cells of a quadtree with one root. Level L has 2^L by 2^L cells, numbered by x and y from 0.
///
/// The packed name, called LXY, is a signed number of 64 bits. It has the level in the top 8 bits, x in the next 28,
/// and y in the last 28, all of them signed. 0 is the root; -1 means that there is no such cell. A negative x or y
/// spills ones over the fields above it, so that none is packed. The name as a text has 21 digits: three of the level,
/// nine of x, nine of y.
///
/// All functions are pure and serve any number of threads.
class ZRKIO_API XQTI {
 public:
  /// 0, the packed name of the only cell of level 0.
  static std::int64_t GetRoot();

  /// Between the packed name and its three numbers. Nothing is checked. A level from 0 to 27, with x and y from 0 to
  /// 2^level - 1, comes back as it was.
  static std::int64_t ComposeLXY(std::int32_t level, std::int32_t x, std::int32_t y);
  static void DecomposeLXY(std::int64_t lxy, std::int32_t& level, std::int32_t& x, std::int32_t& y);
  /// The level of a packed name; negative for a negative name.
  static std::int32_t GetLevel(std::int64_t lxy);

  /// Cells on a side of the level, 2^level; 0 for a level below 0 or above 30, whose count no 32 bits hold.
  static std::int32_t GetLevelSize(std::int32_t level);

  /// The cell one level up that holds this one; -1 for the root and everything below it.
  static std::int64_t GetParent(std::int64_t lxy);
  /// One of the four cells one level down. Quadrants go around the square: 0 is (2x, 2y), 1 is (2x + 1, 2y), 2 is (2x +
  /// 1, 2y + 1), 3 is (2x, 2y + 1). Returns -1 for a negative cell and for any other quadrant.
  static std::int64_t GetChild(std::int64_t lxy, std::int32_t quadrant);
  /// The cell beside this one. Direction 0 is x - 1, 1 is x + 1, 2 is y - 1, 3 is y + 1. Returns -1 beyond the rim, for
  /// any other direction, and for the root and everything below it. Nothing wraps around.
  static std::int64_t GetNeighborSameLevel(std::int64_t lxy, std::int32_t direction);
  /// The parent of that neighbour, or -1 without one.
  static std::int64_t GetNeighborUpperLevel(std::int64_t lxy, std::int32_t direction);

  /// The part of a range that a cell covers, where 2^level cells divide each axis of the range. y grows with the range.
  /// The cell's maximum is its minimum plus the size of a cell, so that neighbours may differ in the last bit of the
  /// edge that they share.
  static void GetRange(std::int32_t level, std::int32_t x, std::int32_t y, const tagXVector2& min,
                       const tagXVector2& max, tagXVector2& cellMin, tagXVector2& cellMax);
  static void GetRange(std::int64_t lxy, const tagXVector2& min, const tagXVector2& max, tagXVector2& cellMin,
                       tagXVector2& cellMax);

  /// The 21 digits.
  static XString ToString(std::int32_t level, std::int32_t x, std::int32_t y);
  static XString ToString(std::int64_t lxy);

  /// The packed name of a text of 21 digits. Neither its length nor its characters are checked: each of the three
  /// pieces counts as far as it is a number, and as 0 otherwise.
  static std::int64_t ToLXY(const XString& text);
  static std::int64_t ToLXY(const XString& text, std::int32_t& level, std::int32_t& x, std::int32_t& y);
};

/// The range of the cell (0, 0) of a level: `XQTI::GetRange` with x and y of 0.
ZRKIO_API void XfnCalcLXYRow0Tile0Range(std::int32_t level, const tagXVector2& min, const tagXVector2& max,
                                        tagXVector2& outMin, tagXVector2& outMax);
