#pragma once

#include "base/RowReader.h"
#include "core/level/PyramidLayout.h"
#include "tagXArr2.h"

#include <memory>
#include <string>
#include <vector>

namespace zrk {

class Fingerprint;

/// A part of one tile, in samples from the tile's corner, and where it lies in a buffer.
struct TilePiece {
  int level;
  int column;  ///< of the tile among the tiles of its image
  int row;
  int x;
  int y;
  int width;
  int height;
};

/// Some rows of a row of tiles, over the full width of the image: tile row `row`, and `numRows` rows of its tiles from
/// row `y` of the tiles on.
struct TileRows {
  int level;
  int row;
  int y;
  int numRows;
};

/// The images of one pyramid in a file, read and written window by window. Reads may come from many threads.
class PyramidStore {
 public:
  explicit PyramidStore(const PyramidLayout& layout) : layout_(layout) {}
  virtual ~PyramidStore();

  const PyramidLayout& Layout() const { return layout_; }
  /// Bytes of the store in its file.
  virtual std::int64_t Size() const = 0;
  /// Frees what reads of the calling thread keep.
  virtual void ReleaseThread() {}

  /// See `XEPOT2D::Read` and `XEPOT2D::Write`.
  bool Read(tagXArr2& buffer, int level, int left, int top, const int* cancel) const;
  virtual bool Write(const tagXArr2& buffer, int level, int left, int top, bool keepNull, double nullValue);

 protected:
  /// Copies a part of a tile to `out`, whose rows are `stride` bytes apart, for a window of so many bytes.
  virtual bool ReadPiece(const TilePiece& piece, std::int64_t windowBytes, unsigned char* out,
                         std::int64_t stride) const = 0;

  /// Whether a window of the buffer's shape, with its corner at `left` and `top`, lies within an image.
  bool HasWindow(const tagXArr2& buffer, int level, int left, int top) const;

 private:
  PyramidLayout layout_;
};

/// Cuts a window, which must lie within the image, into pieces of tiles. Calls `visit(const TilePiece&, x, y)` for each
/// with its position in the buffer, one row of tiles after the other. Ends with false as soon as a call answers false.
template <class Visit>
bool ForEachPiece(const PyramidLayout& layout, int level, int left, int top, int width, int height, Visit&& visit) {
  const int xTile = layout.Shape().xTile, yTile = layout.Shape().yTile;
  for (int y = 0, rows = 0; y < height; y += rows) {
    const int row = (top + y) / yTile, tileY = (top + y) % yTile;
    rows = yTile - tileY < height - y ? yTile - tileY : height - y;
    for (int x = 0, columns = 0; x < width; x += columns) {
      const int column = (left + x) / xTile, tileX = (left + x) % xTile;
      columns = xTile - tileX < width - x ? xTile - tileX : width - x;
      if (!visit(TilePiece{level, column, row, tileX, tileY, columns, rows}, x, y)) return false;
    }
  }
  return true;
}

/// An uncompressed store: every tile whole, all of one size.
class PlainStore : public PyramidStore {
 public:
  /// The store begins at `offset`. The sum of the offset and the store's size must not overflow.
  PlainStore(const PyramidLayout& layout, std::shared_ptr<DiskFile> file, std::int64_t offset)
      : PyramidStore(layout), file_(std::move(file)), offset_(offset) {}

  std::int64_t Size() const override { return Layout().Size(); }
  bool Write(const tagXArr2& buffer, int level, int left, int top, bool keepNull, double nullValue) override;

  /// Writes rows of a row of tiles. `rows` has them as they run through the image. What lies beyond the image in its
  /// last tiles becomes 0. `staging` is room for the writer's use, one for each thread.
  bool WriteTileRows(const TileRows& part, const unsigned char* rows, std::vector<unsigned char>& staging);

  /// Some tiles side by side. They lie one behind the other in the file.
  struct TileRun {
    int level;
    int column;
    int row;
    int count;
  };
  /// Writes whole tiles that lie one behind the other in memory as well.
  bool WriteTiles(const TileRun& run, const unsigned char* tiles);
  /// Hints that tiles are written to the end.
  void StartSync(const TileRun& run) { file_.File().StartSync(Place(run), run.count * Layout().TileBytes()); }

  /// Reads whole tiles, which come to lie one behind the other in `room`; answers the first of them, or null where not
  /// all are there. They are shown to `taker`, which may be null, as bytes of the file.
  const unsigned char* ReadTiles(const TileRun& run, std::vector<unsigned char>& room, Fingerprint* taker) const;

  /// Whether samples lie at multiples of their size in the file, and so in what `ReadTiles` answers.
  bool HasAlignedSamples() const { return offset_ % Layout().SampleBytes() == 0; }

  /// Whether the store lies in the file that goes by this name now.
  bool LiesIn(const std::string& path) const { return file_.File().GoesBy(path); }

 protected:
  bool ReadPiece(const TilePiece& piece, std::int64_t windowBytes, unsigned char* out,
                 std::int64_t stride) const override;

 private:
  std::int64_t Place(const TilePiece& piece) const;
  std::int64_t Place(const TileRun& run) const { return Place({run.level, run.column, run.row, 0, 0, 0, 0}); }
  void LayOutTile(const TileRows& part, int column, const unsigned char* rows, unsigned char* tile) const;
  /// Where `keptNull` is not null, samples equal to it leave the file unchanged.
  bool WritePiece(const TilePiece& piece, const unsigned char* from, std::int64_t stride, const double* keptNull);
  bool WritePart(const TilePiece& part, const unsigned char* from, std::int64_t stride, const double* keptNull);

  RowFile file_;
  std::int64_t offset_;
};

}  // namespace zrk
