#pragma once

#include "XThread.h"

#include <atomic>
#include <cstdint>

namespace zrk {

/// Posts the steps of a build as its rows are done. Each band has a step for each block of 200 rows, which is posted
/// when all rows before the block are done. Only the number of rows counts, so that steps come in order whichever
/// thread does which rows of which band.
class BuildProgress {
 public:
  BuildProgress(XThread* thread, int percentStart, int percentSpan, int numBands, int rowsPerBand)
      : thread_(thread),
        percentStart_(percentStart),
        percentSpan_(percentSpan),
        rowsPerBand_(rowsPerBand),
        blocksPerBand_((rowsPerBand - 1) / kBlockRows + 1),
        numSteps_(std::int64_t{blocksPerBand_} * numBands) {}

  static constexpr int kBlockRows = 200;

  /// Notes rows that are done. Any thread may call this.
  void Add(int numRows) { rowsDone_ += numRows; }
  /// Posts the steps that are due. Only the thread that began the build may call this, because messages are posted from
  /// it. True where the work shall go on.
  bool Report();
  bool IsStopped() const { return thread_ && XfnIsStopRequested(thread_->GetStatePtr()); }

 private:
  std::int64_t RowsBefore(std::int64_t step) const {
    return step / blocksPerBand_ * rowsPerBand_ + step % blocksPerBand_ * kBlockRows;
  }

  XThread* thread_;
  int percentStart_;
  int percentSpan_;
  int rowsPerBand_;
  int blocksPerBand_;
  std::int64_t numSteps_;
  std::int64_t nextStep_ = 0;
  std::atomic<std::int64_t> rowsDone_ = 0;
};

}  // namespace zrk
