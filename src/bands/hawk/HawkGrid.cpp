// Questions come point by point, and a read of a band for each of them would cost more than all other arithmetic of a
// point. Samples are therefore read in tiles of 65 by 65, which share their outer ones with their neighbours, so that
// the four corners of a cell lie in one tile. A thread keeps 64 tiles. They lie where the last bits of their numbers
// put them: an image of some thousand pixels stays within them.
//
// Numbers are kept as doubles whatever the type of the band. Samples that can't be read are infinite.
//
// Of many places most lie in the tile of the one before. Where all posts of that tile are known, nothing but the four
// posts of their cell has to be looked at.

#include "bands/hawk/HawkGrid.h"

#include "base/DataTypeVisit.h"
#include "base/OwnReads.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zrk {
namespace {

constexpr double kUnreadable = std::numeric_limits<double>::infinity();
constexpr double kFullCircle = 360.0;

void CopyRow(const tagXArr2& samples, int row, int dataType, double* out) {
  VisitDataType(dataType, [&](auto zero) {
    const auto* const from = reinterpret_cast<const decltype(zero)*>(samples.Row(row));
    std::copy_n(from, samples.xSize, out);
  });
}

}  // namespace

std::shared_ptr<HawkGrid> HawkGrid::Make(std::unique_ptr<XRSFile> file, double lowest) {
  std::shared_ptr<HawkGrid> grid(new HawkGrid);
  grid->file_ = std::move(file);
  grid->lowest_ = lowest;
  return grid->file_ && grid->TakePlace() ? grid : nullptr;
}

/// A system that is not known is taken for longitude and latitude, as grids without any are in degrees.
bool HawkGrid::TakePlace() {
  band_ = file_->GetBandAt(0);
  if (!band_ || !IsScalar(band_->GetDataType())) return false;
  const XSpatialReference& system = *band_->GetSR();
  if (system.GetCoordinateKind() == kReferenceKnown && !system.IsGeographic()) return false;
  width_ = band_->GetXSize();
  height_ = band_->GetYSize();
  double t[6];
  band_->GetGeoTransform(t);
  const bool isPlaced = std::all_of(t, t + 6, [](double number) { return std::isfinite(number); }) && t[1] > 0.0 &&
                        t[5] != 0.0 && t[2] == 0.0 && t[4] == 0.0;
  if (!isPlaced || width_ < 1 || height_ < 1) return false;
  lonStep_ = t[1];
  latStep_ = t[5];
  columnsPerDegree_ = 1.0 / lonStep_;
  rowsPerDegree_ = 1.0 / latStep_;
  firstLon_ = t[0] + 0.5 * lonStep_;
  firstLat_ = t[3] + 0.5 * latStep_;
  turn_ = kFullCircle / lonStep_;
  isWholeCircle_ = std::abs(turn_ - width_) < 0.5;
  nullValue_ = band_->GetNullValue();
  return true;
}

bool HawkGrid::IsVoid(double value) const {
  return std::isnan(value) || value < lowest_ || value == nullValue_;
}

const HawkGrid::Tile& HawkGrid::FindTile(Tiles& tiles, int column, int row) const {
  const int place = (row & (kKeptTiles - 1)) * kKeptTiles + (column & (kKeptTiles - 1));
  Tile& tile = tiles[static_cast<std::size_t>(place)];
  if (tile.column == column && tile.row == row) return tile;
  tile.column = -1;  // should memory run out
  tile.posts.assign(static_cast<std::size_t>(kTilePosts * kTilePosts), kUnreadable);
  tile.column = column;
  tile.row = row;
  ReadTile(tile);
  return tile;
}

/// Where a tile can't be read as a whole, its rows may be.
void HawkGrid::ReadTile(Tile& tile) const {
  const OwnReads own;
  if (!ReadPosts(tile, 0, kTilePosts)) {
    for (int y = 0; y < kTilePosts; ++y) ReadPosts(tile, y, y + 1);
  }
  BoundTile(tile);
}

