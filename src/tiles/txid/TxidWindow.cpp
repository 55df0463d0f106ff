// A window is read tile by tile. Each tile takes one positional read of the rows of blocks that the window touches, so
// that threads need no lock and a single pixel costs eight bytes. Blocks are unpacked a row of them at a time into a
// buffer that stays in the processor's first cache, and copied from there to the rows of the four planes. Where samples
// lie far apart, each is taken out of its own block.
//
// Tiles that exist are found in the ordered map of the index: once for each row of tiles, and from there on by going on
// in the map.

#include "tiles/txid/TxidWindow.h"

#include "base/ReadError.h"
#include "math/Interleave.h"
#include "tiles/txid/TxiIndex.h"
#include "XLimits.h"
#include "XThread.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace zrk {
namespace {

/// From this level on the compatible policy shows every tile in one flat value.
constexpr int kFirstFlatLevel = 4;
constexpr unsigned char kFlatValue = 0xA0;
/// Samples so far apart leave most blocks of a row untouched.
constexpr int kWideStep = 8;
/// Tiles of a window that are too many to be looked up twice.
constexpr std::size_t kManyTiles = 4096;
/// Fewer samples than a row of blocks is worth.
constexpr int kFewSamples = 8;

/// Finds keys in growing order.
class KeyWalk {
 public:
  explicit KeyWalk(const tagTxiInfo& info) : tiles_(info.tiles) {}

  /// The offset of a tile, or null where it does not exist.
  const std::uint64_t* Find(std::int64_t key) {
    if (key > INT32_MAX) return nullptr;
    if (!isBegun_ || (at_ != tiles_.end() && at_->first < key && ++at_ != tiles_.end() && at_->first < key)) {
      at_ = tiles_.lower_bound(static_cast<std::int32_t>(key));
      isBegun_ = true;
    }
    return at_ != tiles_.end() && at_->first == key ? &at_->second : nullptr;
  }

 private:
  const std::map<std::int32_t, std::uint64_t>& tiles_;
  std::map<std::int32_t, std::uint64_t>::const_iterator at_;
  bool isBegun_ = false;
};

/// The samples of a visit out of a row whose first pixel has the position `start` in the tile.
void CopySamples(const unsigned char* from, int start, const TileAxis& axis, const TileVisit& visit,
                 unsigned char* to) {
  const int* const sources = axis.SourcesOf(visit);
  const int runEnd = visit.runBegin + visit.runCount;
  for (int i = 0; i < visit.runBegin; ++i) to[i] = from[sources[i] - start];
  const unsigned char* const run = from + (sources[visit.runBegin] - start);
  if (axis.step == 1) {
    std::memcpy(to + visit.runBegin, run, static_cast<std::size_t>(visit.runCount));
  } else {
    GatherSamples(run, static_cast<std::size_t>(visit.runCount), axis.step, 1, to + visit.runBegin);
  }
  for (int i = runEnd; i < visit.count; ++i) to[i] = from[sources[i] - start];
}

/// The samples beside the runs of some rows, which begin at `runs` and are `rowBytes` apart.
void RepeatRims(unsigned char* runs, std::ptrdiff_t rowBytes, int numRows, const int* sources, const TileVisit& visit) {
  for (int i = 0; i < visit.count; ++i) {
    if (i == visit.runBegin) i += visit.runCount;
    if (i >= visit.count) return;
    const int from = sources[i] - sources[visit.runBegin], to = i - visit.runBegin;
    for (std::ptrdiff_t y = 0; y < numRows * rowBytes; y += rowBytes) runs[y + to] = runs[y + from];
  }
}

/// Leaves out the samples at the end of each visit that the next one gives again.
void TrimEnds(TileAxis& axis) {
  for (std::size_t i = 0; i + 1 < axis.visits.size(); ++i) {
    TileVisit& visit = axis.visits[i];
    const int count = axis.visits[i + 1].first - visit.first;
    if (count <= visit.runBegin) continue;
    visit.count = std::min(visit.count, count);
    visit.runCount = std::min(visit.runCount, visit.count - visit.runBegin);
  }
}

std::string NameTile(const TileVisit& row, const TileVisit& column) {
  return "tile " + std::to_string(column.tile) + " of row " + std::to_string(row.tile);
}

/// Whether the visits leave out no sample of an axis.
bool AreAllGiven(const std::vector<TileVisit>& visits, int count) {
  int end = 0;
  for (const TileVisit& visit : visits) {
    if (visit.first > end) return false;
    end = std::max(end, visit.first + visit.count);
  }
  return end == count;
}

bool IsTileTooLarge(int tileSize) {
  return std::int64_t{tileSize} * tileSize > XfnGetLimits().decodedTileBytes / kNumPlanes;
}

}  // namespace

