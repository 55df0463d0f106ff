// A column is a record of 8 bytes, the heights of one longitude from south to north, and a checksum of 4 bytes; neither
// the 8 bytes, which number the column, nor the checksum is looked at. Column i of the file is column i of the band.
//
// Columns are read some dozen at a time into a buffer that stays in the processor's cache, and turned into rows from
// there. A file may claim any size up to 9,999 each way: memory is taken for the columns that it holds, and all others
// are 0, as are the posts behind the end of a file that ends within a column.

#include "ZRMBandDTED.h"

#include "bands/dted/DtedHeader.h"
#include "base/Checked.h"
#include "base/Fence.h"
#include "base/LargePages.h"
#include "math/CopyBlock.h"
#include "math/Heights.h"
#include "math/Interleave.h"
#include "XDataType.h"
#include "Xepot.h"
#include "XLimits.h"
#include "XThread.h"

#include <algorithm>
#include <cstring>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandDTED, ZRMBandDRIO);

namespace {

constexpr int kColumnHeaderBytes = 8;
constexpr int kHeightBytes = 2;
constexpr int kColumnsPerRead = 64;

/// Reports columns one by one; answers how many of them may be read before the thread is asked to stop.
int ReportColumns(XThread* thread, int first, int count, int total) {
  if (!thread) return count;
  for (int i = 0; i < count; ++i) {
    thread->CallbackPercent(static_cast<int>((first + i) * 100.0 / total));
    if (thread->GetState() == XThread::kStateStop) return i;
  }
  return count;
}

}  // namespace

ZRMBandDTED::ZRMBandDTED() {
  SetDataType(kSint16);
}

ZRMBandDTED::~ZRMBandDTED() = default;

int ZRMBandDTED::Open(XString path) {
  return zrk::FencedRead([&] { return OpenFile(path); });
}

int ZRMBandDTED::OpenFile(const XString& path) {
  if (!file_.Open(path, XFile::kRead | XFile::kShareDenyNone)) return 0;
  leader_.resize(static_cast<std::size_t>(zrk::kDtedLeaderBytes));
  const std::int64_t numBytes = file_.ReadAt(0, leader_.data(), zrk::kDtedLeaderBytes);
  leader_.resize(static_cast<std::size_t>(std::max<std::int64_t>(numBytes, 0)));
  if (!zrk::HasDtedMark(leader_)) {
    file_.Close();
    return 0;
  }
  if (!ExtractDataTypeInfo()) return 0;
  ExtractDataInfo();
  ExtractLeaderInfo();
  SetSize(longitudeLines_, latitudePoints_);
  SetDataType(kSint16);
  SetPixelSize(xStep_, yStep_);
  SetUpperLeft(west_, north_);
  SetCoordinateKind(kCoordinateWorld);
  SetSR(system_);
  return 1;
}

int ZRMBandDTED::ExtractDataTypeInfo() {
  const auto layout = zrk::FindDtedLayout(leader_);
  if (!layout) return 0;
  dataStart_ = layout->dataStart;
  shift_ = layout->shift;
  return 1;
}

void ZRMBandDTED::ExtractDataInfo() {
  const zrk::DtedSize size = zrk::ParseDtedSize(leader_, shift_);
  longitudeLines_ = size.longitudeLines;
  latitudePoints_ = size.latitudePoints;
  productDesignator_ = size.productDesignator;
}

/// The place is held in single precision, and so is the band's.
void ZRMBandDTED::ExtractLeaderInfo() {
  const zrk::DtedPlace place = zrk::ParseDtedPlace(leader_, shift_);
  south_ = place.south;
  west_ = place.west;
  north_ = place.north;
  east_ = place.east;
  xStep_ = (east_ - west_) / static_cast<float>(longitudeLines_ - 1);
  yStep_ = (north_ - south_) / static_cast<float>(latitudePoints_ - 1);
  system_.Clear();
  if (place.datum == "WGS84") {
    system_.SetWellKnownGeogCS("WGS84");
  } else {
    system_.SetCoordinateKind(kReferenceUnknown);
  }
}

int ZRMBandDTED::ReadFile(XString path, XString& err, XThread* thread) {
  err.Empty();
  if (!Open(path)) {
    err = "Can't open file : " + path;
    return 0;
  }
  return zrk::FencedRead([&] { return MakeGrid() ? FillGrid(thread) : 0; });
}

/// How many columns have heights in the file, the last of them in part perhaps.
int ZRMBandDTED::CountHeldColumns() const {
  const std::int64_t numBytes = file_.GetLength() - dataStart_ - kColumnHeaderBytes;
  if (numBytes <= 0) return 0;
  return static_cast<int>(std::min<std::int64_t>((numBytes - 1) / CalcColumnBytes() + 1, longitudeLines_));
}

