#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstdint>

class XRSFile;
class XThread;

/// Writes a dataset as a TXID tile store: an index BASE.txi and a data file BASE.txd, in blocks of DXT1.
///
/// Bands of unsigned bytes are taken: red, green and blue by their colour roles, otherwise the first three, and a
/// single band as grey. A pixel is transparent where a band of opacity is 0, or where all of its colours are the null
/// value of their bands. DXT1 keeps no other opacity, and colours come near those of the source. Tiles of which no
/// pixel is seen are left out. What the last tiles have beyond the image is transparent.
///
/// The image has to lie in longitude and latitude on WGS 84 without a rotation, or to have no georeference. Without one
/// its own coordinates count as degrees. A store counts pixel sizes in units of 1e-08 degree. An image that this
/// rounding would move by more than half a pixel is refused.
///
/// Both files are written beside their targets and take their names when they are whole; a store of the name stays
/// where a save fails or is stopped. The dataset's own file is refused. Nothing is thrown. A thread that is given
/// stores how a save ended. An object serves one save at a time, on one thread.
class ZRKIO_API XRSFile2TXID {
 public:
  /// The dataset, which stays the caller's and has to outlive the save; null is ignored.
  void SetXRSFile(XRSFile* file) {
    if (file) file_ = file;
  }
  /// The side of a tile in pixels, a multiple of 4 from 4 to 4,096; 256 unless set.
  void SetTileSize(int tileSize) { tileSize_ = tileSize; }

  /// Writes the whole image. Returns 1, or 0 with the reason in `err`. `thread` may be null; if it was asked to stop,
  /// `err` stays as it was.
  int Save(XString base, XString& err, XThread* thread);

  /// How many tiles the last save wrote, and how many the grid has; 0 both where it failed.
  std::int64_t GetNumTilesWritten() const { return numWritten_; }
  std::int64_t GetNumTiles() const { return numTiles_; }

 private:
  XRSFile* file_ = nullptr;
  int tileSize_ = 256;
  std::int64_t numWritten_ = 0;
  std::int64_t numTiles_ = 0;
};
