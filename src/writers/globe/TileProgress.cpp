#include "writers/globe/TileProgress.h"

#include "writers/globe/TileMaker.h"
#include "XThread.h"

#include <algorithm>

namespace zrk {

TileMaker::~TileMaker() = default;
TileSource::~TileSource() = default;

TileProgress::TileProgress(XThread* thread, std::int64_t numTiles, std::int64_t numDone)
    : thread_(thread), numTiles_(std::max<std::int64_t>(numTiles, 1)), count_(numDone) {}

/// Counts of one worker rise, so that the percentages that worker 0 tells do.
bool TileProgress::Count(int worker) {
  const std::int64_t count = ++count_;
  if (thread_ && worker == 0) {
    thread_->CallbackPercent(static_cast<int>(static_cast<double>(count) * 100.0 / static_cast<double>(numTiles_)));
  }
  return !IsStopped();
}

bool TileProgress::IsStopped() const {
  return XfnIsStopRequested(GetCancel());
}

int* TileProgress::GetCancel() const {
  return thread_ ? thread_->GetStatePtr() : nullptr;
}

}  // namespace zrk