bool TxidWindow::Read(const ReadRequest& request, const int* cancel) {
  if (IsTileTooLarge(store_.info.tileSize)) return FailRead("The tiles are larger than the limits allow") != 0;
  isFlat_ = !store_.isExact && request.level >= kFirstFlatLevel;
  Plan(request);
  needsZeros_ = !store_.isExact && IsCovered();
  if (needsZeros_) TrimPlan();
  if (!store_.isExact && !needsZeros_) Clear();
  if (!ReadRows(cancel) && !(needsZeros_ && ReadOverZeros(request, cancel))) return false;
  // Tiles at the rim of a window may have none of a level's pixels.
  isBlank_ = isBlank_ && !HasTileWithin(store_.info, {request.x0, request.x1, request.y0, request.y1});
  return true;
}

bool TxidWindow::ReadRows(const int* cancel) {
  for (const TileVisit& row : scratch_.rows.visits) {
    if (XfnIsStopRequested(cancel)) return FailRead(kReadStopped) != 0;
    if (!ReadTiles(row)) return false;
  }
  return true;
}

/// A tile that can't be read shows zeros, but a neighbour may have written over its rim before. So all is done anew,
/// and that tile is not asked again.
bool TxidWindow::ReadOverZeros(const ReadRequest& request, const int* cancel) {
  needsZeros_ = false;
  Plan(request);
  Clear();
  return ReadRows(cancel);
}

void TxidWindow::Clear() {
  for (tagXArr2& plane : planes_) {
    std::memset(plane.data, 0, static_cast<std::size_t>(plane.xSize) * static_cast<std::size_t>(plane.ySize));
  }
}

/// Whether tiles that exist give every sample, so that none has to be zero beforehand.
bool TxidWindow::IsCovered() const {
  const std::vector<TileVisit>&rows = scratch_.rows.visits, &columns = scratch_.columns.visits;
  if (rows.size() * columns.size() > kManyTiles) return false;
  if (!AreAllGiven(rows, planes_[0].ySize) || !AreAllGiven(columns, planes_[0].xSize)) return false;
  return std::ranges::all_of(rows, [&](const TileVisit& row) {
    KeyWalk walk(store_.info);
    const std::int64_t rowKey = std::int64_t{store_.info.numXTiles} * row.tile;
    return std::ranges::all_of(columns, [&](const TileVisit& column) { return walk.Find(rowKey + column.tile); });
  });
}

void TxidWindow::Plan(const ReadRequest& request) {
  const auto plan = store_.isExact ? &PlanExactly : &PlanByCoordinates;
  plan(ColumnsOf(store_.info), {request.level, request.x0, request.x1, planes_[0].xSize}, scratch_.columns);
  plan(RowsOf(store_.info), {request.level, request.y0, request.y1, planes_[0].ySize}, scratch_.rows);
}

/// Where all tiles exist, what several of them give need not be taken from each.
void TxidWindow::TrimPlan() {
  TrimEnds(scratch_.columns);
  TrimEnds(scratch_.rows);
}

bool TxidWindow::ReadTiles(const TileVisit& row) {
  KeyWalk walk(store_.info);
  const std::int64_t rowKey = std::int64_t{store_.info.numXTiles} * row.tile;
  for (const TileVisit& column : scratch_.columns.visits) {
    const std::uint64_t* const offset = walk.Find(rowKey + column.tile);
    if (!offset) {
      if (store_.isExact) Fill(0, row, column);
      continue;
    }
    isBlank_ = false;
    if (isFlat_) {
      Fill(kFlatValue, row, column);
    } else if (rowKey + column.tile != unreadable_ && !ReadTile(*offset, row, column)) {
      unreadable_ = rowKey + column.tile;
      if (store_.isExact || needsZeros_) return false;
    }
  }
  return true;
}

