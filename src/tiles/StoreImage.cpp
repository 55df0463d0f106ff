// A store as one image under the exact policy. All arithmetic is on whole numbers: positions on the grid of full
// resolution, counted from longitude -180 and from latitude -90. A tile of a level that is coarser by `shift` levels
// has 2^shift times as many of these positions on a side.
//
// Rows of the grid count upward, and rows of an image count downward. One plan serves both axes: positions of rows are
// taken negative, and the tile number is turned around in the end.

#include "tiles/StoreImage.h"

#include "base/Checked.h"
#include "tiles/TilePlace.h"
#include "tiles/TileSize.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace zrk {

namespace {

constexpr int kMaxLevelNumber = 30;
/// With so many samples a tile, and so many levels, positions stay far below what 64 bits hold.
constexpr int kMaxTileSide = 1 << 15;

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
  const std::int64_t quotient = a / b;
  return quotient * b > a ? quotient - 1 : quotient;
}

bool IsTileSide(int side, StoreKind kind) {
  return side >= (kind == StoreKind::kImage ? 1 : 2) && side <= kMaxTileSide;
}

/// The neighbours of a tile have numbers too.
bool IsTileRange(int first, int last) {
  return first > INT_MIN + 1 && last < INT_MAX - 1;
}

/// The same of tiles of full resolution, to which those of other levels add. `end` is behind the last.
bool IsSpanOfTiles(std::int64_t first, std::int64_t end) {
  return first > INT_MIN + 1 && end < INT_MAX;
}

const char* FindFaultOf(const tagXTileLevel& level, StoreKind kind) {
  if (level.level < 0 || level.level > kMaxLevelNumber) return "has a number that no level can have";
  if (CountTiles(level) == 0) return "has no tiles";
  if (!IsTileRange(level.llRow, level.urRow) || !IsTileRange(level.llCol, level.urCol)) {
    return "has tiles that no level can have";
  }
  if (!IsTileSide(level.tileWidth, kind) || !IsTileSide(level.tileHeight, kind))
    return "has tiles of an impossible size";
  return nullptr;
}

}  // namespace

const tagXTileLevel* StoreImage::Level::FindRange(int row, int col) const {
  const auto holds = [&](const tagXTileLevel& range) { return HoldsTile(range, row, col); };
  const auto found = std::ranges::find_if(ranges, holds);
  return found == ranges.end() ? nullptr : &*found;
}

std::optional<StoreImage> StoreImage::Make(const StoreHeader& header, StoreKind kind, std::string& fault) {
  StoreImage image;
  image.kind_ = kind;
  if (!std::isfinite(header.tileSize) || header.tileSize <= 0.0) {
    fault = "The tile size in the header can't be";
    return std::nullopt;
  }
  if (!image.Collect(header, fault) || !image.Measure(fault)) return std::nullopt;
  const Level& finest = image.GetFinest();
  const double tileSize = HalveTileSize(header.tileSize, finest.number);
  image.xStep_ = tileSize / finest.tileWidth;
  image.yStep_ = tileSize / finest.tileHeight;
  const auto tilesTo = [](const Axis& axis) { return static_cast<double>(axis.origin / axis.perTile); };
  image.west_ = tilesTo(image.columns_) * tileSize - 180.0;
  image.north_ = -tilesTo(image.rows_) * tileSize - 90.0;
  return image;
}

/// Adds a sound range to the level of its number. Answers what is wrong with it there, or null.
const char* StoreImage::Put(const tagXTileLevel& range) {
  const int inEdges = kind_ == StoreKind::kImage ? 0 : 1;
  const Level level{range.level, range.tileWidth - inEdges, range.tileHeight - inEdges, {}};
  auto place = std::ranges::find(levels_, range.level, &Level::number);
  if (place == levels_.end()) place = levels_.insert(levels_.end(), level);
  if (place->tileWidth != level.tileWidth || place->tileHeight != level.tileHeight) return "has tiles of several sizes";
  place->ranges.push_back(range);
  return nullptr;
}

/// Puts ranges of one number together, and the highest number first.
bool StoreImage::Collect(const StoreHeader& header, std::string& fault) {
  if (header.numStated != std::ssize(header.levels) || header.levels.empty()) {
    fault = header.levels.empty() ? "The store has no levels" : "The header states more levels than it holds";
    return false;
  }
  for (const tagXTileLevel& range : header.levels) {
    const char* reason = FindFaultOf(range, kind_);
    if (!reason) reason = Put(range);
    if (reason) {
      fault = "Level " + std::to_string(range.level) + " of the store " + reason;
      return false;
    }
  }
  std::ranges::sort(levels_, std::greater<>(), &Level::number);
  return true;
}

