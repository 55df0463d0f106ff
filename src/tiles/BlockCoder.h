#pragma once

#include "base/Window.h"
#include "XPixelFormat.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrk {

// Pictures as the blocks of four by four pixels that graphics cards take. Blocks lie row by row, the upper left first;
// those at the right and lower edge are whole, whatever the picture's size is. All functions may be called by any
// number of threads. Sizes and types may be those of a damaged file. Rows of pixels lie one behind the other without
// gaps. Where a function answers false it has written nothing.

/// A picture in blocks.
struct BlockShape {
  _XDXTTYPE type;
  int width;
  int height;
};

/// The bytes of all blocks. Returns 0 where the type is unknown, a size is below 1, or the bytes would not fit into an
/// int.
std::size_t BlockBytes(const BlockShape& shape);

/// The bytes that libsquish counts for all blocks. Like libsquish it counts an unknown type as `kDxt1`. Returns 0 where
/// a size is below 1, and where blocks of 16 bytes would not fit into an int.
std::size_t BlockBytesOfSquish(const BlockShape& shape);

/// The bytes of a pixel of the formats 1 to 7; 0 for any other.
int PixelBytes(_XPIXELFORMAT format);

/// Packs a picture whose lowest row lies first in memory as `kDxt1`, from pixels of the formats 1 to 7. Block rows are
/// counted from the top, so where the height isn't a multiple of four the lowest rows are left out; their blocks become
/// zero. A pixel whose alpha is 0 is transparent, and any other is opaque.
///
/// For `kDxt3` and `kDxt5` the format must be `kPixelRgba`. libsquish packs these, with the row that lies first in
/// memory at the top.
///
/// False for a type, size or format that cannot be, and where a span is too short.
bool EncodeBlocks(std::span<const std::uint8_t> pixels, _XPIXELFORMAT format, const BlockShape& shape,
                  std::span<std::uint8_t> blocks);

/// Unpacks to `kPixelRgba` with the uppermost row first in memory: the bytes of `squish::DecompressImage`. False for a
/// type or size that cannot be, and where a span is too short.
bool DecodeBlocks(std::span<const std::uint8_t> blocks, const BlockShape& shape, std::span<std::uint8_t> rgba);

/// Where rows of unpacked pixels go: the first pixel of the uppermost row, and the way from a row to the one below it,
/// which is negative where the lowest row lies first.
struct PixelRows {
  std::uint8_t* first;
  std::ptrdiff_t rowBytes;
  bool isBgra;  ///< `kPixelBgra`, otherwise `kPixelRgba`
};

/// Unpacks the pixels of `window` alone, whose rows are counted from the top, and of the blocks no more than those that
/// it touches. `out.first` is the place of the window's upper left pixel. Colours are those of `DecodeBlocks`. False
/// for a type or size that cannot be, a window that does not lie inside, and where `blocks` is too short.
bool DecodeBlockWindow(std::span<const std::uint8_t> blocks, const BlockShape& shape, const Window& window,
                       const PixelRows& out);

/// The mirror of `EncodeBlocks` for `kDxt1`: unpacks to pixels of the formats 1 to 7 with the lowest row first. Colours
/// differ from those of `DecodeBlocks`. The low bits of a component that a block does not have stay 0, and a block of
/// two equal colours has no transparent pixel. Gray is the blue component. Rows that the encoder leaves out are left
/// alone. False as there.
bool DecodeBlocksAs(std::span<const std::uint8_t> blocks, const BlockShape& shape, _XPIXELFORMAT format,
                    std::span<std::uint8_t> pixels);

}  // namespace zrk
