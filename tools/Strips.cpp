#include "Strips.h"

#include "XSystem.h"

#include <algorithm>

namespace {

constexpr int kWantedRows = 512;

}  // namespace

StripReader::StripReader(ZRMBand& band, int level, const Window& window) : band_(band), level_(level), window_(window) {
  const int unit = level >= 0 && level < 30 ? 1 << level : 1;
  const int rows = XfnCalcBlockHeight(window.Width(), window.Height(), std::max(band.GetDataSize(), 1), kWantedRows);
  stripRows_ = std::max(rows / unit, 1) * unit;
}

bool StripReader::ReadNext(Strip& strip, XThread* thread, std::string& err) {
  strip.firstRow = next_;
  // What is left behind the last whole strip is too small for a row of its own, and belongs to that strip.
  const int left = window_.Height() - next_;
  const bool isLast = left < stripRows_ + (level_ > 0 && level_ < 30 ? 1 << level_ : 1);
  strip.numRows = isLast ? left : stripRows_;
  int* state = thread ? thread->GetStatePtr() : nullptr;
  const int y0 = window_.y0 + next_;
  const int isRead = band_.ReadSubset(strip.samples, level_, window_.x0, window_.x1, y0, y0 + strip.numRows - 1, state);
  if (XfnIsStopRequested(state)) {
    err = "stopped";
    return false;
  }
  if (!isRead) {
    err = "the pixels can't be read";
    return false;
  }
  next_ += strip.numRows;
  return true;
}