/// Posts beyond the last row and column repeat those. On a whole circle the first column follows on the last one.
bool HawkGrid::ReadPosts(Tile& tile, int firstY, int endY) const {
  const int left = tile.column * kTileCells, top = tile.row * kTileCells;
  const int right = std::min(left + kTileCells, width_ - 1);
  const int y0 = std::min(top + firstY, height_ - 1), y1 = std::min(top + endY, height_) - 1;
  tagXArr2* out = nullptr;
  const auto read = [&](int x0, int x1) {
    return band_->ReadSubset(out, 0, x0, x1, y0, std::max(y0, y1), nullptr) && out->xSize == x1 - x0 + 1 &&
           out->elementSize == band_->GetDataSize();
  };
  if (!read(left, right)) return false;
  const int dataType = band_->GetDataType();
  const auto rowAt = [&](int y) { return &tile.posts[static_cast<std::size_t>(y * kTilePosts)]; };
  const int numColumns = out->xSize, numRows = out->ySize;
  for (int y = firstY; y < endY; ++y) {
    double* const row = rowAt(y);
    CopyRow(*out, std::min(y - firstY, numRows - 1), dataType, row);
    std::fill(row + numColumns, row + kTilePosts, row[numColumns - 1]);
  }
  const int seam = width_ - left;  // where the first column comes again
  if (!isWholeCircle_ || seam > kTileCells) return true;
  if (!read(0, 0)) return false;
  for (int y = firstY; y < endY; ++y) CopyRow(*out, std::min(y - firstY, numRows - 1), dataType, rowAt(y) + seam);
  return true;
}

void HawkGrid::BoundTile(Tile& tile) const {
  constexpr double kNothing = -std::numeric_limits<double>::infinity();
  tile.blockHighest.fill(kNothing);
  tile.isWhole = true;
  for (int y = 0; y < kTilePosts; ++y) {
    for (int x = 0; x < kTilePosts; ++x) {
      const double value = tile.At(x, y);
      tile.isWhole = tile.isWhole && !IsVoid(value) && std::isfinite(value);
      if (IsVoid(value)) continue;
      // A post on the border of blocks belongs to all of them.
      for (int by = std::max(y - 1, 0) / kBlockCells; by <= std::min(y / kBlockCells, kBlocks - 1); ++by) {
        for (int bx = std::max(x - 1, 0) / kBlockCells; bx <= std::min(x / kBlockCells, kBlocks - 1); ++bx) {
          double& highest = tile.blockHighest[static_cast<std::size_t>(by * kBlocks + bx)];
          highest = std::max(highest, value);
        }
      }
    }
  }
  tile.highest = *std::ranges::max_element(tile.blockHighest);
}

HawkGrid::Answer HawkGrid::FindCell(Tiles& tiles, double lon, double lat, Cell& cell) const {
  const double counted = (lon - firstLon_) * columnsPerDegree_;
  double column = counted;
  double row = (lat - firstLat_) * rowsPerDegree_;
  // Another turn of the circle may lie in the grid.
  if (column < -0.5) column += turn_;
  if (column > width_ - 0.5) column -= turn_;
  const bool isInside = column >= -0.5 && column <= width_ - 0.5 && row >= -0.5 && row <= height_ - 0.5;
  if (!isInside) return Answer::kOutside;
  if (isWholeCircle_ && column < 0.0) column += width_;
  const double turn = column - counted;
  const double lastColumn = isWholeCircle_ ? width_ : width_ - 1;
  column = std::clamp(column, 0.0, lastColumn);
  row = std::clamp(row, 0.0, static_cast<double>(height_ - 1));
  const int x = std::min(static_cast<int>(column), std::max(static_cast<int>(lastColumn) - 1, 0));
  const int y = std::min(static_cast<int>(row), std::max(height_ - 2, 0));
  cell = {&FindTile(tiles, x / kTileCells, y / kTileCells), x, y, column, row, turn};
  return Answer::kKnown;
}

bool HawkGrid::Reader::ReadPixel(double lon, double lat, double& value) const {
  int x = 0, y = 0;
  grid_.band_->ConvWorldToPixelCoord(lon, lat, x, y);
  if (x < 0 || y < 0 || x >= grid_.width_ || y >= grid_.height_) return false;
  const Tile& tile = grid_.FindTile(tiles_, x / kTileCells, y / kTileCells);
  const double sample = tile.At(x % kTileCells, y % kTileCells);
  if (!std::isfinite(sample)) return false;
  value = sample;
  return true;
}