bool TxidWindow::ReadTile(std::uint64_t offset, const TileVisit& row, const TileVisit& column) {
  const unsigned char* blocks = nullptr;
  const char* const fault = FindBlocks(offset, row, column, blocks);
  if (fault) {
    if (store_.isExact) NoteReadError((fault + NameTile(row, column)).c_str());
    return false;
  }
  Unpack(blocks, row, column);
  return true;
}

/// Reads from the first block that is touched to the last one. Callers that rely on the compatible policy see no part
/// of a tile that the file does not hold whole.
const char* TxidWindow::FindBlocks(std::uint64_t offset, const TileVisit& row, const TileVisit& column,
                                   const unsigned char*& blocks) {
  const int dataSize = store_.info.tileDataSize;
  if (dataSize < CalcPackedBytes(store_.info.tileSize)) return "The index tells too few bytes for ";
  if (store_.files.CountFiles() == 0) return "The data file is missing, which has ";
  const auto place = store_.files.Find(offset);
  if (!place) return "The data ends before ";
  if (!store_.isExact && !store_.files.Holds(*place, dataSize)) return "The data ends within ";
  const int* const ys = scratch_.rows.SourcesOf(row);
  const int* const xs = scratch_.columns.SourcesOf(column);
  const auto blockAt = [this](int x, int y) {
    return std::int64_t{y / kBlockSide} * CountBlocksInRow() + x / kBlockSide;
  };
  const std::int64_t first = blockAt(xs[0], ys[0]);
  const std::int64_t numBytes = (blockAt(xs[column.count - 1], ys[row.count - 1]) - first + 1) * kBlockBytes;
  const std::size_t room = static_cast<std::size_t>(numBytes) + kMaxBlocksAtOnce * kBlockBytes;
  if (scratch_.packed.size() < room) scratch_.packed.resize(room);
  if (place->file->ReadAt(place->offset + first * kBlockBytes, scratch_.packed.data(), numBytes) < numBytes) {
    return "The data ends within ";
  }
  blocks = scratch_.packed.data();
  return nullptr;
}

void TxidWindow::Unpack(const unsigned char* blocks, const TileVisit& row, const TileVisit& column) {
  const bool areFew = std::int64_t{row.count} * column.count <= kFewSamples;
  if (areFew || scratch_.columns.step >= kWideStep) {
    UnpackPixels(blocks, row, column);
    return;
  }
  const int* const ys = scratch_.rows.SourcesOf(row);
  for (int first = 0; first < row.count;) {
    const unsigned char* const ofRow = BlocksOf(blocks, row, ys[first]);
    const int numRows = CountRowsInPlace(row, first, column);
    int end = first + std::max(numRows, 1);
    if (numRows > 0) {
      UnpackInPlace(ofRow, row.first + first, numRows, column);
    } else {
      while (end < row.count && ys[end] / kBlockSide == ys[first] / kBlockSide) ++end;
      UnpackBlockRow(ofRow, row, first, end, column);
    }
    first = end;
  }
}

/// The blocks of a row of pixels of the tile.
const unsigned char* TxidWindow::BlocksOf(const unsigned char* blocks, const TileVisit& row, int y) const {
  const std::ptrdiff_t below = y / kBlockSide - scratch_.rows.SourcesOf(row)[0] / kBlockSide;
  return blocks + below * CountBlocksInRow() * kBlockBytes;
}

/// How many rows of the visit from `first` on can go straight to the result: they have all pixels of their rows of
/// blocks, and samples beside the run of the columns repeat one of it.
int TxidWindow::CountRowsInPlace(const TileVisit& row, int first, const TileVisit& column) const {
  const int* const xs = scratch_.columns.SourcesOf(column);
  const int begin = xs[column.runBegin], end = begin + column.runCount;
  const bool isPlain = scratch_.columns.step == 1 && xs[0] >= begin && xs[column.count - 1] < end;
  const bool isInRun = scratch_.rows.step == 1 && first >= row.runBegin && first < row.runBegin + row.runCount;
  if (!isPlain || !isInRun || scratch_.rows.SourcesOf(row)[first] % kBlockSide != 0) return 0;
  return (row.runBegin + row.runCount - first) / kBlockSide * kBlockSide;
}

