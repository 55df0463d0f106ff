#pragma once

#include "tiles/StoreCalls.h"

class XThread;

namespace zrk {

/// Takes one tile out of a store. Its one level is 0, and rows count from the top. Returns 1, or 0 with the reason in
/// `err`.
int ReadTxidTile(const XString& path, const StoreTilePlace& place, tagXStoreTile& tile, XString& err);

/// Checks index and tiles. Returns 1 where the check went through, otherwise 0 with the reason in `err`, which is empty
/// after a stop.
int CheckTxidStore(const XString& path, StoreFindings& findings, XString& err, XThread* thread);

}  // namespace zrk
