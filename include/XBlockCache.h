#pragma once

#include "XExport.h"

#include <cstdint>

// Memory for decoded blocks. A compressed file is decoded block by block, and a read that wants some pixels of a block
// decodes all of it. By itself the library keeps no block when a read ends, so that it takes no memory that a caller
// does not know of. If a caller grants memory, every block is decoded once, for as long as the memory suffices. Windows
// that lie near each other or follow each other share decoded blocks. So do the bands of an interleaved file.
//
// One cache serves all files and threads. Tiles and strips of compressed TIFF files, tiles of compressed native
// rasters, blocks of HFA files, blocks of NITF images and tiles of JPEG 2000 files go through it. A tile of a
// JPEG 2000 file does so from the second request on, since a part of it can be decoded by itself. Rasters and blocks
// that lie plainly in their files are read from there and are not kept. Nor are JPEG files, which are decoded from top
// to bottom.
//
// The pixels of every read are the same with the cache and without. A file must not be written to while it is open: a
// block that is kept stays what it was when it was decoded.

/// Grants the cache so many bytes from now on, for all threads; 0, the initial value, turns it off. Numbers below 0 are
/// taken for 0.
///
/// The bytes are those of the blocks and of what is noted of each, and at no time does the cache take more. Blocks that
/// were not used for a while make room for others. A block for which no room can be made, since it is larger than all
/// of the cache or others are being read, is decoded as without a cache. Blocks of a file go when the last of the bands
/// that share the open file goes.
///
/// Any thread may call this at any time. A smaller number than before empties the cache. Only blocks that reads on
/// other threads are copying from at this moment stay until these reads are done with them.
ZRKIO_API void XfnSetBlockCacheBytes(std::int64_t numBytes);
/// The bytes that were granted last.
ZRKIO_API std::int64_t XfnGetBlockCacheBytes();