/// Rows from `y` of the result on.
void TxidWindow::UnpackInPlace(const unsigned char* blocks, int y, int numRows, const TileVisit& column) {
  const int* const xs = scratch_.columns.SourcesOf(column);
  const int begin = xs[column.runBegin], width = planes_[0].xSize;
  // The first block that was read has the first sample, which is in the run.
  const auto inBlock = static_cast<std::size_t>(begin % kBlockSide);
  PlaneArea to{{}, width};
  for (std::size_t k = 0; k < to.first.size(); ++k) to.first[k] = planes_[k].Row(y) + column.first + column.runBegin;
  UnpackAreaToPlanes(
      {blocks, std::ptrdiff_t{CountBlocksInRow()} * kBlockBytes, static_cast<std::size_t>(numRows / kBlockSide),
       inBlock, inBlock + static_cast<std::size_t>(column.runCount)},
      to);
  if (column.runCount == column.count) return;
  for (unsigned char* const first : to.first) RepeatRims(first, width, numRows, xs, column);
}

/// `first` and `end` are rows of the visit that lie in one row of blocks.
void TxidWindow::UnpackBlockRow(const unsigned char* blocks, const TileVisit& row, int first, int end,
                                const TileVisit& column) {
  const int* const xs = scratch_.columns.SourcesOf(column);
  const int* const ys = scratch_.rows.SourcesOf(row);
  const auto numBlocks = static_cast<std::size_t>(xs[column.count - 1] / kBlockSide - xs[0] / kBlockSide + 1);
  const std::size_t rowBytes = std::max(numBlocks, kMaxBlocksAtOnce) * kBlockSide;
  BlockRows rows;
  if (scratch_.planes.size() < rows.size() * rowBytes) scratch_.planes.resize(rows.size() * rowBytes);
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = scratch_.planes.data() + i * rowBytes;
  UnpackToPlanes(blocks, numBlocks, rows);
  const int start = xs[0] / kBlockSide * kBlockSide;
  for (int i = first; i < end; ++i) {
    const auto inBlock = static_cast<std::size_t>(ys[i] % kBlockSide);
    for (std::size_t k = 0; k < kNumPlanes; ++k) {
      unsigned char* const to = planes_[k].Row(row.first + i) + column.first;
      CopySamples(rows[kBlockSide * k + inBlock], start, scratch_.columns, column, to);
    }
  }
}

void TxidWindow::UnpackPixels(const unsigned char* blocks, const TileVisit& row, const TileVisit& column) {
  const int* const xs = scratch_.columns.SourcesOf(column);
  const int* const ys = scratch_.rows.SourcesOf(row);
  for (int i = 0; i < row.count; ++i) {
    const std::ptrdiff_t below = ys[i] / kBlockSide - ys[0] / kBlockSide;
    const unsigned char* const blockRow = blocks + below * CountBlocksInRow() * kBlockBytes;
    for (int j = 0; j < column.count; ++j) {
      const std::ptrdiff_t right = xs[j] / kBlockSide - xs[0] / kBlockSide;
      const auto pixel = UnpackPixel(blockRow + right * kBlockBytes, xs[j] % kBlockSide, ys[i] % kBlockSide);
      for (std::size_t k = 0; k < kNumPlanes; ++k) planes_[k].Row(row.first + i)[column.first + j] = pixel[k];
    }
  }
}

void TxidWindow::Fill(unsigned char value, const TileVisit& row, const TileVisit& column) {
  for (tagXArr2& plane : planes_) {
    for (int i = 0; i < row.count; ++i) {
      std::memset(plane.Row(row.first + i) + column.first, value, static_cast<std::size_t>(column.count));
    }
  }
}

}  // namespace zrk