bool ZRMBandDTED::MakeGrid() {
  grid_ = Grid();
  if (longitudeLines_ < 1 || latitudePoints_ < 1) return false;
  if (std::int64_t{longitudeLines_} * latitudePoints_ > zrk::GetLimits().imagePixels) return false;
  const int numColumns = CountHeldColumns();
  const std::size_t numBytes =
      kHeightBytes * static_cast<std::size_t>(numColumns) * static_cast<std::size_t>(latitudePoints_);
  if (numBytes > 0 && !grid_.heights.Reserve(numBytes)) return false;
  zrk::PreferLargePages(grid_.heights.Get(), numBytes);
  grid_.isThere = true;
  grid_.width = longitudeLines_;
  grid_.height = latitudePoints_;
  grid_.numColumns = numColumns;
  return true;
}

/// Columns that the file does not hold are reported too, and a stop is heard at them.
int ZRMBandDTED::FillGrid(XThread* thread) {
  std::vector<unsigned char> columns;
  for (int first = 0; first < grid_.width; first += kColumnsPerRead) {
    const int count = std::min(kColumnsPerRead, grid_.width - first);
    const int numAllowed = ReportColumns(thread, first, count, grid_.width);
    DecodeColumns(std::min(numAllowed, grid_.numColumns - grid_.numFilled), columns);
    if (numAllowed < count) return 0;
  }
  return 1;
}

/// What the file fails to deliver, since it was cut short or can't be read, is 0.
void ZRMBandDTED::DecodeColumns(int numColumns, std::vector<unsigned char>& columns) {
  if (numColumns < 1) return;
  const std::int64_t columnBytes = CalcColumnBytes();
  const std::int64_t wanted = numColumns * columnBytes - kColumnHeaderBytes;
  columns.resize(static_cast<std::size_t>(wanted));
  const std::int64_t offset = dataStart_ + grid_.numFilled * columnBytes + kColumnHeaderBytes;
  const std::int64_t got = std::max<std::int64_t>(file_.ReadAt(offset, columns.data(), wanted), 0);
  std::fill(columns.begin() + static_cast<std::ptrdiff_t>(got), columns.end(), static_cast<unsigned char>(0));
  auto* const heights = reinterpret_cast<std::int16_t*>(grid_.heights.Get());
  zrk::TransposeHeights(columns.data(), columnBytes, numColumns, grid_.height, heights + grid_.numFilled,
                        grid_.numColumns);
  grid_.numFilled += numColumns;
}

int ZRMBandDTED::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), GetXTileSize(), GetYTileSize(), x0, x1, y0,
                                         y1, width, height);
}

int ZRMBandDTED::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  if (!grid_.isThere || !IsInside(x0, x1, y0, y1)) return 0;
  if (ReadFromLevelData(out, level, x0, x1, y0, y1, cancel)) return 1;
  // The band's size can be set to another than the grid's, which is the one that bounds the heights.
  if (!IsLevel(level) || x1 >= grid_.width || y1 >= grid_.height) return 0;
  return zrk::FencedRead([&] {
    tagXArr2* const result = results_.GetBuffer((x1 - x0 + 1) >> level, (y1 - y0 + 1) >> level, kHeightBytes);
    if (!result) return 0;
    zrk::PreferLargePages(
        result->data, static_cast<std::size_t>(result->ySize) * kHeightBytes * static_cast<std::size_t>(result->xSize));
    CopyHeights(level, x0, y0, *result);
    out = result;
    CleanupMemory(0, 0);
    return 1;
  });
}

void ZRMBandDTED::CopyHeights(int level, int x0, int y0, tagXArr2& result) const {
  const std::int64_t step = std::int64_t{1} << level;
  const std::int64_t held = std::max(grid_.numFilled - x0, 0);
  const auto count = static_cast<int>(std::min<std::int64_t>(result.xSize, (held + step - 1) / step));
  if (count < result.xSize) {
    std::memset(result.data, 0,
                kHeightBytes * static_cast<std::size_t>(result.xSize) * static_cast<std::size_t>(result.ySize));
  }
  if (count == 0) return;
  const std::int64_t stride = grid_.numColumns * kHeightBytes;
  const unsigned char* source = grid_.heights.Get() + y0 * stride + x0 * kHeightBytes;
  if (level == 0) {
    zrk::CopyBlock(source, stride, result.data, result.xSize * kHeightBytes, count * kHeightBytes, result.ySize);
    return;
  }
  for (int y = 0; y < result.ySize; ++y, source += stride * step) {
    zrk::GatherSamples(source, static_cast<std::size_t>(count), kHeightBytes * step, kHeightBytes, result.Row(y));
  }
}

int ZRMBandDTED::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandDTED::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) results_.FreeCurrentThreadsBuffer();
  return 1;
}

int ZRMBandDTED::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}
