// Reads and writes of windows, tile by tile. A window is cut into pieces, each within one tile, and a piece is moved
// between the tile's rows in the file and the buffer's rows in memory. How a store keeps its tiles is its own matter:
// `PlainStore` here has them at offsets that follow from the layout, `BlobStore` has a table.
//
// Rows of a tile lie together in the file. A piece narrower than its tile is therefore read or written with the bytes
// between its rows, through some room on the stack, because a call for each row would cost more than those bytes.
//
// Any number of threads may read. Two writes may go on at once where they share no tile.

#include "core/level/PyramidStore.h"

#include "base/AlignLike.h"
#include "base/DataTypeVisit.h"
#include "base/ReadError.h"
#include "math/CopyBlock.h"
#include "math/CopyFileRows.h"
#include "math/Fingerprint.h"
#include "math/SampleFilter.h"
#include "XString.h"
#include "XThread.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace zrk {
namespace {

/// Tiles are changed through a room of this size on the stack, so that this needs no memory of its own.
constexpr std::int64_t kRoomBytes = 64 << 10;
using Room = std::array<unsigned char, kRoomBytes>;

/// Copies like `CopyBlock`, but samples equal to the null value leave the target unchanged.
template <class Sample>
void CopyKeptRows(const unsigned char* from, std::int64_t fromStride, unsigned char* to, std::int64_t toStride,
                  int width, int rows, Sample nullSample) {
  for (int y = 0; y < rows; ++y) {
    const auto* source = reinterpret_cast<const Sample*>(from + y * fromStride);
    for (int x = 0; x < width; ++x) {
      Sample sample;
      std::memcpy(&sample, source + x, sizeof(Sample));
      if (sample != nullSample)
        std::memcpy(to + y * toStride + x * std::int64_t{sizeof(Sample)}, &sample, sizeof(Sample));
    }
  }
}

bool FailAtTile(const TilePiece& piece) {
  XString sentence;
  sentence.Format("The tile in column %d and row %d of level %d can't be read", piece.column, piece.row, piece.level);
  NoteReadError(sentence);
  return false;
}

}  // namespace

PyramidStore::~PyramidStore() = default;

bool PyramidStore::HasWindow(const tagXArr2& buffer, int level, int left, int top) const {
  if (level < 0 || level > layout_.Shape().levels || left < 0 || top < 0) return false;
  return buffer.data && buffer.elementSize == layout_.SampleBytes() && buffer.xSize <= layout_.Width(level) - left &&
         buffer.ySize <= layout_.Height(level) - top;
}

bool PyramidStore::Read(tagXArr2& buffer, int level, int left, int top, const int* cancel) const {
  if (!HasWindow(buffer, level, left, top)) return false;
  const std::int64_t sampleBytes = layout_.SampleBytes(), stride = buffer.xSize * sampleBytes;
  const auto read = [&](const TilePiece& piece, int x, int y) {
    // A stop is heard between pieces, and so within the time of one tile.
    if (XfnIsStopRequested(cancel)) return false;
    return ReadPiece(piece, stride * buffer.ySize, buffer.data + y * stride + x * sampleBytes, stride) ||
           FailAtTile(piece);
  };
  return ForEachPiece(layout_, level, left, top, buffer.xSize, buffer.ySize, read);
}

bool PyramidStore::Write(const tagXArr2&, int, int, int, bool, double) {
  return false;
}

std::int64_t PlainStore::Place(const TilePiece& piece) const {
  const PyramidLayout& layout = Layout();
  return offset_ + layout.TileNumber(piece.level, piece.column, piece.row) * layout.TileBytes() +
         piece.y * layout.TileRowBytes() + std::int64_t{piece.x} * layout.SampleBytes();
}

bool PlainStore::ReadPiece(const TilePiece& piece, std::int64_t windowBytes, unsigned char* out,
                           std::int64_t stride) const {
  const std::int64_t rowBytes = std::int64_t{piece.width} * Layout().SampleBytes();
  const FileRows rows{Place(piece), Layout().TileRowBytes(), rowBytes, piece.height};
  return CopyFileRows(RowReader(file_, windowBytes), rows, out, stride);
}

bool PlainStore::Write(const tagXArr2& buffer, int level, int left, int top, bool keepNull, double nullValue) {
  if (!HasWindow(buffer, level, left, top)) return false;
  const std::int64_t sampleBytes = Layout().SampleBytes(), stride = buffer.xSize * sampleBytes;
  bool canBeNull = false;
  VisitDataType(Layout().Shape().dataType, [&](auto zero) { canBeNull = CanEqual<decltype(zero)>(nullValue); });
  return ForEachPiece(Layout(), level, left, top, buffer.xSize, buffer.ySize,
                      [&](const TilePiece& piece, int x, int y) {
                        return WritePiece(piece, buffer.data + y * stride + x * sampleBytes, stride,
                                          keepNull && canBeNull ? &nullValue : nullptr);
                      });
}

