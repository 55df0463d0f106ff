#pragma once

#include "tiles/StoreAxis.h"
#include "tiles/StoreHeader.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zrk {

/// One axis of a request: the samples `from`, `from` + 2^level and so on of the image at full resolution.
struct StoreAxisRequest {
  int level;
  int from;
  int count;
};

/// A store as one image, for exact reads: the level with the highest number is full resolution, and the image covers
/// what all levels cover together. An image store has a sample in each pixel of a tile. An elevation store has them at
/// the posts: two neighbouring tiles share those of their common edge, and the image has those of its own rims as well.
///
/// Sizes are those of the header. It never changes, so that any number of threads may ask it.
class StoreImage {
 public:
  /// A level of the store, which may consist of several ranges of tiles.
  struct Level {
    int number = 0;
    int tileWidth = 0;  ///< samples, or steps between posts
    int tileHeight = 0;
    std::vector<tagXTileLevel> ranges;

    /// The first range that holds the tile; null where none does.
    const tagXTileLevel* FindRange(int row, int col) const;
  };

  /// Empty where the header's numbers make no image, with the reason in `fault`.
  static std::optional<StoreImage> Make(const StoreHeader& header, StoreKind kind, std::string& fault);

  int GetWidth() const { return columns_.count; }
  int GetHeight() const { return rows_.count; }
  /// The outer corner of the first pixel, or the place of the first post, in degrees.
  double GetWest() const { return west_; }
  double GetNorth() const { return north_; }
  /// Between samples, in degrees.
  double GetXStep() const { return xStep_; }
  double GetYStep() const { return yStep_; }
  const Level& GetFinest() const { return levels_.front(); }

  /// The level that serves reads at a level of the image: the coarsest whose samples lie no farther apart than those
  /// that are asked.
  const Level& GetLevelFor(int level) const;

  /// Tiles and samples of a level of the store along an axis. A pixel of a coarser level stands for those within it,
  /// and a post for those that it is the nearest to, the eastern or southern one of two.
  void PlanColumns(const Level& level, const StoreAxisRequest& request, StoreAxis& axis) const;
  void PlanRows(const Level& level, const StoreAxisRequest& request, StoreAxis& axis) const;

 private:
  /// One axis of the image. Positions on the grid are counted in samples of full resolution; those of rows rise to the
  /// south, so that they are negative north of the grid's lower edge.
  struct Axis {
    std::int64_t origin = 0;  // the position of the first sample
    int count = 0;
    int perTile = 0;  // samples or steps of a tile at full resolution
    bool isMirrored = false;
  };

  const char* Put(const tagXTileLevel& range);
  bool Collect(const StoreHeader& header, std::string& fault);
  bool Measure(std::string& fault);
  bool MeasureAxis(std::int64_t first, std::int64_t end, Axis& axis) const;
  void PlanPixels(const Axis& place, int own, int shift, const StoreAxisRequest& request, StoreAxis& axis) const;
  void PlanPosts(const Axis& place, int own, int shift, const StoreAxisRequest& request, StoreAxis& axis) const;
  void Plan(const Axis& place, int own, const Level& level, const StoreAxisRequest& request, StoreAxis& axis) const;

  StoreKind kind_ = StoreKind::kImage;
  std::vector<Level> levels_;  // the highest number first
  Axis columns_;
  Axis rows_;
  double west_ = 0.0;
  double north_ = 0.0;
  double xStep_ = 0.0;
  double yStep_ = 0.0;
};

}  // namespace zrk
