// Tile stores as stores, whatever their format: the row of the file's format does what is asked for.

#include "XTileStore.h"

#include "base/Fence.h"
#include "core/dispatch/FormatTable.h"
#include "tiles/StoreCalls.h"
#include "XFormatTable.h"
#include "XThread.h"

namespace {

/// The row of a file that is a store; null, with the reason in `err`, for any other.
const zrk::FormatRow* FindStoreRow(const XString& path, XString& err) {
  if (!XfnCheckFile(path, err)) return nullptr;
  const tagXFormat* format = XfnFindFormatOfFile(path);
  const zrk::FormatRow* row = format ? zrk::FindFormatRow(format->id) : nullptr;
  if (row && row->checkStore) return row;
  err = "Not a tile store";
  return nullptr;
}

}  // namespace

int XfnReadStoreTile(const XString& path, int level, int row, int col, tagXStoreTile& tile, XString& err) {
  return zrk::Fenced(err, [&] {
    const zrk::FormatRow* store = FindStoreRow(path, err);
    return store ? store->readTile(path, {level, row, col}, tile, err) : 0;
  });
}

int XfnCheckStore(const XString& path, tagXStoreReport& report, XString& err, XThread* thread) {
  return zrk::Fenced(err, [&] {
    const zrk::FormatRow* store = FindStoreRow(path, err);
    if (!store) return 0;
    report = {};
    err.Empty();
    zrk::StoreFindings findings(report);
    return store->checkStore(path, findings, err, thread);
  });
}
