#pragma once

#include "XExport.h"
#include "XString.h"

/// What reads do where a file is damaged, unusual, or of a kind that its format serves unevenly.
///
/// `kReadCompatible` does what existing callers of each format rely on: a block that can't be read is left out, levels
/// begin anew at each block, types that a format does not know come as their low bytes. `kReadExact` gives what the
/// file says, in pixels, types, place and statistics, or fails with a sentence; nothing is skipped, shifted, narrowed
/// or dropped in silence. docs/EXACTNESS.md lists the differences.
enum XReadPolicy { kReadCompatible, kReadExact };

/// The policy that datasets and bands are made with from now on, by any thread; `kReadCompatible` at first. Those that
/// are there keep theirs.
ZRKIO_API void XfnSetDefaultReadPolicy(XReadPolicy policy);
ZRKIO_API XReadPolicy XfnGetDefaultReadPolicy();

/// Why the calling thread's last read that failed did so, in either policy. Reads that succeed leave the sentence as it
/// is. Returns 1; or 0, with `err` as it was, where no read of this thread has failed.
ZRKIO_API int XfnGetLastReadError(XString& err);
/// Takes the sentence back, so that the next one is known to be of what the thread does from now on.
ZRKIO_API void XfnForgetLastReadError();
