#include "writers/MapExport.h"

#include "base/Parallel.h"
#include "XFile.h"
#include "XReadPolicy.h"
#include "XThread.h"
#include "ZRMCompManager.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>

namespace zrk {

/// Sizes and bounds of maps are lengths. Angles would come out as metres.
bool ShowsMap(const ZRMCompManager& manager, XString& err) {
  const XSpatialReference* const sr = manager.GetSR();
  if (!sr) {
    err = "Invalid spatial reference : NULL";
    return false;
  }
  const bool isMap = sr->GetCoordinateKind() == kReferenceKnown && !sr->IsGeographic();
  if (!isMap) err = "Invalid spatial reference : must be Map coordinate system";
  return isMap;
}

bool MapTiles::Run(std::int64_t count, const std::function<Maker(int worker)>& newMaker, XString& err) {
  next_ = 0;
  const int numWorkers = CountWorkers(static_cast<int>(std::min<std::int64_t>(count, INT_MAX)));
  const bool isDone =
      ForEachInParallel(numWorkers, numWorkers, [&](int, int worker) { return Work(worker, count, newMaker); }) &&
      Work(0, count, newMaker);
  if (!isDone && !err_.IsEmpty()) err = err_;
  return isDone;
}

/// A worker without memory for a tile leaves it to the others, who have theirs. Nobody may be left then but worker 0,
/// who does the rest.
bool MapTiles::Work(int worker, std::int64_t count, const std::function<Maker(int worker)>& newMaker) {
  Maker make;
  for (std::int64_t tile = next_; tile < count; tile = next_) {
    if (!make) make = newMaker(worker);
    if (!make) return true;
    tile = next_++;
    if (tile >= count) break;
    XString why;
    if (Count(worker) && make(tile, why)) continue;
    const std::lock_guard lock(mutex_);
    if (err_.IsEmpty()) err_ = why;
    return false;
  }
  return true;
}

/// Callers of the family expect whole percentages of what is done before a tile, cut and not rounded.
bool MapTiles::Count(int worker) {
  const auto before = static_cast<double>(numBegun_++);
  if (!thread_) return true;
  if (worker == 0) thread_->CallbackPercent(static_cast<int>(before * 100.0 / total_));
  return thread_->GetState() != XThread::kStateStop;
}

/// A locale with commas would make other numbers of these texts.
XString FormatPlaces(double value) {
  std::array<char, 400> text;  // the largest number has 309 digits before the point
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 12).ptr;
  return XString(std::string(text.data(), end));
}

XString WhyNotDrawn(const char* otherwise) {
  XString reason;
  return XfnGetLastReadError(reason) && !reason.IsEmpty() ? reason : XString(otherwise);
}

/// Part of a file would be taken for the whole of it.
bool WriteNewFile(const XString& path, const void* bytes, std::int64_t count) {
  XFile file;
  if (!file.Open(path, XFile::kReadWrite | XFile::kCreate)) return false;
  if (file.WriteAt(0, bytes, count)) return true;
  file.Close();
  XFile::Remove(path);
  return false;
}

}  // namespace zrk
