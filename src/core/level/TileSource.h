#pragma once

#include "core/level/PyramidBuild.h"

#include <functional>
#include <optional>
#include <vector>

namespace zrk {

class PyramidLayout;
class TopMaker;

/// The uncompressed store of a source, which has its samples in tiles; null for a source without one. It belongs to the
/// source.
const PlainStore* FindTileStore(ZRMBand& band);

/// A source whose tiles are taken from its store as they are, to make the top of a pyramid. What is read is shown to
/// the fingerprint of the file. Immutable, so that several threads may use one object, each with room of its own.
class TileSource {
 public:
  /// None where the band has no such store, or where blocks of the top are not made of whole tiles of it: a caller can
  /// give a band another size or type than its store has, and a window may begin within a tile. None either where tiles
  /// are large, or mostly outside of the window, or where samples don't lie at multiples of their size.
  static std::optional<TileSource> Find(const PyramidBand& band, const TopMaker& top, const Window& window);

  /// The rows of the top that come of a row of tiles.
  int CountTopRows() const;

  /// Samples of a tile, of which a block of the top is made.
  struct Part {
    const unsigned char* samples;
    std::int64_t stride;  ///< bytes from one row of the tile to the next
    int x, y;             ///< where the block lies, from the first sample that the window makes
    int width, rows;      ///< of the block
  };
  /// Reads the tiles under a window of the source, which begins with a tile. `take` is called for each of them. `room`
  /// is room for the thread's use. False where whole tiles can't be read: the band may still have their samples, since
  /// a file may end within the last tile behind the image, and else it tells the reason. Throws std::bad_alloc.
  bool Read(const Window& window, std::vector<unsigned char>& room, const std::function<void(const Part&)>& take) const;

 private:
  TileSource(const PlainStore& store, Fingerprint* fingerprint, int scale)
      : store_(&store), fingerprint_(fingerprint), scale_(scale) {}

  const PlainStore* store_;
  Fingerprint* fingerprint_;  // may be null
  int scale_;                 // samples of the source for one of the top, each way
};

}  // namespace zrk
