#include "XTileLevelInfo.h"

#include "tiles/TilePlace.h"
#include "XPBELevelInfo.h"
#include "XPBILevelInfo.h"

#include <algorithm>
#include <cinttypes>
#include <climits>

namespace Vexorine::ZRL::IO {

int XTileLevelInfo::GetNumTiles() const {
  return static_cast<int>(std::min<std::int64_t>(zrk::CountTiles(record_), INT_MAX));
}

bool XTileLevelInfo::GetAvailable(int row, int col) const {
  return zrk::HoldsTile(record_, row, col);
}

std::int64_t XTileLevelInfo::GetOffset(int row, int col) const {
  return zrk::OffsetOfTile(record_, row, col).value_or(0);
}

XString XTileLevelInfo::DescribeTiles() const {
  XString text;
  text.Format(
      "___________________________\r\n Level:%d   LLRow:%d  LLCol:%d  URRow:%d  URCol:%d\r\n Tile Width:%d  Height%d "
      "\r\n tile Storage Size:%d\r\n",
      record_.level, record_.llRow, record_.llCol, record_.urRow, record_.urCol, record_.tileWidth, record_.tileHeight,
      record_.storageSize);
  return text;
}

XPBILevelInfo::XPBILevelInfo(int level, double tileSize, int llRow, int llCol, int urRow, int urCol, int tileWidth,
                             int tileHeight, _XDXTTYPE type, int storageSize, std::uint64_t startPos)
    : XTileLevelInfo(
          {level, llRow, llCol, urRow, urCol, tileSize, tileWidth, tileHeight, storageSize, type, startPos}) {}

XString XPBILevelInfo::ToString() const {
  XString text;
  text.Format("DxtType:%d     StartPos: %" PRIu64 "\r\n", GetRecord().blockType, GetStartPos());
  return DescribeTiles() + text;
}

XPBELevelInfo::XPBELevelInfo(int level, int llRow, int llCol, int urRow, int urCol, double tileSize, int tileWidth,
                             int tileHeight, int storageSize, std::uint64_t startPos)
    : XTileLevelInfo({level, llRow, llCol, urRow, urCol, tileSize, tileWidth, tileHeight, storageSize, 0, startPos}) {}

XString XPBELevelInfo::ToString() const {
  XString text;
  text.Format("StartPos: %" PRIu64 "\r\n", GetStartPos());
  return DescribeTiles() + text;
}

}  // namespace Vexorine::ZRL::IO
