#include "XBand.h"

#include "Xepot.h"
#include "XSystem.h"
#include "ZRMBand.h"

#include <algorithm>
#include <climits>
#include <vector>

X_IMPLEMENT_RUNTIME_CLASS(XBand, XObject);

namespace {

/// The last of the 2^level rows or columns that begin with `first`; -1, which ends no window, where no int holds it.
int LastOfStep(int first, int level) {
  const std::int64_t last = std::int64_t{first} + (std::int64_t{1} << level) - 1;
  return last <= INT_MAX ? static_cast<int>(last) : -1;
}

/// The caller's samples in the shape of a buffer: they stay where they are and are not looked at.
class BorrowedBuffer {
 public:
  BorrowedBuffer(void* data, int width, int height, int elementSize)
      : rowOffsets_(static_cast<std::size_t>(height)), colOffsets_(static_cast<std::size_t>(width)) {
    for (int y = 0; y < height; ++y) rowOffsets_[static_cast<std::size_t>(y)] = y * width * elementSize;
    for (int x = 0; x < width; ++x) colOffsets_[static_cast<std::size_t>(x)] = x * elementSize;
    buffer_.data = static_cast<unsigned char*>(data);
    buffer_.xSize = width;
    buffer_.ySize = height;
    buffer_.elementSize = elementSize;
    buffer_.rowOffsets = rowOffsets_.data();
    buffer_.colOffsets = colOffsets_.data();
  }
  tagXArr2* Get() { return &buffer_; }

 private:
  std::vector<int> rowOffsets_;
  std::vector<int> colOffsets_;
  tagXArr2 buffer_;
};

}  // namespace

XBand::XBand() = default;
XBand::~XBand() = default;

int XBand::GetDataType() const {
  return dataType_;
}

// The window is checked here because not every band checks it in its `ReadSubset`.

int XBand::ReadLineH(tagXArr2*& out, int level, int x0, int x1, int y) {
  if (!IsLevel(level)) return 0;
  const int y1 = LastOfStep(y, level);
  return IsInside(x0, x1, y, y1) ? ReadSubset(out, level, x0, x1, y, y1, nullptr) : 0;
}

int XBand::ReadLineH(tagXArr2*& out, int level, int y) {
  return ReadLineH(out, level, 0, xSize_ - 1, y);
}

int XBand::ReadLineV(tagXArr2*& out, int level, int x, int y0, int y1) {
  if (!IsLevel(level)) return 0;
  const int x1 = LastOfStep(x, level);
  return IsInside(x, x1, y0, y1) ? ReadSubset(out, level, x, x1, y0, y1, nullptr) : 0;
}

int XBand::ReadLineV(tagXArr2*& out, int level, int x) {
  return ReadLineV(out, level, x, 0, ySize_ - 1);
}

int XBand::ReadPixel(tagXArr2*& out, int x, int y) {
  return IsInside(x, x, y, y) ? ReadSubset(out, 0, x, x, y, y, nullptr) : 0;
}

int XBand::WriteLineH(void* data, int x0, int x1, int y, bool keepNull, double nullValue) {
  return WriteSubset(data, x0, x1, y, y, keepNull, nullValue);
}

int XBand::WriteLineH(void* data, int y, bool keepNull, double nullValue) {
  return WriteSubset(data, 0, xSize_ - 1, y, y, keepNull, nullValue);
}

int XBand::WriteLineH(tagXArr2* data, int x0, int x1, int y, bool keepNull, double nullValue) {
  return WriteSubset(data, x0, x1, y, y, keepNull, nullValue);
}

int XBand::WriteLineH(tagXArr2* data, int y, bool keepNull, double nullValue) {
  return WriteSubset(data, 0, xSize_ - 1, y, y, keepNull, nullValue);
}

int XBand::WriteLineV(void* data, int x, int y0, int y1, bool keepNull, double nullValue) {
  return WriteSubset(data, x, x, y0, y1, keepNull, nullValue);
}

int XBand::WriteLineV(void* data, int x, bool keepNull, double nullValue) {
  return WriteSubset(data, x, x, 0, ySize_ - 1, keepNull, nullValue);
}

int XBand::WriteLineV(tagXArr2* data, int x, int y0, int y1, bool keepNull, double nullValue) {
  return WriteSubset(data, x, x, y0, y1, keepNull, nullValue);
}