bool PlainStore::WritePiece(const TilePiece& piece, const unsigned char* from, std::int64_t stride,
                            const double* keptNull) {
  const std::int64_t sampleBytes = Layout().SampleBytes(), tileRow = Layout().TileRowBytes();
  // A part, with the bytes between its rows, fits the room. A row that is too wide for it is cut as well.
  const int partWidth = std::min(piece.width, static_cast<int>(kRoomBytes / sampleBytes));
  const auto partHeight = static_cast<int>((kRoomBytes - partWidth * sampleBytes) / tileRow) + 1;
  for (int y = 0; y < piece.height; y += partHeight) {
    for (int x = 0; x < piece.width; x += partWidth) {
      const TilePiece part{piece.level,
                           piece.column,
                           piece.row,
                           piece.x + x,
                           piece.y + y,
                           std::min(partWidth, piece.width - x),
                           std::min(partHeight, piece.height - y)};
      if (!WritePart(part, from + y * stride + x * sampleBytes, stride, keptNull)) return false;
    }
  }
  return true;
}

bool PlainStore::WritePart(const TilePiece& part, const unsigned char* from, std::int64_t stride,
                           const double* keptNull) {
  const std::int64_t rowBytes = std::int64_t{part.width} * Layout().SampleBytes(), tileRow = Layout().TileRowBytes();
  const std::int64_t count = (part.height - 1) * tileRow + rowBytes, place = Place(part);
  // Bytes between the rows, and samples that stay, are read first and written back unchanged. A file that is still
  // shorter than its store counts as zeros there.
  const bool coversAll = !keptNull && (part.height == 1 || rowBytes == tileRow);
  Room room;
  const std::int64_t got = coversAll ? count : file_.File().ReadAt(place, room.data(), count);
  if (got < 0) return false;
  std::fill(room.begin() + got, room.begin() + count, 0);  // beyond the end of the file
  if (keptNull) {
    VisitDataType(Layout().Shape().dataType, [&](auto zero) {
      using Sample = decltype(zero);
      CopyKeptRows(from, stride, room.data(), tileRow, part.width, part.height, static_cast<Sample>(*keptNull));
    });
  } else {
    CopyBlock(from, stride, room.data(), tileRow, rowBytes, part.height);
  }
  return file_.File().WriteAt(place, room.data(), count) == 0;
}

const unsigned char* PlainStore::ReadTiles(const TileRun& run, std::vector<unsigned char>& room,
                                           Fingerprint* taker) const {
  const std::int64_t place = Place(run), count = run.count * Layout().TileBytes();
  room.resize(static_cast<std::size_t>(count + kAlignRoom));
  unsigned char* const first = AlignLike(room.data(), place);
  if (file_.File().ReadAt(place, first, count) != count) return nullptr;
  // Now they are near the core.
  if (taker) taker->Take(place, first, count);
  return first;
}

bool PlainStore::WriteTiles(const TileRun& run, const unsigned char* tiles) {
  return file_.File().WriteAt(Place(run), tiles, run.count * Layout().TileBytes()) == 0;
}

void PlainStore::LayOutTile(const TileRows& part, int column, const unsigned char* rows, unsigned char* tile) const {
  const std::int64_t tileRowBytes = Layout().TileRowBytes();
  const std::int64_t imageRowBytes = std::int64_t{Layout().Width(part.level)} * Layout().SampleBytes();
  const std::int64_t from = column * tileRowBytes, rowBytes = std::min(tileRowBytes, imageRowBytes - from);
  for (int r = 0; r < part.numRows; ++r, tile += tileRowBytes) {
    std::memcpy(tile, rows + r * imageRowBytes + from, static_cast<std::size_t>(rowBytes));
    // Tiles are whole on the medium. What lies beyond the right edge of the image is 0.
    std::memset(tile + rowBytes, 0, static_cast<std::size_t>(tileRowBytes - rowBytes));
  }
}

bool PlainStore::WriteTileRows(const TileRows& part, const unsigned char* rows, std::vector<unsigned char>& staging) {
  const PyramidLayout& layout = Layout();
  // Whole tiles lie next to each other and are written several at a time. A part of a tile is a write of its own. In
  // the last row of tiles, all rows down to the end of the image make whole tiles, whose other rows are 0.
  const int yTile = layout.Shape().yTile;
  const bool isWhole = part.y == 0 && part.numRows == std::min(yTile, layout.Height(part.level) - part.row * yTile);
  const std::int64_t stepBytes = isWhole ? layout.TileBytes() : part.numRows * layout.TileRowBytes();
  constexpr std::int64_t kWriteBytes = 1 << 20;
  const auto perWrite = static_cast<int>(isWhole ? std::max<std::int64_t>(kWriteBytes / stepBytes, 1) : 1);
  staging.resize(static_cast<std::size_t>(perWrite * stepBytes));
  // Rows of a tile that lie below the image stay 0 from here on, since no tile of this row of tiles has samples there.
  const std::int64_t madeBytes = part.numRows * layout.TileRowBytes();
  for (std::int64_t i = 0; i < perWrite; ++i) {
    std::fill(staging.begin() + i * stepBytes + madeBytes, staging.begin() + (i + 1) * stepBytes, 0);
  }
  const int numColumns = layout.Columns(part.level);
  for (int column = 0; column < numColumns; column += perWrite) {
    const int count = std::min(perWrite, numColumns - column);
    for (int i = 0; i < count; ++i) LayOutTile(part, column + i, rows, staging.data() + i * stepBytes);
    const std::int64_t place = Place({part.level, column, part.row, 0, part.y, 0, 0});
    if (file_.File().WriteAt(place, staging.data(), count * stepBytes) != 0) return false;
    // Nobody writes to a whole tile again. The medium may take it while the rest is computed.
    if (isWhole) file_.File().StartSync(place, count * stepBytes);
  }
  return true;
}

}  // namespace zrk
