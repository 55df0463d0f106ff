#pragma once

#include "tiles/StoreCalls.h"
#include "tiles/StoreHeader.h"

#include <functional>
#include <span>

class XThread;

namespace zrk {

/// Looks at a tile of a level that was read whole and isn't empty.
using TileCheck =
    std::function<void(const tagXTileLevel& level, const StoreTilePlace& place, std::span<const unsigned char> bytes)>;

/// What differs between stores of the globe when they are checked.
struct StoreCheckPlan {
  StoreKind kind;
  /// The bytes that a tile of a level takes; 0 where its sizes or type are not possible. Null where a level may
  /// have any.
  std::function<std::int64_t(const StoreHeader& header, const tagXTileLevel& level)> tileBytes;
  /// Called once before any tile is looked at.
  std::function<void(const StoreHeader& header)> begin;
  TileCheck checkTile;
};

/// Checks header and levels, and reads each tile once, level by level from the south-west. Returns 1 where the check
/// went through, otherwise 0 with the reason in `err`, which is empty after a stop.
int CheckGlobeStore(const XString& path, const StoreCheckPlan& plan, StoreFindings& findings, XString& err,
                    XThread* thread);

/// The checks of an image and of an elevation store.
int CheckImageStore(const XString& path, StoreFindings& findings, XString& err, XThread* thread);
int CheckElevationStore(const XString& path, StoreFindings& findings, XString& err, XThread* thread);

/// Adds a finding where blocks are none that an encoder makes: two equal colours leave nothing to tell by code 1.
void CheckBlocks(std::span<const unsigned char> blocks, _XDXTTYPE type, const StoreTilePlace& place,
                 StoreFindings& findings);

/// Takes one tile out of an image or an elevation store. Returns 1, or 0 with the reason in `err`.
int ReadImageTile(const XString& path, const StoreTilePlace& place, tagXStoreTile& tile, XString& err);
int ReadElevationTile(const XString& path, const StoreTilePlace& place, tagXStoreTile& tile, XString& err);

}  // namespace zrk
