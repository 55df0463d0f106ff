#pragma once

#include "core/model/ChannelReads.h"
#include "tiles/BlockCoder.h"
#include "tiles/StoreAxis.h"
#include "tiles/StoreForReading.h"

#include <cstdint>
#include <vector>

namespace zrk {

/// Memory that reads of a thread use again.
struct PbiScratch {
  StoreAxis columns;
  StoreAxis rows;
  std::vector<std::uint8_t> blocks;
  std::vector<std::uint8_t> rgba;
};

/// Red, green, blue and alpha.
constexpr int kPbiChannels = 4;

/// The picture of a tile. Its type stays unset where the numbers of the level do not make a picture.
BlockShape ShapeOf(const tagXTileLevel& level);
/// Its pixels, where a buffer may hold them all; otherwise 0.
std::size_t CountPixels(const BlockShape& shape);

/// A window on its way from a store into the four planes of a record. Which tiles give which samples stands in the
/// scratch. One thread reads it.
class PbiWindow {
 public:
  PbiWindow(const StoreForReading& store, PbiScratch& scratch, ChannelReads::Record& record)
      : store_(store), scratch_(scratch), record_(record) {}

  /// Tiles of one level, with the arithmetic that callers of the compatible policy rely on: rows of a tile's pixels
  /// count as 256 long. Samples that no tile gives, and those of tiles that can't be read, are 0. False where it was
  /// stopped.
  bool ReadCompatibly(const tagXTileLevel& level, const int* cancel);
  /// Samples of tiles outside of the level's ranges are 0. False, with the reason noted, where a tile can't be read.
  bool ReadExactly(const StoreImage::Level& level, const int* cancel);

 private:
  const char* ReadBlocks(const tagXTileLevel& level, const StoreVisit& row, const StoreVisit& column);
  void Paint(const tagXTileLevel& level, const StoreVisit& row, const StoreVisit& column);
  void PaintRows(const BlockShape& shape, const StoreVisit& row, int first, int end, const StoreVisit& column);
  void PaintPixels(const BlockShape& shape, const StoreVisit& row, const StoreVisit& column);
  void PaintInRowsOf256(const tagXTileLevel& level, const StoreVisit& row, const StoreVisit& column);
  void Clear(const StoreVisit& row, const StoreVisit& column);

  const StoreForReading& store_;
  PbiScratch& scratch_;
  ChannelReads::Record& record_;
};

}  // namespace zrk