/// Samples that have no share in the value need not be known.
HawkGrid::Answer HawkGrid::Interpolate(const Cell& cell, Value& value) const {
  const double dx = cell.column - cell.firstColumn, dy = cell.row - cell.firstRow;
  const int x = cell.firstColumn % kTileCells, y = cell.firstRow % kTileCells;
  const double shares[4] = {(1.0 - dx) * (1.0 - dy), dx * (1.0 - dy), (1.0 - dx) * dy, dx * dy};
  double posts[4], sum = 0.0;
  for (int i = 0; i < 4; ++i) {
    posts[i] = cell.tile->At(x + (i & 1), y + (i >> 1));
    if (shares[i] == 0.0) continue;
    if (IsVoid(posts[i])) return Answer::kVoid;
    sum += shares[i] * posts[i];
  }
  if (!std::isfinite(sum)) return Answer::kUnreadable;
  value = {sum, posts[0] - posts[1] - posts[2] + posts[3], cell.column, cell.row};
  return Answer::kKnown;
}

/// Cells of a tile all of whose posts are known, by their columns and rows. Without a tile no place lies in them.
struct HawkGrid::WholeCells {
  const double* posts = nullptr;
  double turn = 0.0;
  double firstColumn = 0.0, endColumn = 0.0;
  double firstRow = 0.0, endRow = 0.0;

  bool Have(double column, double row) const {
    return column >= firstColumn && column < endColumn && row >= firstRow && row < endRow;
  }
  double At(double column, double row) const {
    const double x = column - firstColumn, y = row - firstRow;
    const auto left = static_cast<std::ptrdiff_t>(x), top = static_cast<std::ptrdiff_t>(y);
    const double* const upper = posts + top * kTilePosts + left;
    const double* const lower = upper + kTilePosts;
    const double dx = x - static_cast<double>(left), dy = y - static_cast<double>(top);
    const double above = upper[0] + (upper[1] - upper[0]) * dx;
    const double below = lower[0] + (lower[1] - lower[0]) * dx;
    return above + (below - above) * dy;
  }
};

HawkGrid::WholeCells HawkGrid::FindWholeCells(const Cell& cell) const {
  if (!cell.tile->isWhole) return {};
  const double firstColumn = cell.tile->column * kTileCells, firstRow = cell.tile->row * kTileCells;
  const double lastColumn = isWholeCircle_ ? width_ : width_ - 1;
  return {cell.tile->posts.data(),
          cell.turn,
          firstColumn,
          std::min(firstColumn + kTileCells, lastColumn),
          firstRow,
          std::min(firstRow + kTileCells, height_ - 1.0)};
}

HawkGrid::Answer HawkGrid::Reader::Interpolate(double lon, double lat, Value& value) const {
  Cell cell;
  const Answer answer = grid_.FindCell(tiles_, lon, lat, cell);
  return answer == Answer::kKnown ? grid_.Interpolate(cell, value) : answer;
}

void HawkGrid::Reader::InterpolateAll(const double* lon, const double* lat, int count, double* values) const {
  WholeCells cells;
  for (int i = 0; i < count; ++i) {
    const double column = (lon[i] - grid_.firstLon_) * grid_.columnsPerDegree_ + cells.turn;
    const double row = (lat[i] - grid_.firstLat_) * grid_.rowsPerDegree_;
    if (cells.Have(column, row)) {
      values[i] = cells.At(column, row);
      continue;
    }
    Cell cell;
    Value value;
    const bool isInside = grid_.FindCell(tiles_, lon[i], lat[i], cell) == Answer::kKnown;
    const bool isKnown = isInside && grid_.Interpolate(cell, value) == Answer::kKnown;
    values[i] = isKnown ? value.value : std::numeric_limits<double>::quiet_NaN();
    cells = isInside ? grid_.FindWholeCells(cell) : WholeCells{};
  }
}

HawkGrid::Answer HawkGrid::Reader::FindBlock(double lon, double lat, double height, Block& block) const {
  Cell cell;
  const Answer answer = grid_.FindCell(tiles_, lon, lat, cell);
  if (answer != Answer::kKnown) return answer;
  const bool isTile = cell.tile->highest < height;
  const int size = isTile ? kTileCells : kBlockCells;
  const int x = cell.firstColumn % kTileCells / kBlockCells, y = cell.firstRow % kTileCells / kBlockCells;
  block.highest = isTile ? cell.tile->highest : cell.tile->blockHighest[static_cast<std::size_t>(y * kBlocks + x)];
  block.column = cell.column;
  block.row = cell.row;
  block.firstColumn = cell.firstColumn / size * size;
  block.endColumn = block.firstColumn + size;
  block.firstRow = cell.firstRow / size * size;
  block.endRow = block.firstRow + size;
  return answer;
}

}  // namespace zrk
