#include "Strips.h"

#include "Dataset.h"
#include "XSystem.h"

#include <algorithm>

namespace {

constexpr int kWantedRows = 512;

}  // namespace

Window WholeOf(const ZRMBand& band) {
  return {0, band.GetXSize() - 1, 0, band.GetYSize() - 1};
}

StripReader::StripReader(ZRMBand& band, int level, const Window& window) : band_(band), level_(level), window_(window) {
  const int rows = XfnCalcBlockHeight(window.Width(), window.Height(), std::max(band.GetDataSize(), 1), kWantedRows);
  stripRows_ = IsDecodedByEachRead(band) ? window.Height() : std::max(rows >> level, 1) << level;
}

/// What is left behind the last whole strip may be too little for a row of its own, and belongs to that strip.
int StripReader::CountNextRows() const {
  const int left = window_.Height() - next_;
  return left - stripRows_ < (1 << level_) ? left : stripRows_;
}

/// Whether the strip has the shape that the ones before promised.
bool StripReader::TakeShape(const tagXArr2& strip, int numRows) {
  if (next_ == 0) {
    const bool isFull = strip.ySize == numRows;
    width_ = strip.xSize;
    height_ = isFull ? window_.Height() : window_.Height() >> level_;
  }
  const bool isFull = height_ == window_.Height();
  return strip.xSize == width_ && strip.ySize == (isFull ? numRows : numRows >> level_);
}

const tagXArr2* StripReader::ReadNext(XThread& thread, std::string& err) {
  const int numRows = CountNextRows();
  const int y0 = window_.y0 + next_;
  tagXArr2* strip = nullptr;
  const int isRead =
      band_.ReadSubset(strip, level_, window_.x0, window_.x1, y0, y0 + numRows - 1, thread.GetStatePtr());
  if (XfnIsStopRequested(thread.GetStatePtr())) return nullptr;
  if (isRead && TakeShape(*strip, numRows)) {
    next_ += numRows;
    return strip;
  }
  const bool isTooSmall = (window_.Width() >> level_) == 0 || (window_.Height() >> level_) == 0;
  err = isTooSmall ? "level " + std::to_string(level_) + " leaves no pixel of the window" : "the pixels can't be read";
  return nullptr;
}
