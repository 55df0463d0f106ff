#pragma once

#include "base/RowReader.h"
#include "core/level/PyramidLayout.h"
#include "tagXArr2.h"

#include <memory>
#include <vector>

namespace zrk {

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

/// Rows of a full row of tiles: the tile row of an image, and the rows of its tiles from `y` on.
struct TileRows {
  int level;
  int row;
  int y;
  int numRows;
};

/// The images of one pyramid in a file, read and written by windows of an image. Reads may come from many threads.
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

  /// Whether the buffer's shape lies within an image from a place on.
  bool HasWindow(const tagXArr2& buffer, int level, int left, int top) const;

 private:
  PyramidLayout layout_;
};

/// Cuts a window of an image, which lies within it, into pieces of tiles and calls
/// `visit(const TilePiece&, bufferX, bufferY)` for each, tile row by tile row; ends with false at the first that
/// answers false.
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
  /// The store begins at a byte of the file and its end is no larger than a file can be.
  PlainStore(const PyramidLayout& layout, std::shared_ptr<DiskFile> file, std::int64_t offset)
      : PyramidStore(layout), file_(std::move(file)), offset_(offset) {}

  std::int64_t Size() const override { return Layout().Size(); }
  bool Write(const tagXArr2& buffer, int level, int left, int top, bool keepNull, double nullValue) override;

  /// Writes rows of a full row of tiles as they come in the image. What lies beyond the image in its last tiles becomes
  /// 0. `staging` is room for the writer's use.
  bool WriteTileRows(const TileRows& part, const unsigned char* rows, std::vector<unsigned char>& staging);

 protected:
  bool ReadPiece(const TilePiece& piece, std::int64_t windowBytes, unsigned char* out,
                 std::int64_t stride) const override;

 private:
  std::int64_t Place(const TilePiece& piece) const;
  void LayOutTile(const TileRows& part, int column, const unsigned char* rows, unsigned char* tile) const;
  /// Samples equal to `keptNull`, where it is not null, leave what is there.
  bool WritePiece(const TilePiece& piece, const unsigned char* from, std::int64_t stride, const double* keptNull);
  bool WritePart(const TilePiece& part, const unsigned char* from, std::int64_t stride, const double* keptNull);

  RowFile file_;
  std::int64_t offset_;
};

}  // namespace zrk
