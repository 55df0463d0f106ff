// The generic band. Lines, pixels and short forms all end in one read and one write of a window, so that a band class
// has to write only these two. What a class does not offer answers 0 here.
//
// A level n stands for a reduction by 2^n, and windows are in pixels of full resolution whatever the level. Arithmetic
// on windows is done in 64 bits, or in an order in which ints suffice, because sizes come from files. The fields are
// plain and have no lock: they are set before a band is shared.

#include "XBand.h"

#include "base/ReadError.h"
#include "Xepot.h"
#include "XSystem.h"
#include "ZRMBand.h"

#include <algorithm>
#include <climits>
#include <vector>

X_IMPLEMENT_RUNTIME_CLASS(XBand, XObject);

namespace {

/// The last of the 2^level rows or columns that begin with `first`. It is -1, which ends no window, where no int holds
/// it.
int LastOfStep(int first, int level) {
  const std::int64_t last = std::int64_t{first} + (std::int64_t{1} << level) - 1;
  return last <= INT_MAX ? static_cast<int>(last) : -1;
}

/// A window that is refused before it comes to a read.
int FailOutside() {
  return zrk::ReadErrand().End(0, zrk::kWindowOutside);
}

/// The caller's samples in the shape of a buffer. They stay where they are and are not looked at. The shape was checked
/// before, so that no offset leaves an int.
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

// The window is checked here because not every band checks it in its `ReadSubset`. The level is checked first, since
// the shift by it would be undefined otherwise.

int XBand::ReadLineH(tagXArr2*& out, int level, int x0, int x1, int y) {
  if (!IsLevel(level)) return FailOutside();
  const int y1 = LastOfStep(y, level);
  return IsInside(x0, x1, y, y1) ? ReadSubset(out, level, x0, x1, y, y1, nullptr) : FailOutside();
}

int XBand::ReadLineH(tagXArr2*& out, int level, int y) {
  return ReadLineH(out, level, 0, xSize_ - 1, y);
}

int XBand::ReadLineV(tagXArr2*& out, int level, int x, int y0, int y1) {
  if (!IsLevel(level)) return FailOutside();
  const int x1 = LastOfStep(x, level);
  return IsInside(x, x1, y0, y1) ? ReadSubset(out, level, x, x1, y0, y1, nullptr) : FailOutside();
}

int XBand::ReadLineV(tagXArr2*& out, int level, int x) {
  return ReadLineV(out, level, x, 0, ySize_ - 1);
}

int XBand::ReadPixel(tagXArr2*& out, int x, int y) {
  return IsInside(x, x, y, y) ? ReadSubset(out, 0, x, x, y, y, nullptr) : FailOutside();
}

// Lines and pixels are windows, and a window that is not in the band is refused where all writes end.
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

/// World coordinates mean something only to bands with a georeference.
int XBand::GetHighestLevelForTarget(double, double, double, double, double, double, double, double, int, int) {
  return 0;
}

int XBand::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(xSize_, ySize_, GetLevel(), xTileSize_, yTileSize_, x0, x1, y0, y1, width,
                                         height);
}

/// Callers take this for a size of memory, and a wide band must not give them a negative one.
int XBand::CalcProcessWidthBytes() {
  const std::int64_t bytes = std::int64_t{xSize_} * GetDataSize() * 10;
  return static_cast<int>(std::clamp<std::int64_t>(bytes, 0, INT_MAX));
}

/// A caller of this form has no buffer that tells the shape, and so it is told beside the samples. They still belong to
/// the band.
int XBand::ReadSubset(void*& data, int& width, int& height, int level, int x0, int x1, int y0, int y1, int* cancel) {
  tagXArr2* out = nullptr;
  if (!ReadSubset(out, level, x0, x1, y0, y1, cancel) || !out) return 0;
  data = out->data;
  width = out->xSize;
  height = out->ySize;
  return 1;
}

int XBand::ReadSubset(tagXArr2*&, int, int, int, int, int, int*) {
  return zrk::ReadErrand().End(0, "The band has no pixels");
}

int XBand::WriteSubset(int, int, int, int, bool, double) {
  return 0;
}

/// Offsets in a buffer are ints, so that a window of more bytes has to be refused before the buffer is made.
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

/// A band that reads any level by decoding has as many as its tiles ask for. A band with a pyramid overrides this with
/// the levels that it holds.
int XBand::GetLevel() {
  return Xepot::CalcProperLevel(xSize_, ySize_, xTileSize_, yTileSize_);
}

/// The size is the window's own, divided by the step, and not the distance of the divided edges. A window that begins
/// between two pixels of the level therefore has as many pixels as any other one of its size.
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

/// A band that holds nothing has freed everything.
int XBand::CleanupMemory(int, int) {
  return 1;
}

/// The machine is asked only where the caller leaves it open.
bool XBand::IsMemoryWanted(int force) {
  constexpr double kEnoughInPercent = 20.0;
  return force || XfnGetAvailablePhysicalMemoryInPercent() <= kEnoughInPercent;
}

int XBand::BuildLowerLevelsForTIP(double, int, int, int, int, bool) {
  return 0;
}

/// How the band reads and how its rows are decoded together are matters of the pixels. Those are not taken over, and so
/// these fields stay.
int XBand::CloneBand(ZRMBand* source) {
  if (!source) return 0;
  const XReadPolicy readPolicy = readPolicy_;
  const int decodeRows = decodeRows_, decodeColumns = decodeColumns_;
  *this = static_cast<const XBand&>(*source);
  readPolicy_ = readPolicy;
  decodeRows_ = decodeRows;
  decodeColumns_ = decodeColumns;
  return 1;
}

void XBand::SetHistogram(const std::int64_t* histogram) {
  if (histogram) std::copy_n(histogram, histogram_.size(), histogram_.begin());
}
