#pragma once

#include "XExport.h"

/// Packs and unpacks square tiles of pixels as blocks of DXT1, and has room for one unpacked tile.
///
/// Unpacked pixels have four bytes, in the order B, G, R, A. The tile's lowest row lies first in memory, as in a device
/// independent bitmap. Blocks of four by four pixels have 8 bytes each. The upper left block lies first, and rows of
/// blocks follow each other downward. Blocks at the right and lower edge are whole, whatever the tile's size is.
///
/// A codec serves one thread at a time. Any number of codecs may be used at once.
class ZRKIO_API XImageCodec {
 public:
  /// Takes room for `tileSize` by `tileSize` pixels, which is zero at first. A size below 1 or above the limit for
  /// decoded tiles (`XLimits.h`) gets none, and a lack of memory likewise. The second argument has no meaning.
  XImageCodec(int tileSize, int reserved);
  ~XImageCodec();
  XImageCodec(const XImageCodec&) = delete;
  XImageCodec& operator=(const XImageCodec&) = delete;

  /// The room for one tile, tileSize * tileSize * 4 bytes, which the codec owns; null where it got none. The caller may
  /// read it and write to it.
  unsigned char* buffer = nullptr;

  /// The bytes of a packed tile, ceil(tileSize / 4)^2 * 8; 0 for a codec without room.
  int GetPackedBytes() const;

  /// Unpacks `GetPackedBytes()` bytes of `source` to `target`, which has room for a tile. Where `target` is null it is
  /// set to the codec's own room first. The first argument has no meaning; callers give 21. Colours are those that
  /// libsquish makes of the blocks. False, and nothing is written, where there is no source or the codec has no room.
  bool DecodeDXT1(int reserved, unsigned char* source, unsigned char*& target);

  /// Packs a tile of unpacked pixels to `GetPackedBytes()` bytes of `target`. A pixel whose A is 0 is transparent, and
  /// any other is opaque. Where the size isn't a multiple of four, the lowest rows are left out, and their blocks are
  /// zero. False, and nothing is written, where there is no source or target or the codec has no room.
  bool EncodeDXT1(const unsigned char* source, unsigned char* target) const;

 private:
  int tileSize_ = 0;
};
