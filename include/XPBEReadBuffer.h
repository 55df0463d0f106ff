#pragma once

/// A tile's bytes, for callers that read many tiles with one buffer. The array and the record belong to the caller, who
/// releases `data` by `delete[]`. `XPBEFile` replaces the array where it is too small.
struct XPBEReadBuffer {
  unsigned char* data = nullptr;
  int capacity = 0;    ///< bytes that the array has room for
  int usedLength = 0;  ///< bytes of the tile
  int tileWidth = 0;   ///< in posts
  int tileHeight = 0;
};
