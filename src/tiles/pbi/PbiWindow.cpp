// The pixels of a window, tile by tile. One positional read fetches the rows of blocks of a tile that the window
// touches. Only these blocks are unpacked, some rows at a time, so that the pixels are still in the processor's cache
// when they are copied. If samples lie far apart, the blocks between them are not unpacked.

#include "tiles/pbi/PbiWindow.h"

#include "base/ReadError.h"
#include "math/Interleave.h"
#include "XLimits.h"
#include "XThread.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zrk {

namespace {

constexpr int kBlockSide = 4;
constexpr int kRowsAtOnce = 16;
constexpr int kWideStep = 32;  // between samples, from which each is unpacked by itself
constexpr int kCompatibleStride = 256;
constexpr std::size_t kManyTiles = 4096;   // are not looked up beforehand
constexpr std::size_t kVectorPixels = 64;  // as many as any machine's vector splits at once
constexpr int kShortRun = 8;               // not worth a copy of its own

/// The blocks from the first row of blocks that the visit touches to the last one, as a picture of their own.
BlockShape PartOf(const BlockShape& shape, int firstBlockRow, int lastBlockRow) {
  return {shape.type, shape.width, (lastBlockRow - firstBlockRow + 1) * kBlockSide};
}

using PlaneRows = std::array<unsigned char*, kPbiChannels>;

PlaneRows RowsOf(ChannelReads::Record& record, int y, int x) {
  return {record.At(0).Row(y) + x, record.At(1).Row(y) + x, record.At(2).Row(y) + x, record.At(3).Row(y) + x};
}

/// A run that is shorter than a vector is split beside the result, with pixels that lie behind it.
void SplitRun(const std::uint8_t* rgba, std::size_t count, const PlaneRows& row) {
  if (count >= kVectorPixels) return SplitPixels4(rgba, count, row[0], row[1], row[2], row[3]);
  std::array<std::array<unsigned char, kVectorPixels>, kPbiChannels> beside;
  SplitPixels4(rgba, kVectorPixels, beside[0].data(), beside[1].data(), beside[2].data(), beside[3].data());
  for (std::size_t k = 0; k < row.size(); ++k) std::memcpy(row[k], beside[k].data(), count);
}

void PickPixels(const std::uint8_t* rgba, const int* sources, int count, const PlaneRows& planes) {
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    const std::uint8_t* const pixel = rgba + std::ptrdiff_t{sources[i] - sources[0]} * 4;
    for (std::size_t k = 0; k < planes.size(); ++k) planes[k][i] = pixel[k];
  }
}

}  // namespace

BlockShape ShapeOf(const tagXTileLevel& level) {
  const BlockShape shape{static_cast<_XDXTTYPE>(level.blockType), level.tileWidth, level.tileHeight};
  const std::size_t needed = BlockBytes(shape);
  const bool isPicture = needed > 0 && needed <= static_cast<std::size_t>(std::max(level.storageSize, 0));
  return isPicture ? shape : BlockShape{kDxtNone, 0, 0};
}

std::size_t CountPixels(const BlockShape& shape) {
  const std::int64_t count = std::int64_t{shape.width} * shape.height;
  return count > XfnGetLimits().decodedTileBytes / 4 ? 0 : static_cast<std::size_t>(count);
}

/// Zeros come first, unless tiles give every sample. If one of these can't be read after all, it is done anew: it shows
/// zeros, but what a neighbour has given of its rim stays.
bool PbiWindow::ReadCompatibly(const tagXTileLevel& level, const int* cancel) {
  if (IsCovered(level) && PaintTiles(level, cancel)) return true;
  for (int k = 0; k < kPbiChannels; ++k) {
    tagXArr2& plane = record_.At(k);
    std::memset(plane.data, 0, static_cast<std::size_t>(plane.xSize) * static_cast<std::size_t>(plane.ySize));
  }
  PaintTiles(level, cancel);
  return !XfnIsStopRequested(cancel);
}

