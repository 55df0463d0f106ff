#pragma once

#include "base/PerThread.h"
#include "XRSFile.h"

#include <array>
#include <memory>
#include <vector>

namespace zrk {

/// A dataset whose first band has a number for each place on the earth: heights of a terrain model, or of a geoid.
///
/// Its samples are read in tiles, and each thread keeps some of them. Any number of threads may ask at once.
class HawkGrid {
 public:
  /// Returns null where the dataset has no band of plain numbers, or the band is turned or lies in a system that is not
  /// geographic. Samples below `lowest` are none for exact questions.
  static std::shared_ptr<HawkGrid> Make(std::unique_ptr<XRSFile> file, double lowest);

  XRSFile* GetFile() const { return file_.get(); }

  enum class Answer { kKnown, kVoid, kOutside, kUnreadable };

  /// A block of cells around a place, none of whose corners is higher than `highest`. Cells lie between the middles of
  /// four samples, and columns and rows are counted from the middle of the first sample.
  struct Block {
    double highest = 0.0;
    double column = 0.0, row = 0.0;  ///< of the place
    int firstColumn = 0, endColumn = 0;
    int firstRow = 0, endRow = 0;
  };

  /// A value between four samples.
  struct Value {
    double value = 0.0;
    double twist = 0.0;              ///< by how much the four samples are out of a plane
    double column = 0.0, row = 0.0;  ///< as those of `Block`
  };

  class Reader;

 private:
  static constexpr int kTileCells = 64;
  static constexpr int kBlockCells = 8;
  static constexpr int kBlocks = kTileCells / kBlockCells;
  static constexpr int kTilePosts = kTileCells + 1;
  static constexpr int kKeptTiles = 8;  ///< each way

  /// Samples at the corners of 64 by 64 cells.
  struct Tile {
    int column = -1;
    int row = -1;
    std::vector<double> posts;
    std::array<double, kBlocks * kBlocks> blockHighest;
    double highest;
    bool isWhole = false;  ///< each of its posts has a number

    double At(int x, int y) const { return posts[static_cast<std::size_t>(y * kTilePosts + x)]; }
  };
  using Tiles = std::array<Tile, kKeptTiles * kKeptTiles>;

  struct Cell {
    const Tile* tile;
    int firstColumn, firstRow;
    double column, row;
    double turn;  ///< what brought the column into the grid
  };
  struct WholeCells;

  HawkGrid() = default;
  bool TakePlace();
  bool IsVoid(double value) const;
  Answer FindCell(Tiles& tiles, double lon, double lat, Cell& cell) const;
  Answer Interpolate(const Cell& cell, Value& value) const;
  WholeCells FindWholeCells(const Cell& cell) const;
  const Tile& FindTile(Tiles& tiles, int column, int row) const;
  void ReadTile(Tile& tile) const;
  bool ReadPosts(Tile& tile, int firstY, int endY) const;
  void BoundTile(Tile& tile) const;

  std::unique_ptr<XRSFile> file_;
  ZRMBand* band_ = nullptr;
  int width_ = 0;
  int height_ = 0;
  double firstLon_ = 0.0, lonStep_ = 1.0;  ///< of the middle of the first sample
  double firstLat_ = 0.0, latStep_ = -1.0;
  double columnsPerDegree_ = 1.0, rowsPerDegree_ = -1.0;
  double turn_ = 0.0;  ///< columns of the whole circle
  bool isWholeCircle_ = false;
  double lowest_ = 0.0;
  double nullValue_ = 0.0;
  mutable PerThread<Tiles> tiles_;
};

/// What a thread needs to ask. It is made once for many questions, on the thread that asks, and not kept beyond them.
class HawkGrid::Reader {
 public:
  explicit Reader(const HawkGrid& grid) : grid_(grid), tiles_(grid.tiles_.Get()) {}

  /// The sample of the pixel that a place lies in, as `ZRMBand::ConvWorldToPixelCoord` finds it. False outside the
  /// band, and where the sample can't be read or is not finite.
  bool ReadPixel(double lon, double lat, double& value) const;
  /// The value between the middles of four samples, which run on around the circle. A place in the outer half of an
  /// outer pixel has the value of its middle.
  Answer Interpolate(double lon, double lat, Value& value) const;
  /// The same for many places. An unknown value becomes NaN. Places near each other are quickest.
  void InterpolateAll(const double* lon, const double* lat, int count, double* values) const;
  /// The larger one of two blocks around a place, if it lies below `height`, otherwise the smaller one.
  Answer FindBlock(double lon, double lat, double height, Block& block) const;
  /// How many columns and rows a degree has.
  double GetColumnsPerDegree() const { return grid_.columnsPerDegree_; }
  double GetRowsPerDegree() const { return grid_.rowsPerDegree_; }

 private:
  const HawkGrid& grid_;
  Tiles& tiles_;
};

}  // namespace zrk
