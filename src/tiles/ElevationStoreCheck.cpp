// Tiles of elevation stores, checked post by post. Neighbours share the posts of their common edge, and the heights
// there have to agree. Normals have to be of unit length. Tiles that were never written have no edges to compare.
//
// Tiles come row by row from the south, and from west to east. So the check keeps the northern edges of one row of
// tiles and the eastern edge of one tile, and nothing else.

#include "tiles/ElevationPosts.h"
#include "tiles/StoreCheck.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace zrk {
namespace {

/// What rounding on the way to a post may leave between two tiles, in metres.
constexpr float kMaxStep = 0.01F;
/// How far the length of a normal may be from 1.
constexpr float kMaxStretch = 1e-3F;

bool DoMeet(std::span<const float> one, std::span<const float> other) {
  return std::ranges::equal(one, other, [](float a, float b) { return std::abs(a - b) <= kMaxStep; });
}

class ElevationTileCheck {
 public:
  explicit ElevationTileCheck(StoreFindings& findings) : findings_(findings) {}

  void Begin(const StoreHeader& header) { version_ = header.version; }

  void Check(const tagXTileLevel& level, const StoreTilePlace& place, std::span<const unsigned char> bytes) {
    ElevationPosts posts;
    if (!TakePosts(bytes, version_, {level.tileWidth, level.tileHeight}, posts)) return;
    if (std::ranges::any_of(posts.heights, [](float height) { return !std::isfinite(height); })) {
      Add(place, "a height is no number");
    }
    CheckEdges(level, place, posts);
    CheckNormals(place, posts);
  }

 private:
  struct Edge {
    int level = 0, row = 0, col = 0;
    std::vector<float> posts;  // none before the first tile

    bool IsOf(int otherLevel, std::int64_t otherRow, std::int64_t otherCol) const {
      return !posts.empty() && level == otherLevel && row == otherRow && col == otherCol;
    }
  };

  void Add(const StoreTilePlace& place, const char* what) {
    findings_.Add("Level %d, row %d, column %d: %s", place.level, place.row, place.col, what);
  }

  void CheckEdges(const tagXTileLevel& level, const StoreTilePlace& place, const ElevationPosts& posts) {
    if (east_.level != place.level) north_.clear();
    const auto width = static_cast<std::size_t>(level.tileWidth), height = static_cast<std::size_t>(level.tileHeight);
    std::vector<float> west(height), east(height);
    for (std::size_t i = 0; i < height; ++i) {
      west[i] = posts.heights[i * width];
      east[i] = posts.heights[i * width + width - 1];
    }
    const std::span<const float> all = posts.heights;
    const bool isNextToLast = east_.IsOf(place.level, place.row, std::int64_t{place.col} - 1);
    if (isNextToLast && !DoMeet(west, east_.posts)) Add(place, "the western edge does not meet the tile beside it");
    const auto below = north_.find(place.col);
    const bool isAboveOne =
        below != north_.end() && below->second.IsOf(place.level, std::int64_t{place.row} - 1, place.col);
    if (isAboveOne && !DoMeet(all.last(width), below->second.posts)) {
      Add(place, "the southern edge does not meet the tile below it");
    }
    east_ = {place.level, place.row, place.col, std::move(east)};
    north_[place.col] = {place.level, place.row, place.col, {all.begin(), all.begin() + level.tileWidth}};
  }

  void CheckNormals(const StoreTilePlace& place, const ElevationPosts& posts) {
    const auto isUnit = [](const tagXVector3f& normal) {
      return std::abs(std::hypot(normal.x, normal.y, normal.z) - 1.0F) <= kMaxStretch;
    };
    const auto numBad = posts.normals.size() - static_cast<std::size_t>(std::ranges::count_if(posts.normals, isUnit));
    if (numBad > 0) {
      findings_.Add("Level %d, row %d, column %d: %zu %s not of unit length", place.level, place.row, place.col, numBad,
                    WordFor(static_cast<std::int64_t>(numBad), "normal is", "normals are"));
    }
  }

  StoreFindings& findings_;
  double version_ = 0.0;
  Edge east_;
  std::map<int, Edge> north_;  // by column
};

}  // namespace

int CheckElevationStore(const XString& path, StoreFindings& findings, XString& err, XThread* thread) {
  ElevationTileCheck tiles(findings);
  const StoreCheckPlan plan = {
      .kind = StoreKind::kElevation,
      .tileBytes =
          [](const StoreHeader& header, const tagXTileLevel& level) {
            return CountPostBytes(header.version, {level.tileWidth, level.tileHeight});
          },
      .begin = [&](const StoreHeader& header) { tiles.Begin(header); },
      .checkTile = [&](const tagXTileLevel& level, const StoreTilePlace& place,
                       std::span<const unsigned char> bytes) { tiles.Check(level, place, bytes); }};
  return CheckGlobeStore(path, plan, findings, err, thread);
}

}  // namespace zrk
