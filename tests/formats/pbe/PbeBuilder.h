#pragma once

#include "StoreBytes.h"

#include <cstdint>
#include <functional>
#include <vector>

/// Builds elevation stores byte by byte: `PbeBuilder().Level({.level = 1, .urRow = 1, .urCol = 2})` has tiles of
/// 31 x 31 posts, whose edges do not meet, so that a test sees which tile a post comes from.
class PbeBuilder {
 public:
  using Bytes = std::vector<unsigned char>;

  struct Range {
    int level = 0;
    int llRow = 0, llCol = 0, urRow = 0, urCol = 0;
    int width = 31, height = 31;
  };

  PbeBuilder& Mark(const char* mark) { return mark_ = mark, *this; }
  PbeBuilder& TileSize(double size) { return tileSize_ = size, *this; }
  /// Below 1.1 posts have 16 bits, and from 2.0 on normals follow. Set before the levels.
  PbeBuilder& Version(double version) { return version_ = version, *this; }
  /// Posts on the edge of two tiles are the same. Set before the levels.
  PbeBuilder& Smooth() { return isSmooth_ = true, *this; }
  PbeBuilder& Level(const Range& range);
  /// Changes the record of a level that was added.
  StoreRecord& RecordAt(std::size_t index) { return records_[index]; }
  PbeBuilder& Count(int count) { return count_ = count, *this; }

  Bytes Build() const;
  std::size_t OffsetOf(std::size_t index, int row, int col) const;
  /// A post of a tile, counted from the upper left one.
  int At(std::size_t index, int row, int col, int x, int y) const;
  /// Whether a level's range holds a tile.
  bool Holds(std::size_t index, int row, int col) const;
  const std::vector<Range>& Ranges() const { return ranges_; }

 private:
  int BytesOfTile(const Range& range) const;

  const char* mark_ = "PBE";
  double tileSize_ = 18.0;
  double version_ = 1.2;
  bool isSmooth_ = false;
  int count_ = -1;
  std::vector<Range> ranges_;
  std::vector<StoreRecord> records_;
  Bytes body_;
};
