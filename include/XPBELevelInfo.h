#pragma once

#include "XTileLevelInfo.h"

namespace Vexorine::ZRL::IO {

/// A level of an elevation store.
class ZRKIO_API XPBELevelInfo : public XTileLevelInfo {
 public:
  using XTileLevelInfo::XTileLevelInfo;
  XPBELevelInfo() = default;
  XPBELevelInfo(int level, int llRow, int llCol, int urRow, int urCol, double tileSize, int tileWidth, int tileHeight,
                int storageSize, std::uint64_t startPos);

  /// All fields as lines of text, which end with CR and LF.
  XString ToString() const;
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XPBELevelInfo;
