#pragma once

#include "tagXStoreReport.h"
#include "tagXStoreTile.h"
#include "XExport.h"
#include "XString.h"

class XThread;

// What can be done with a tile store of any format as a store, beside reading it as a raster: one tile can be taken out
// as it is kept, and the whole can be checked from end to end. A level is one of the store's own, as its index numbers
// it. Rows and columns are the store's own too: those of the global grid count from the south, those of a store that is
// one image count from its top.

/// Takes one tile out of a store. Returns 1; or 0 with the reason in `err`, and `tile` as it was: the file is no store,
/// has no such level or tile, or can't be read.
ZRKIO_API int XfnReadStoreTile(const XString& path, int level, int row, int col, tagXStoreTile& tile, XString& err);

/// Checks a store from end to end: header and index, ranges and levels, places of tiles in the file, and what each tile
/// holds. All tiles are read once. Returns 1 where the check went through, whatever it found; or 0 with the reason in
/// `err`: the file is no store or can't be opened, or the thread was asked to stop, which leaves `err` empty. The
/// thread, which may be null, is told the progress.
ZRKIO_API int XfnCheckStore(const XString& path, tagXStoreReport& report, XString& err, XThread* thread = nullptr);
