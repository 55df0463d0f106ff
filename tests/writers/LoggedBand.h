#pragma once

#include "MemoryBand.h"

#include <utility>
#include <vector>

/// A band over memory that writes down its reads.
class LoggedBand : public MemoryBand {
 public:
  /// The band that was read and the first row of the window, read by read.
  using Log = std::vector<std::pair<const ZRMBand*, int>>;

  void SetLog(Log* log) { log_ = log; }
  /// Reads are cheapest where so many rows are taken together.
  using MemoryBand::ReadSubset;
  using MemoryBand::SetDecodeRows;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    if (log_) log_->emplace_back(this, y0);
    return MemoryBand::ReadSubset(out, level, x0, x1, y0, y1, cancel);
  }

 private:
  Log* log_ = nullptr;
};

/// A band that goes by the name of an image sharpening's output.
class ZRMBandImageSharpen : public LoggedBand {
  X_DECLARE_RUNTIME_CLASS
};
