#pragma once

#include "XExport.h"
#include "XPixelFormat.h"
#include "XString.h"

#include <cstdint>
#include <vector>

class XThread;

// What can be done with a tile store of any format as a store, beside reading it as a raster: one tile can be taken out
// as it is kept, and the whole can be checked from end to end. A level is one of the store's own, as its index numbers
// it. Rows and columns are the store's own too: those of the global grid count from the south, those of a store that is
// one image count from its top.

/// A tile as a store keeps it.
struct tagXStoreTile {
  int width = 0;  ///< in pixels or posts
  int height = 0;
  _XDXTTYPE blockType = kDxtNone;    ///< how `bytes` is packed; `kDxtNone` for heights
  std::vector<unsigned char> bytes;  ///< the tile as it lies in the file
  /// Unpacked pixels of an image: red, green, blue and opacity, the uppermost row first. Empty for heights.
  std::vector<unsigned char> rgba;
  /// Heights row by row, the northern edge first. Empty for an image.
  std::vector<float> heights;
};

/// Takes one tile out of a store. 1; or 0 with the reason in `err`, and `tile` as it was: the file is no store, has no
/// such level or tile, or can't be read.
ZRKIO_API int XfnReadStoreTile(const XString& path, int level, int row, int col, tagXStoreTile& tile, XString& err);

/// What a check of a store found.
struct tagXStoreReport {
  static constexpr std::size_t kMaxFindings = 1000;

  std::vector<XString> findings;   ///< a sentence each, the first `kMaxFindings` of them
  std::int64_t numFindings = 0;    ///< all of them
  std::int64_t numTiles = 0;       ///< tiles that were looked at
  std::int64_t numEmptyTiles = 0;  ///< of these, tiles whose bytes are all 0
};

/// Checks a store from end to end: header and index, ranges and levels, places of tiles in the file, and what each tile
/// holds. All tiles are read once. 1 where the check went through, whatever it found; or 0 with the reason in `err`:
/// the file is no store or can't be opened, or the thread was asked to stop, which leaves `err` empty. The thread,
/// which may be null, is told the progress.
ZRKIO_API int XfnCheckStore(const XString& path, tagXStoreReport& report, XString& err, XThread* thread = nullptr);
