#pragma once

#include "base/PixelStorage.h"
#include "base/Window.h"

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

class ZRMBand;

namespace zrk {

struct Jp2Job;

/// Rows of tiles, or a part of one row, read out of the bands and laid out as the encoder takes them: tile by tile, and
/// within a tile band by band.
class Jp2Strip {
 public:
  /// The job has to outlive the object.
  explicit Jp2Strip(const Jp2Job& job);

  /// How many tiles are best read at once: some rows of them, or a part of one where a row would take too much memory.
  int CountTilesAtOnce() const;
  /// Makes room for so many tiles of the largest size; false where there is no memory for that.
  bool Reserve(int numTiles);

  /// Reads some tiles, which are whole rows of tiles or lie in one row. `goesOn` is asked before each block of rows,
  /// with the pixels of the file that were read since it was asked before. False where it says no, and otherwise where
  /// the bands can't be read.
  bool Read(int firstTile, int numTiles, const std::function<bool(std::int64_t numPixels)>& goesOn);
  bool WasStopped() const { return wasStopped_; }
  /// The samples of a tile that was read. They may be written to.
  std::span<unsigned char> TileAt(int tile);

 private:
  struct Place {
    Window pixels;  ///< in the file
    std::size_t offset = 0;
    std::size_t numBytes = 0;
  };

  std::span<const Place> TilesAt(int y) const;
  bool ReadRows(const Window& rows);
  bool ReadTogether(const Window& rows);
  bool ReadAlone(std::size_t band, const Window& rows);
  void CopyRow(const unsigned char* samples, std::size_t band, const Window& columns, int y);

  const Jp2Job& job_;
  std::vector<std::size_t> componentBytes_;  ///< of a pixel, before each band
  bool isJoint_ = false;
  PixelStorage samples_;
  int firstTile_ = 0;
  std::vector<Place> tiles_;
  bool wasStopped_ = false;
};

}  // namespace zrk
