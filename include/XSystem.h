#pragma once

#include "XExport.h"
#include "XStringList.h"

#include <cstdint>

/// The physical memory that programs could still take, in percent of all there is; 100.0 where it can't be told.
ZRKIO_API double XfnGetAvailablePhysicalMemoryInPercent();

/// Whether the folder of `path` has room for that many bytes; 1 or 0. It is 1 too where the system can't tell.
ZRKIO_API int XfnIsDiskSpaceEnough(const XString& path, std::int64_t bytes);

/// A name in the system's folder for temporary files that begins with `prefix` and that no file has yet. The
/// empty file is created, so that nobody else gets the name; empty text where that fails.
ZRKIO_API XString XfnGetTempFileName(const XString& prefix);

/// How saved native rasters are tied to a machine: 0 not at all, 2 to its network address.
ZRKIO_API int XfnGetCryptoMethod();
ZRKIO_API void XfnSetCryptoMethod(int method);

/// Appends the six-byte hardware addresses of the machine's network interfaces, as "00-11-22-33-44-55", loopback
/// left out; answers how many.
ZRKIO_API int XfnGetMacAddress(XStringList& addresses);

/// Hands the library worker threads: operations that can share their work use up to `count` threads, the
/// caller's included. 1 at first. Results are the same bytes for every count.
ZRKIO_API void XfnSetWorkerCount(int count);
ZRKIO_API int XfnGetWorkerCount();

/// Whether small windows of uncompressed files are copied out of mappings, as they are at first. A file that another
/// process cuts short in the microseconds of such a copy ends this process with a bus error. Where that can happen,
/// turn mappings off: the windows then take two to five times as long, and such a file fails the read. Counts for reads
/// that begin afterwards, on all threads.
ZRKIO_API void XfnSetMappedReads(bool areMapped);
ZRKIO_API bool XfnAreReadsMapped();

/// The rows of a processing block of an image of `width` by `height` samples. It is `wantedRows`, or fewer if these
/// would pass the image or take more than 2 MB. Blocks of that size stay in the processor's cache. At least 1.
ZRKIO_API int XfnCalcBlockHeight(long width, long height, long bytesPerSample, long wantedRows);