bool StoreImage::Measure(std::string& fault) {
  const Level& finest = GetFinest();
  std::int64_t west = INT64_MAX, east = INT64_MIN, south = INT64_MAX, north = INT64_MIN;
  for (const Level& level : levels_) {
    const std::int64_t scale = std::int64_t{1} << (finest.number - level.number);
    for (const tagXTileLevel& range : level.ranges) {
      west = std::min(west, range.llCol * scale);
      east = std::max(east, (std::int64_t{range.urCol} + 1) * scale);
      south = std::min(south, range.llRow * scale);
      north = std::max(north, (std::int64_t{range.urRow} + 1) * scale);
    }
  }
  columns_.perTile = finest.tileWidth;
  rows_.perTile = finest.tileHeight;
  rows_.isMirrored = true;
  if (!MeasureAxis(west, east, columns_) || !MeasureAxis(-north, -south, rows_)) {
    fault = "The image of the store has more than 2,147,483,647 pixels on a side";
    return false;
  }
  if (IsSpanOfTiles(west, east) && IsSpanOfTiles(south, north)) return true;
  fault = "The image of the store has tiles that no level can have";
  return false;
}

/// `first` and `end` count tiles at full resolution.
bool StoreImage::MeasureAxis(std::int64_t first, std::int64_t end, Axis& axis) const {
  const auto count = CheckedMultiply(end - first, axis.perTile);
  const auto origin = CheckedMultiply(first, axis.perTile);
  const int atTheRim = kind_ == StoreKind::kImage ? 0 : 1;
  if (!count || !origin || *count + atTheRim > INT_MAX) return false;
  axis.count = static_cast<int>(*count) + atTheRim;
  axis.origin = *origin;
  return true;
}

const StoreImage::Level& StoreImage::GetLevelFor(int level) const {
  const Level& finest = GetFinest();
  const Level* coarsest = &finest;
  for (const Level& each : levels_) {
    const int shift = finest.number - each.number;
    const auto isFineEnough = [&](int ofFinest, int own) {
      return std::int64_t{ofFinest} << shift <= std::int64_t{own} << level;
    };
    if (isFineEnough(finest.tileWidth, each.tileWidth) && isFineEnough(finest.tileHeight, each.tileHeight)) {
      coarsest = &each;
    }
  }
  return *coarsest;
}

void StoreImage::PlanColumns(const Level& level, const StoreAxisRequest& request, StoreAxis& axis) const {
  Plan(columns_, level.tileWidth, level, request, axis);
}

void StoreImage::PlanRows(const Level& level, const StoreAxisRequest& request, StoreAxis& axis) const {
  Plan(rows_, level.tileHeight, level, request, axis);
}

void StoreImage::Plan(const Axis& place, int own, const Level& level, const StoreAxisRequest& request,
                      StoreAxis& axis) const {
  axis.Clear();
  const int shift = GetFinest().number - level.number;
  kind_ == StoreKind::kImage ? PlanPixels(place, own, shift, request, axis)
                             : PlanPosts(place, own, shift, request, axis);
  if (!place.isMirrored) return;
  for (StoreVisit& visit : axis.visits) visit.tile = -1 - visit.tile;
  // So that of two tiles that share an edge the northern one counts, as the eastern one does.
  std::ranges::reverse(axis.visits);
}

void StoreImage::PlanPixels(const Axis& place, int own, int shift, const StoreAxisRequest& request,
                            StoreAxis& axis) const {
  const std::int64_t tileLength = std::int64_t{place.perTile} << shift;
  const std::int64_t step = std::int64_t{1} << request.level;
  std::int64_t position = place.origin + request.from;
  for (int i = 0; i < request.count;) {
    const std::int64_t tile = FloorDivide(position, tileLength);
    axis.Visit(static_cast<int>(tile), i);
    for (std::int64_t inTile = position - tile * tileLength; i < request.count && inTile < tileLength; ++i) {
      // The pixel that the middle of this one lies in.
      axis.Take(static_cast<int>(own == place.perTile ? inTile >> shift : (2 * inTile + 1) * own / (2 * tileLength)));
      inTile += step;
      position += step;
    }
  }
}

/// A post on the edge of two tiles is taken from both.
void StoreImage::PlanPosts(const Axis& place, int own, int shift, const StoreAxisRequest& request,
                           StoreAxis& axis) const {
  const std::int64_t tileLength = std::int64_t{place.perTile} << shift;
  const std::int64_t step = std::int64_t{1} << request.level;
  std::int64_t position = place.origin + request.from;
  for (int i = 0; i < request.count; ++i, position += step) {
    const std::int64_t before = FloorDivide(position, tileLength);
    const std::int64_t inTile = position - before * tileLength;
    const auto nearest = static_cast<int>((2 * inTile * own + tileLength) / (2 * tileLength));
    const auto tile = static_cast<int>(before) + nearest / own;
    const int post = nearest % own;
    const auto isLast = [&](int number) { return !axis.visits.empty() && axis.visits.back().tile == number; };
    if (post == 0) {
      if (!isLast(tile - 1)) axis.Visit(tile - 1, i);
      axis.Take(own);
    }
    if (!isLast(tile)) axis.Visit(tile, i);
    axis.Take(post);
  }
}

}  // namespace zrk
