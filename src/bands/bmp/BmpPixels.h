#pragma once

#include "bands/bmp/BmpLayout.h"

#include <cstddef>

namespace zrk {

/// Turns stored pixels of a bitmap into one row of each channel. Constant, for any number of threads.
class BmpPixels {
 public:
  explicit BmpPixels(const BmpLayout& layout) : layout_(layout) {}

  /// The first byte of a row that pixels from a column on need, and how many bytes they need from there.
  std::int64_t FirstByteOf(int x) const { return std::int64_t{x} * layout_.bits / 8; }
  std::int64_t CountBytes(int x0, int x1) const {
    return (std::int64_t{x1} * layout_.bits + layout_.bits + 7) / 8 - FirstByteOf(x0);
  }

  /// Unpacks `count` pixels from column x on; `source` holds the bytes from `FirstByteOf(x)` on. `room` is room for as
  /// many bytes. False where a pixel has an index that the palette lacks.
  bool Unpack(const unsigned char* source, int x, std::size_t count, unsigned char* room,
              unsigned char* const* target) const;
  /// The colours of indexes; false as above.
  bool TakeColours(const unsigned char* indexes, std::size_t count, unsigned char* const* target) const;

 private:
  void TakeIndexes(const unsigned char* source, int x, std::size_t count, unsigned char* indexes) const;

  const BmpLayout& layout_;
};

}  // namespace zrk