/// Whether all tiles could be read, and nobody has stopped it.
bool PbiWindow::PaintTiles(const tagXTileLevel& level, const int* cancel) {
  bool areAllRead = true;
  for (const StoreVisit& row : scratch_.rows.visits) {
    if (XfnIsStopRequested(cancel)) return false;
    for (const StoreVisit& column : scratch_.columns.visits) {
      if (level.tileWidth != kCompatibleStride) {
        PaintInRowsOf256(level, row, column);
      } else if (!ReadBlocks(level, row, column)) {
        Paint(level, row, column);
      } else {
        areAllRead = false;
      }
    }
  }
  return areAllRead;
}

/// Whether tiles that lie in the file give every sample.
bool PbiWindow::IsCovered(const tagXTileLevel& level) const {
  const std::vector<StoreVisit>&rows = scratch_.rows.visits, &columns = scratch_.columns.visits;
  if (level.tileWidth != kCompatibleStride || rows.size() * columns.size() > kManyTiles) return false;
  const tagXArr2& plane = record_.At(0);
  if (!scratch_.rows.GivesAll(plane.ySize) || !scratch_.columns.GivesAll(plane.xSize)) return false;
  return std::ranges::all_of(rows, [&](const StoreVisit& row) {
    return std::ranges::all_of(
        columns, [&](const StoreVisit& column) { return store_.file->Find(level, row.tile, column.tile).has_value(); });
  });
}

bool PbiWindow::ReadExactly(const StoreImage::Level& level, const int* cancel) {
  for (const StoreVisit& row : scratch_.rows.visits) {
    if (XfnIsStopRequested(cancel)) return false;
    for (const StoreVisit& column : scratch_.columns.visits) {
      const tagXTileLevel* const range = level.FindRange(row.tile, column.tile);
      if (!range) {
        Clear(row, column);
        continue;
      }
      if (const char* const fault = ReadBlocks(*range, row, column)) {
        NoteReadError(("The tile in " + NameTile(*range, row.tile, column.tile) + fault).c_str());
        return false;
      }
      Paint(*range, row, column);
    }
  }
  return true;
}

/// Null where the rows of blocks that the visit touches were read, otherwise the end of a sentence about the tile.
const char* PbiWindow::ReadBlocks(const tagXTileLevel& level, const StoreVisit& row, const StoreVisit& column) {
  const BlockShape shape = ShapeOf(level);
  if (shape.type == kDxtNone) return " has no blocks of a kind that is known, or fewer than its pixels need";
  const auto tile = store_.file->Find(level, row.tile, column.tile);
  if (!tile) return " does not lie in the file";
  const int first = scratch_.rows.FirstOf(row) / kBlockSide, last = scratch_.rows.LastOf(row) / kBlockSide;
  const auto rowBytes = static_cast<std::int64_t>(BlockBytes(PartOf(shape, 0, 0)));
  const auto numBytes = static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(last - first + 1);
  scratch_.blocks.resize(numBytes);
  const std::int64_t wanted = std::ssize(scratch_.blocks);
  if (store_.file->Read(tile->offset + first * rowBytes, wanted, scratch_.blocks.data()) < wanted) {
    return " can't be read";
  }
  return nullptr;
}

/// Rows of blocks between those of two samples are not unpacked.
void PbiWindow::Paint(const tagXTileLevel& level, const StoreVisit& row, const StoreVisit& column) {
  const int* const ys = scratch_.rows.SourcesOf(row);
  const int firstBlockRow = ys[0] / kBlockSide;
  const BlockShape part = PartOf(ShapeOf(level), firstBlockRow, scratch_.rows.LastOf(row) / kBlockSide);
  const int width = scratch_.columns.LastOf(column) - scratch_.columns.FirstOf(column) + 1;
  if (column.count > 1 && width / column.count >= kWideStep) {
    PaintPixels(part, row, column);
    return;
  }
  scratch_.rgba.resize((static_cast<std::size_t>(width) * kRowsAtOnce + kVectorPixels) * 4);
  scratch_.columns.FindRuns(column, static_cast<std::size_t>(column.count / kShortRun + 1), scratch_.runs);
  const bool isDense = ys[row.count - 1] - ys[0] < kBlockSide * row.count;
  const int together = isDense ? kRowsAtOnce : kBlockSide;
  for (int first = 0; first < row.count;) {
    int end = first + 1;
    while (end < row.count && ys[end] / together == ys[first] / together) ++end;
    PaintRows(part, row, first, end, column);
    first = end;
  }
}

