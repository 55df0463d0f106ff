#pragma once

#include "XString.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>

class XThread;
class ZRMBand;
struct tagXArr2;

namespace zrk {

using Bands = std::span<ZRMBand* const>;

/// The bands at the front that can be read in the same strips: those of one shape and type.
Bands FirstAlike(Bands bands);

/// How bands are cut into strips of whole decodings, and strips into reads of some columns. It depends on the bands
/// alone.
struct StripPlan {
  explicit StripPlan(Bands bands);

  int FirstRow(int strip) const { return strip * rows; }
  int CountRows(int strip) const;

  int width;
  int height;
  int rows;     ///< of a strip, but for the last
  int columns;  ///< of a read, but for the last in a strip
  int numStrips;
};

/// How far work of several threads is, and why it failed.
class StripProgress {
 public:
  /// The thread may be null. Rows are counted for each band and each time that it is read.
  StripProgress(XThread* thread, std::int64_t numRows) : thread_(thread), numRows_(numRows) {}

  /// The state word, for reads; null without a thread.
  int* Cancel() const;
  /// Notes rows that are done, and lets worker 0, which is the caller's thread, post the percentage.
  void Add(std::int64_t numRows, int worker);
  /// Keeps the reason of the calling thread's last read. Of several strips that fail the first one tells it, whoever
  /// reads faster.
  void Fail(int strip);
  /// For after the work.
  const XString& GetReason() const { return reason_; }

 private:
  XThread* thread_;
  std::int64_t numRows_;
  std::atomic<std::int64_t> rowsDone_ = 0;
  std::mutex mutex_;
  std::optional<int> failedStrip_;
  XString reason_;
};

/// Takes samples of one of the bands, on the thread of a worker. Those of a strip come from left to right.
using TakeSamples =
    std::function<void(int strip, int worker, std::size_t band, const void* samples, std::size_t count)>;

/// Reads bands that are alike at full resolution, strip by strip on several threads, and together where one decoding
/// serves them all.
class StripReads {
 public:
  /// The bands and the progress have to outlive the object.
  StripReads(Bands bands, StripProgress& progress);

  /// How many workers `ReadAll` has a use for.
  int CountWorkers() const;
  /// Reads everything once. False where a read fails or the work is stopped; the progress has the reason.
  bool ReadAll(int numWorkers, const TakeSamples& take);

 private:
  bool ReadStrip(int strip, int worker, const TakeSamples& take);

  Bands bands_;
  StripProgress& progress_;
  StripPlan plan_;
  bool isJoint_;
};

}  // namespace zrk
