#pragma once

#include <atomic>
#include <cstdint>

class XThread;

namespace zrk {

/// Counts the tiles of an export and asks after each whether to go on. The thread of the caller, which is worker 0,
/// tells the percentages; any worker may ask.
class TileProgress {
 public:
  /// `thread` may be null. `numDone` of `numTiles` tiles are done already.
  TileProgress(XThread* thread, std::int64_t numTiles, std::int64_t numDone);

  /// Counts a tile that is about to be made. False where a stop is requested.
  bool Count(int worker);
  bool IsStopped() const;
  /// The word to stop reads by; null without a thread.
  int* GetCancel() const;

 private:
  XThread* thread_;
  std::int64_t numTiles_;
  std::atomic<std::int64_t> count_;
};

}  // namespace zrk