/// `first` and `end` count rows of the visit.
void PbiWindow::PaintRows(const BlockShape& shape, const StoreVisit& row, int first, int end,
                          const StoreVisit& column) {
  const int* const xs = scratch_.columns.SourcesOf(column);
  const int* const ys = scratch_.rows.SourcesOf(row);
  const int top = ys[0] / kBlockSide * kBlockSide;  // the first row of the picture in the tile
  const Window window{xs[0], xs[column.count - 1], ys[first] - top, ys[end - 1] - top};
  const std::ptrdiff_t rowBytes = std::ptrdiff_t{window.Width()} * 4;
  DecodeBlockWindow(scratch_.blocks, shape, window, {scratch_.rgba.data(), rowBytes, false});
  for (int i = first; i < end; ++i) {
    PaintRow(scratch_.rgba.data() + (ys[i] - ys[first]) * rowBytes, row.first + i, column);
  }
}

/// Exact reads at full size have one run, and compatible ones a few.
void PbiWindow::PaintRow(const std::uint8_t* rgba, int y, const StoreVisit& column) {
  const int* const xs = scratch_.columns.SourcesOf(column);
  const PlaneRows row = RowsOf(record_, y, column.first);
  if (scratch_.runs.empty()) return PickPixels(rgba, xs, column.count, row);
  for (const StoreRun& run : scratch_.runs) {
    SplitRun(rgba + std::ptrdiff_t{xs[run.begin] - xs[0]} * 4, static_cast<std::size_t>(run.count),
             {row[0] + run.begin, row[1] + run.begin, row[2] + run.begin, row[3] + run.begin});
  }
}

void PbiWindow::PaintPixels(const BlockShape& shape, const StoreVisit& row, const StoreVisit& column) {
  const int* const xs = scratch_.columns.SourcesOf(column);
  const int* const ys = scratch_.rows.SourcesOf(row);
  const int top = ys[0] / kBlockSide * kBlockSide;
  for (int j = 0; j < row.count; ++j) {
    for (int i = 0; i < column.count; ++i) {
      const int x = xs[i], y = ys[j] - top;
      std::uint8_t pixel[4];
      DecodeBlockWindow(scratch_.blocks, shape, {x, x, y, y}, {pixel, 4, false});
      PickPixels(pixel, &xs[i], 1, RowsOf(record_, row.first + j, column.first + i));
    }
  }
}

/// A tile of another width has its pixels one behind the other, and they are taken out of rows of 256 all the same.
void PbiWindow::PaintInRowsOf256(const tagXTileLevel& level, const StoreVisit& row, const StoreVisit& column) {
  const BlockShape shape = ShapeOf(level);
  const auto tile = store_.file->Find(level, row.tile, column.tile);
  if (shape.type == kDxtNone || !tile) return;
  const std::size_t numPixels = CountPixels(shape);
  if (numPixels == 0) return;
  scratch_.blocks.resize(static_cast<std::size_t>(tile->count));
  scratch_.rgba.resize(numPixels * 4);
  if (store_.file->Read(*tile, scratch_.blocks.data()) < tile->count) return;
  if (!DecodeBlocks(scratch_.blocks, shape, scratch_.rgba)) return;
  const int* const xs = scratch_.columns.SourcesOf(column);
  const int* const ys = scratch_.rows.SourcesOf(row);
  for (int j = 0; j < row.count; ++j) {
    for (int i = 0; i < column.count; ++i) {
      const std::size_t index = static_cast<std::size_t>(ys[j]) * kCompatibleStride + static_cast<std::size_t>(xs[i]);
      if (index >= numPixels) continue;
      PickPixels(scratch_.rgba.data() + index * 4, &xs[i], 1, RowsOf(record_, row.first + j, column.first + i));
    }
  }
}

void PbiWindow::Clear(const StoreVisit& row, const StoreVisit& column) {
  for (int k = 0; k < kPbiChannels; ++k) {
    for (int j = 0; j < row.count; ++j) {
      std::memset(record_.At(k).Row(row.first + j) + column.first, 0, static_cast<std::size_t>(column.count));
    }
  }
}

}  // namespace zrk
