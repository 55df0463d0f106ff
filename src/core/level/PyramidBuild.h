#pragma once

#include "base/Window.h"
#include "core/level/RowCascade.h"
#include "math/SampleStatistics.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <functional>
#include <memory>
#include <vector>

namespace zrk {

class Fingerprint;
class PlainStore;

/// What the top of a pyramid is: the pixels of a window of the source; their means at half its size; or the most
/// frequent of each four. Half of an odd size is rounded down.
enum class PyramidTop { kCopy, kHalfMean, kHalfClasses };

/// One band of a build. The store is uncompressed and open for writing, its top as large as `PyramidTop` makes it.
struct PyramidBand {
  ZRMBand* source = nullptr;
  std::shared_ptr<PlainStore> store;
  Reduction reduction;
  Fingerprint* fingerprint = nullptr;  ///< of the file that the source's tiles lie in, which is shown them; may be null
  Summary summary;                     ///< of the top; filled by the build, as is the histogram
  Histogram histogram{};
};

struct PyramidJob {
  std::vector<PyramidBand> bands;
  Window window;  ///< of the sources, in full-resolution pixels
  PyramidTop top = PyramidTop::kCopy;
  XThread* thread = nullptr;  ///< may be null
  /// Work of the caller's own, for workers that find no part of a pyramid left to build. It is called once with each
  /// number below `numExtras` on any thread, with room for the thread's use, when all sources are read or nearly so.
  int numExtras = 0;
  std::function<void(int extra, std::vector<unsigned char>& room)> doExtra = nullptr;
  int percentStart = 0;
  int percentSpan = 100;
};

enum class PyramidResult { kDone, kStopped, kReadFailed, kWriteFailed };

/// The sentence for a build that failed.
const char* GetSentence(PyramidResult result);

/// Fills the stores of all bands, level by level in one pass over the sources, and takes the statistics of their tops.
///
/// As many threads share the work as `XfnGetWorkerCount` tells, and each of them reads the sources. The bytes that come
/// out and the statistics do not depend on their number. Progress is posted on the calling thread, one step for every
/// 200 rows of each band's top. A build that is stopped or fails leaves the stores half filled. Throws std::bad_alloc.
PyramidResult BuildPyramids(PyramidJob& job);

}  // namespace zrk
