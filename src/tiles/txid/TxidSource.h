#pragma once

#include "tagTxiInfo.h"
#include "XString.h"

#include <array>
#include <vector>

class XRSFile;
class XThread;
class ZRMBand;

namespace zrk {

/// The bands of a dataset that become a store. A grey one stands for all three colours.
struct TxidSource {
  std::array<ZRMBand*, 3> colours{};  ///< red, green, blue
  ZRMBand* alpha = nullptr;           ///< or null

  int Width() const;
  int Height() const;
};

/// False with the reason in `err` where the dataset has no bands for a store.
bool FindTxidSource(const XRSFile& file, TxidSource& source, XString& err);

/// The grid and the place of a store of the source; its tiles are left empty. False with the reason in `err`.
bool LayOutTxid(const TxidSource& source, int tileSize, tagTxiInfo& info, XString& err);

/// Some tiles of one row of tiles as pixels of B, G, R, A, rows from the top. Alpha is 255 for a pixel that is seen.
struct TxidStrip {
  int width = 0;   ///< that of whole tiles
  int height = 0;  ///< of one tile
  std::vector<unsigned char> pixels;

  unsigned char* Row(int y) {
    return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 4;
  }
};

/// Tiles of one row, counted in tiles.
struct TileRange {
  int row;
  int column;
  int numColumns;
};

/// Pixels beyond the image are 0. False with the reason in `err`.
bool ReadStrip(const TxidSource& source, const tagTxiInfo& info, const TileRange& range, TxidStrip& strip,
               XString& err);

}  // namespace zrk
