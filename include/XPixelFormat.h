#pragma once

/// How the pixels of a tile are packed into blocks of four by four. Untrusted files may name any number. Every function
/// that takes a type refuses other numbers.
enum _XDXTTYPE : int {
  kDxtNone = 0,  ///< no blocks
  kDxt1 = 1,     ///< 8 bytes a block: two colours and two bits a pixel; a pixel is opaque or not there
  kDxt3 = 2,     ///< 16 bytes a block: four bits of opacity a pixel before the colours
  kDxt5 = 4      ///< 16 bytes a block: two opacities and three bits a pixel before the colours
};

/// How pixels, or blocks of pixels, lie in memory. Components are bytes, and a pixel's first component comes first.
/// The values 8 to 13 stand for pixels of two bytes, which nothing here takes.
enum _XPIXELFORMAT : int {
  kPixelNone = 0,
  kPixelGray = 1,  ///< one byte
  kPixelRgb = 2,
  kPixelBgr = 3,
  kPixelRgba = 4,
  kPixelBgra = 5,
  kPixelArgb = 6,
  kPixelAbgr = 7,
  kPixelDxt1 = 14,  ///< blocks of `kDxt1`
  kPixelDxt3 = 15,  ///< blocks of `kDxt3`
  kPixelDxt5 = 16   ///< blocks of `kDxt5`
};
