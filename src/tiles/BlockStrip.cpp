#include "tiles/BlockStrip.h"

#include "math/Interleave.h"

#include <algorithm>
#include <cstring>

namespace zrk {
namespace {

/// Rows of bytes for the components of four-byte pixels, in the order in which these lie in memory.
std::array<std::uint8_t*, 4> RowsInOrder(BlockStrip& strip, const PixelLayout& layout, std::size_t row) {
  std::array<std::uint8_t*, 4> rows{};
  rows[static_cast<std::size_t>(layout.red)] = strip.red[row].data();
  rows[static_cast<std::size_t>(layout.green)] = strip.green[row].data();
  rows[static_cast<std::size_t>(layout.blue)] = strip.blue[row].data();
  if (layout.alpha >= 0) rows[static_cast<std::size_t>(layout.alpha)] = strip.alpha[row].data();
  return rows;
}

void SplitRow(const std::uint8_t* source, const PixelLayout& layout, std::size_t count, std::size_t row,
              BlockStrip& strip) {
  if (layout.bytes == 1) {
    std::memcpy(strip.red[row].data(), source, count);
    std::memcpy(strip.green[row].data(), source, count);
    std::memcpy(strip.blue[row].data(), source, count);
    return;
  }
  const auto rows = RowsInOrder(strip, layout, row);
  if (layout.bytes == 3) return SplitPixels3(source, count, rows[0], rows[1], rows[2]);
  SplitPixels4(source, count, rows[0], rows[1], rows[2], rows[3]);
}

/// Repeats the last column up to the end of its block.
void FillLastBlock(std::uint8_t* row, std::size_t count) {
  const std::size_t end = (count + 3) / 4 * 4;
  std::fill(row + count, row + end, row[count - 1]);
}

}  // namespace

PixelLayout LayoutOf(_XPIXELFORMAT format) {
  switch (format) {
    case kPixelGray:
      return {1, 0, 0, 0, -1};
    case kPixelRgb:
      return {3, 0, 1, 2, -1};
    case kPixelBgr:
      return {3, 2, 1, 0, -1};
    case kPixelRgba:
      return {4, 0, 1, 2, 3};
    case kPixelBgra:
      return {4, 2, 1, 0, 3};
    case kPixelArgb:
      return {4, 1, 2, 3, 0};
    case kPixelAbgr:
      return {4, 3, 2, 1, 0};
    default:
      return {0, 0, 0, 0, -1};
  }
}

void BlockStrip::Take(const PixelPicture& picture, int x0, int y0) {
  const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(picture.width - x0), 4 * kMaxBlocks);
  hasTransparent = false;
  numBlocks = (count + 3) / 4;
  for (std::size_t row = 0; row < 4; ++row) {
    const std::size_t first =
        (static_cast<std::size_t>(y0) + row) * static_cast<std::size_t>(picture.width) + static_cast<std::size_t>(x0);
    SplitRow(picture.pixels + first * static_cast<std::size_t>(picture.layout.bytes), picture.layout, count, row,
             *this);
    for (Plane* plane : {&red, &green, &blue}) FillLastBlock((*plane)[row].data(), count);
    if (picture.layout.alpha < 0) continue;
    FillLastBlock(alpha[row].data(), count);
    hasTransparent |= std::memchr(alpha[row].data(), 0, count) != nullptr;
  }
}

}  // namespace zrk
