#pragma once

#include "StoreBytes.h"

#include <array>
#include <cstdint>
#include <vector>

/// Builds image stores byte by byte: `PbiBuilder().Level({.level = 1, .urRow = 1, .urCol = 2})` has tiles of 256 x 256
/// pixels in blocks of any kind, and tells what they show.
class PbiBuilder {
 public:
  using Bytes = std::vector<unsigned char>;
  using Pixel = std::array<unsigned char, 4>;

  struct Range {
    int level = 0;
    int llRow = 0, llCol = 0, urRow = 0, urCol = 0;
    int width = 256, height = 256;
    int type = 1;
    int spare = 0;  ///< bytes behind the blocks of each tile
  };

  PbiBuilder& Mark(const char* mark) { return mark_ = mark, *this; }
  PbiBuilder& TileSize(double size) { return tileSize_ = size, *this; }
  PbiBuilder& Level(const Range& range);
  /// A record that is written as it is and has no tiles here.
  PbiBuilder& Record(const StoreRecord& record) { return records_.push_back(record), *this; }
  /// Changes the record of a level that was added.
  StoreRecord& RecordAt(std::size_t index) { return records_[index]; }
  PbiBuilder& Count(int count) { return count_ = count, *this; }

  Bytes Build() const;
  /// Where a tile of the index-th level lies in the file.
  std::size_t OffsetOf(std::size_t index, int row, int col) const;
  /// What its pixel shows, counted from the upper left one.
  Pixel At(std::size_t index, int row, int col, int x, int y) const;
  const std::vector<Range>& Ranges() const { return ranges_; }

  /// What a pixel shows out of the bytes of a block, as block formats are described everywhere.
  static Pixel PixelOfBlock(const unsigned char* block, int type, int x, int y);
  static int BytesOfTile(const Range& range);

 private:
  const char* mark_ = "PBI";
  double tileSize_ = 18.0;
  int count_ = -1;
  std::vector<Range> ranges_;
  std::vector<StoreRecord> records_;
  Bytes body_;
};
