#pragma once

#include "XExport.h"
#include "XString.h"

/// What reads do where a file is damaged, unusual, or of a kind that its format serves unevenly.
///
/// `kReadCompatible` does what existing callers of each format rely on. For example, a block that can't be read is left
/// out, levels begin anew at each block, and sample types that a format does not know come as their low bytes.
/// `kReadExact` gives what the file says, in pixels, types, georeference and statistics, or fails with a sentence.
/// Nothing is skipped, shifted, narrowed or dropped in silence. docs/EXACTNESS.md lists the differences.
enum XReadPolicy { kReadCompatible, kReadExact };

/// The policy of the datasets and bands that any thread makes from now on; `kReadCompatible` at first. Existing
/// datasets and bands keep their policy.
ZRKIO_API void XfnSetDefaultReadPolicy(XReadPolicy policy);
ZRKIO_API XReadPolicy XfnGetDefaultReadPolicy();

/// Why the calling thread's last read that failed did so, in either policy. Reads that succeed leave the sentence as it
/// is. Returns 1; or 0, with `err` as it was, where no read of this thread has failed.
ZRKIO_API int XfnGetLastReadError(XString& err);
/// Forgets the calling thread's sentence. A sentence that is there later belongs to a read after this call.
ZRKIO_API void XfnForgetLastReadError();
