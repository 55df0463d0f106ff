#pragma once

#include "tagXStoreReport.h"
#include "tagXStoreTile.h"
#include "XExport.h"
#include "XString.h"

class XThread;

// What can be done with a tile store of any format, beside reading it as a raster. One tile can be taken out as it is
// stored, and the whole store can be checked from end to end. A level is one of the store's own, as its index numbers
// it. Rows and columns are the store's own too: those of the global grid count from the south, those of a store that is
// one image count from its top.

/// Takes one tile out of a store. Returns 1; or 0 with the reason in `err`, and `tile` as it was: the file is no store,
/// has no such level or tile, or can't be read.
ZRKIO_API int XfnReadStoreTile(const XString& path, int level, int row, int col, tagXStoreTile& tile, XString& err);

/// Checks a store from end to end: header and index, ranges and levels, places of tiles in the file, and what each tile
/// holds. All tiles are read once. Returns 1 if the check went through, whatever it found; or 0 with the reason in
/// `err`, for a file that is no store or can't be opened. If the thread was asked to stop, it returns 0 and `err` stays
/// empty. The thread, which may be null, is told the progress.
ZRKIO_API int XfnCheckStore(const XString& path, tagXStoreReport& report, XString& err, XThread* thread = nullptr);
