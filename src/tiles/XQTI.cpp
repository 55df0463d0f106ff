// Cells of a quadtree as numbers of 64 bits. Level, x and y are packed into one number and unpacked from it. Parents,
// children and neighbours follow by shifts of x and y, without a table.
//
// Ranges of cells are worked out in floating point. The order of the operations is part of the contract, because
// callers compare the last bit.

#include "XQTI.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr int kLevelShift = 56;
constexpr int kXShift = 28;
constexpr std::int64_t kNoCell = -1;

/// The number in the lowest 28 bits, whose highest is the sign.
std::int32_t Signed28(std::uint64_t bits) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits) << 4) >> 4;
}

/// The last x and y of a level.
std::int64_t RimOf(std::int32_t level) {
  return (std::int64_t{1} << std::min(level, 62)) - 1;
}

/// A piece of the digits as a number. Nine characters can't be more than 32 bits hold.
std::int32_t NumberIn(const XString& text, int first, int count) {
  return std::atoi(text.Mid(first, count));
}

}  // namespace

std::int64_t XQTI::GetRoot() {
  return 0;
}

/// Both numbers are extended by their sign before they are shifted, which is why a negative one spills.
std::int64_t XQTI::ComposeLXY(std::int32_t level, std::int32_t x, std::int32_t y) {
  const auto extend = [](std::int32_t number) { return static_cast<std::uint64_t>(std::int64_t{number}); };
  return static_cast<std::int64_t>(extend(level) << kLevelShift | extend(x) << kXShift | extend(y));
}

void XQTI::DecomposeLXY(std::int64_t lxy, std::int32_t& level, std::int32_t& x, std::int32_t& y) {
  const auto bits = static_cast<std::uint64_t>(lxy);
  level = GetLevel(lxy);
  x = Signed28(bits >> kXShift);
  y = Signed28(bits);
}

std::int32_t XQTI::GetLevel(std::int64_t lxy) {
  return static_cast<std::int32_t>(lxy >> kLevelShift);
}

std::int32_t XQTI::GetLevelSize(std::int32_t level) {
  return level >= 0 && level <= 30 ? std::int32_t{1} << level : 0;
}

std::int64_t XQTI::GetParent(std::int64_t lxy) {
  if (lxy <= 0) return kNoCell;
  std::int32_t level = 0, x = 0, y = 0;
  DecomposeLXY(lxy, level, x, y);
  return ComposeLXY(level - 1, x >> 1, y >> 1);
}

std::int64_t XQTI::GetChild(std::int64_t lxy, std::int32_t quadrant) {
  if (lxy < 0 || quadrant < 0 || quadrant > 3) return kNoCell;
  std::int32_t level = 0, x = 0, y = 0;
  DecomposeLXY(lxy, level, x, y);
  const int right = quadrant == 1 || quadrant == 2 ? 1 : 0;
  const int upper = quadrant >= 2 ? 1 : 0;
  return ComposeLXY(level + 1, 2 * x + right, 2 * y + upper);
}

std::int64_t XQTI::GetNeighborSameLevel(std::int64_t lxy, std::int32_t direction) {
  if (lxy <= 0 || direction < 0 || direction > 3) return kNoCell;
  std::int32_t level = 0, x = 0, y = 0;
  DecomposeLXY(lxy, level, x, y);
  std::int32_t& moved = direction < 2 ? x : y;
  const bool isForward = direction % 2 == 1;
  if (moved == (isForward ? RimOf(level) : 0)) return kNoCell;
  moved += isForward ? 1 : -1;
  return ComposeLXY(level, x, y);
}

std::int64_t XQTI::GetNeighborUpperLevel(std::int64_t lxy, std::int32_t direction) {
  return GetParent(GetNeighborSameLevel(lxy, direction));
}

/// The order of these operations decides about the last bit.
void XQTI::GetRange(std::int32_t level, std::int32_t x, std::int32_t y, const tagXVector2& min, const tagXVector2& max,
                    tagXVector2& cellMin, tagXVector2& cellMax) {
  const double numCells = std::ldexp(1.0, level);
  const double width = (max.x - min.x) / numCells;
  const double height = (max.y - min.y) / numCells;
  const tagXVector2 corner = {x * width + min.x, y * height + min.y};
  cellMax = {corner.x + width, corner.y + height};
  cellMin = corner;
}

void XQTI::GetRange(std::int64_t lxy, const tagXVector2& min, const tagXVector2& max, tagXVector2& cellMin,
                    tagXVector2& cellMax) {
  std::int32_t level = 0, x = 0, y = 0;
  DecomposeLXY(lxy, level, x, y);
  GetRange(level, x, y, min, max, cellMin, cellMax);
}

XString XQTI::ToString(std::int32_t level, std::int32_t x, std::int32_t y) {
  XString text;
  text.Format("%03d%09d%09d", level, x, y);
  return text;
}

XString XQTI::ToString(std::int64_t lxy) {
  std::int32_t level = 0, x = 0, y = 0;
  DecomposeLXY(lxy, level, x, y);
  return ToString(level, x, y);
}

std::int64_t XQTI::ToLXY(const XString& text) {
  std::int32_t level = 0, x = 0, y = 0;
  return ToLXY(text, level, x, y);
}

std::int64_t XQTI::ToLXY(const XString& text, std::int32_t& level, std::int32_t& x, std::int32_t& y) {
  level = NumberIn(text, 0, 3);
  x = NumberIn(text, 3, 9);
  y = NumberIn(text, 12, 9);
  return ComposeLXY(level, x, y);
}

void XfnCalcLXYRow0Tile0Range(std::int32_t level, const tagXVector2& min, const tagXVector2& max, tagXVector2& outMin,
                              tagXVector2& outMax) {
  XQTI::GetRange(level, 0, 0, min, max, outMin, outMax);
}
