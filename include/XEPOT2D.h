#pragma once

#include "XExport.h"

#include <cstdint>
#include <memory>

class XFile;
struct tagXArr2;

namespace zrk {
class PyramidStore;
}

/// How a store keeps its samples: as they are, for which there are two values, or as compressed tiles.
enum XStoreCompression { kCompressionNone = 0, kCompressionTiles = 3, kCompressionPlain = 100 };

/// A tiled pyramid over a byte range of a file: the images 0 to `levels` of one band, image k reduced by 2^k, each cut
/// into tiles.
///
/// An uncompressed store keeps every tile whole, so that its size and the offset of every tile follow from the
/// parameters alone. A compressed store keeps each tile as a blob behind a table of offsets, and is read only.
/// docs/FORMATS.md has the layout of both.
///
/// Reads take no lock and may come from many threads at once. Writes of windows that share no tile may, too.
class ZRKIO_API XEPOT2D {
 public:
  XEPOT2D();
  ~XEPOT2D();
  XEPOT2D(const XEPOT2D&) = delete;
  XEPOT2D& operator=(const XEPOT2D&) = delete;

  /// The bytes of an uncompressed store; 0 where such a store can't be.
  static std::int64_t CalcSize(int xSize, int ySize, int dataType, int xTileSize, int yTileSize, int levels);

  /// Binds the store to the range of a file that begins at `offset`. The file may be closed afterwards, because the
  /// store keeps it open. Returns 1, or 0 for a null or closed file, a negative offset, or a store of impossible sizes.
  /// A compressed store also fails if its table of offsets can't be read or does not fit the file. After a 0 the store
  /// serves no read. Values other than those of `XStoreCompression` mean an uncompressed store.
  int SetImage(XFile* file, std::int64_t offset, int xSize, int ySize, int dataType, int xTileSize, int yTileSize,
               int levels, int compression);
  /// Lets go of the file.
  void Close();
  /// Whether the store is bound to a file and can be read.
  bool IsOpen() const { return store_ != nullptr; }

  /// Bytes of the store in its file; 0 before `SetImage`.
  std::int64_t GetSize() const;
  /// The number of reduced images below image 0; 0 before `SetImage`.
  int GetLevels() const;

  /// Fills the buffer, whose shape is the request, with the pixels from column `left` and row `top` of an image on.
  /// Returns 1, or 0 if some pixels lie outside the image, if the sample size differs, or if the file can't be read.
  /// After a 0 the contents of the buffer are undefined. Stops between tiles where the word behind `cancel` holds 1.
  int Read(tagXArr2& buffer, int level, int left, int top, const int* cancel) const;
  /// Writes the buffer to the same place; samples equal to `nullValue` stay as they are where `keepNull` is set.
  /// Returns 0 for a compressed store.
  int Write(const tagXArr2& buffer, int level, int left, int top, bool keepNull, double nullValue);

  /// Fills the images below level 0, as far as they depend on the window x0..x1 by y0..y1 of it, which may reach beyond
  /// the image. A sample is the mean of four samples of the image above. Samples equal to `nullValue` are left out; if
  /// all four are, the result is `nullValue`. Means of integers are rounded half away from zero. With `thematic` the
  /// sample is the most frequent of the four; of equally frequent ones the first counts. Returns 1 or 0.
  int BuildLowerLevels(double nullValue, int x0, int x1, int y0, int y1, bool thematic);

  /// The inner store, for code of the library that handles whole tiles; null before `SetImage`.
  const std::shared_ptr<zrk::PyramidStore>& GetStore() const { return store_; }

 private:
  std::shared_ptr<zrk::PyramidStore> store_;
};