int XBand::WriteLineV(tagXArr2* data, int x, bool keepNull, double nullValue) {
  return WriteSubset(data, x, x, 0, ySize_ - 1, keepNull, nullValue);
}

int XBand::WritePixel(void* data, int x, int y, bool keepNull, double nullValue) {
  return WriteSubset(data, x, x, y, y, keepNull, nullValue);
}

int XBand::WritePixel(tagXArr2* data, int x, int y, bool keepNull, double nullValue) {
  return WriteSubset(data, x, x, y, y, keepNull, nullValue);
}

int XBand::GetHighestLevelForTarget(double, double, double, double, double, double, double, double, int, int) {
  return 0;
}

int XBand::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(xSize_, ySize_, GetLevel(), xTileSize_, yTileSize_, x0, x1, y0, y1, width,
                                         height);
}

int XBand::CalcProcessWidthBytes() {
  const std::int64_t bytes = std::int64_t{xSize_} * GetDataSize() * 10;
  return static_cast<int>(std::clamp<std::int64_t>(bytes, 0, INT_MAX));
}

int XBand::ReadSubset(void*& data, int& width, int& height, int level, int x0, int x1, int y0, int y1, int* cancel) {
  tagXArr2* out = nullptr;
  if (!ReadSubset(out, level, x0, x1, y0, y1, cancel) || !out) return 0;
  data = out->data;
  width = out->xSize;
  height = out->ySize;
  return 1;
}

int XBand::ReadSubset(tagXArr2*&, int, int, int, int, int, int*) {
  return 0;
}

int XBand::WriteSubset(int, int, int, int, bool, double) {
  return 0;
}

int XBand::WriteSubset(void* data, int x0, int x1, int y0, int y1, bool keepNull, double nullValue) {
  const int elementSize = GetDataSize();
  if (!data || elementSize <= 0 || !IsInside(x0, x1, y0, y1)) return 0;
  const int width = x1 - x0 + 1;
  const int height = y1 - y0 + 1;
  if (std::int64_t{width} * height > INT_MAX / elementSize) return 0;
  BorrowedBuffer buffer(data, width, height, elementSize);
  return WriteSubset(buffer.Get(), x0, x1, y0, y1, keepNull, nullValue);
}

int XBand::WriteSubset(tagXArr2*, int, int, int, int, bool, double) {
  return 0;
}

int XBand::GetLevel() {
  return Xepot::CalcProperLevel(xSize_, ySize_, xTileSize_, yTileSize_);
}

int XBand::GetSubsetInfo(int level, int x0, int x1, int y0, int y1, int& left, int& top, int& width, int& height) {
  if (!IsLevel(level) || !IsInside(x0, x1, y0, y1)) return 0;
  const int columns = (x1 - x0 + 1) >> level;
  const int rows = (y1 - y0 + 1) >> level;
  if (columns == 0 || rows == 0) return 0;
  left = x0 >> level;
  top = y0 >> level;
  width = columns;
  height = rows;
  return 1;
}

int XBand::GetSubsetPos(int level, int x0, int x1, int y0, int y1, int& left, int& right, int& top, int& bottom) {
  if (!IsLevel(level) || !IsInside(x0, x1, y0, y1)) return 0;
  left = x0 >> level;
  right = x1 >> level;
  top = y0 >> level;
  bottom = y1 >> level;
  return 1;
}

int XBand::CalcStatistics(int) {
  return 0;
}

int XBand::CleanupMemory(int, int) {
  return 1;
}

bool XBand::IsMemoryWanted(int force) {
  constexpr double kEnoughInPercent = 20.0;
  return force || XfnGetAvailablePhysicalMemoryInPercent() <= kEnoughInPercent;
}

int XBand::BuildLowerLevelsForTIP(double, int, int, int, int, bool) {
  return 0;
}

int XBand::CloneBand(ZRMBand* source) {
  if (!source) return 0;
  const int decodeRows = decodeRows_;  // of this band's own pixels
  *this = static_cast<const XBand&>(*source);
  decodeRows_ = decodeRows;
  return 1;
}

void XBand::SetHistogram(const std::int64_t* histogram) {
  if (histogram) std::copy_n(histogram, histogram_.size(), histogram_.begin());
}
