#pragma once

#include "XPixelFormat.h"
#include "XTileLevelInfo.h"

namespace Vexorine::ZRL::IO {

/// A level of an image store.
class ZRKIO_API XPBILevelInfo : public XTileLevelInfo {
 public:
  using XTileLevelInfo::XTileLevelInfo;
  XPBILevelInfo() = default;
  XPBILevelInfo(int level, double tileSize, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight,
                _XDXTTYPE type, int storageSize, std::uint64_t startPos);

  /// The kind of the blocks of its tiles.
  _XDXTTYPE GetDXTType() const { return static_cast<_XDXTTYPE>(GetRecord().blockType); }

  /// All fields as lines of text, which end with CR and LF.
  XString ToString() const;
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XPBILevelInfo;
