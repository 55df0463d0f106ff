// A window is read in strips, which together are what one read would give. Two things decide how high a strip is: a few
// megabytes of memory, and the rows that the source decodes together. Strips of the image end where such rows end.
// Those of level data need not, because stores are read tile by tile.

#include "Strips.h"

#include "Dataset.h"
#include "LevelFile.h"
#include "XReadPolicy.h"
#include "XSystem.h"

#include <algorithm>
#include <cstdint>

namespace {

/// Rows asked for at once, as far as memory for a strip allows.
constexpr int kWantedRows = 512;

}  // namespace

/// Level 0 is the image itself, also where there is level data.
StripReader::StripReader(ZRMBand& band, int level, const Window& window)
    : band_(band), levelBand_(level > 0 ? FindLevelBand(band) : nullptr), level_(level), window_(window) {}

/// The result is in rows of full resolution. Rows that are decoded together are counted at the level.
int StripReader::CountStripRows() const {
  const int sampleBytes = std::max(band_.GetDataSize(), 1);
  if (levelBand_) {
    const int width = std::max(window_.Width() >> level_, 1), height = std::max(window_.Height() >> level_, 1);
    const std::int64_t rows = XfnCalcBlockHeight(width, height, sampleBytes, kWantedRows);
    return static_cast<int>(std::min<std::int64_t>(rows << level_, window_.Height()));
  }
  const std::int64_t wanted =
      std::max(XfnCalcBlockHeight(window_.Width(), window_.Height(), sampleBytes, kWantedRows) >> level_, 1);
  const std::int64_t together = std::max(band_.GetDecodeRows(), 1);
  const std::int64_t begun = ((window_.y0 + next_) >> level_) % together;
  const std::int64_t rows = std::max(wanted / together, std::int64_t{1}) * together - begun;
  return static_cast<int>(std::min<std::int64_t>(rows << level_, window_.Height()));
}

/// Rows left behind the last whole strip may be too few for a row of the level. They belong to that strip.
int StripReader::CountNextRows() const {
  const int left = window_.Height() - next_, stripRows = CountStripRows();
  return left - stripRows < (1 << level_) ? left : stripRows;
}

/// Level data finds the place of a window by world coordinates, and where the height is odd its pixels are a little
/// more than twice as high as the image's. A strip is therefore asked for at the first row that lies where the strip
/// before has ended.
int StripReader::ReadLevelData(int numRows, tagXArr2*& strip) const {
  const int storeLevel = level_ - 1;
  const std::int64_t height = band_.GetYSize(), half = height >> 1;
  if (half == 0) return 0;
  const std::int64_t top = (window_.y0 * half / height) >> storeLevel;
  const std::int64_t storeRow = (top + (next_ >> level_)) << storeLevel;
  const std::int64_t y0 = next_ == 0 ? window_.y0 : (storeRow * height + half - 1) / half;
  const std::int64_t y1 = y0 + std::max((numRows >> level_) << level_, 1) - 1;
  return levelBand_->ReadSubset(strip, level_, window_.x0, window_.x1, static_cast<int>(y0), static_cast<int>(y1),
                                nullptr);
}

/// Level data that can't be read gives way to the image, unless part of it has been handed out already.
bool StripReader::ReadRows(int* cancel, tagXArr2*& strip) {
  if (levelBand_) {
    if (ReadLevelData(CountNextRows(), strip)) return true;
    if (next_ > 0) return false;
    levelBand_ = nullptr;
  }
  const int y0 = window_.y0 + next_, y1 = y0 + CountNextRows() - 1;
  return band_.ReadSubset(strip, level_, window_.x0, window_.x1, y0, y1, cancel) != 0;
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
  tagXArr2* strip = nullptr;
  XfnForgetLastReadError();
  const bool isRead = ReadRows(thread.GetStatePtr(), strip);
  if (XfnIsStopRequested(thread.GetStatePtr())) return nullptr;
  const int numRows = CountNextRows();
  if (isRead && TakeShape(*strip, numRows)) {
    next_ += numRows;
    return strip;
  }
  const bool isTooSmall = (window_.Width() >> level_) == 0 || (window_.Height() >> level_) == 0;
  err = isTooSmall ? "level " + std::to_string(level_) + " leaves no pixel of the window" : WhyNotRead();
  return nullptr;
}
