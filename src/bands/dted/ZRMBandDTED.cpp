// A column is a record of 8 bytes, the heights of one longitude from south to north, and a checksum of 4 bytes. The 8
// bytes number the column. Under the compatible policy neither they nor the checksum are looked at: column i of the
// file is column i of the band. Under the exact policy `DtedColumns` tells by them where a record belongs.
//
// Columns are read some dozens at a time into a buffer that stays in the processor's cache, and turned into rows from
// there. A file may claim any size up to 9,999 each way. Memory is taken for the columns that it holds. All others are
// 0, as are the heights behind the end of a file that ends within a column; under the exact policy they are unknown, or
// their reads fail.
//
// A level takes every 2^level-th height both ways and averages nothing.

#include "ZRMBandDTED.h"

#include "bands/dted/DtedColumns.h"
#include "bands/dted/DtedHeader.h"
#include "base/Checked.h"
#include "base/Fence.h"
#include "base/PixelStorage.h"
#include "base/ReadError.h"
#include "core/model/BandFrame.h"
#include "math/CopyBlock.h"
#include "math/Heights.h"
#include "math/Interleave.h"
#include "XDataType.h"
#include "XFile.h"
#include "XLimits.h"
#include "XThread.h"

#include <algorithm>
#include <cstring>
#include <vector>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandDTED, ZRMBandDRIO);

namespace {

constexpr int kColumnHeaderBytes = 8;
constexpr int kHeightBytes = 2;
constexpr int kChecksumBytes = 4;
constexpr int kColumnsPerRead = 64;
constexpr std::int16_t kUnknownHeight = -32767;

/// Reports columns one by one, and answers how many of them may be read before the thread is asked to stop.
int ReportColumns(XThread* thread, int first, int count, int total) {
  if (!thread) return count;
  for (int i = 0; i < count; ++i) {
    thread->CallbackPercent(static_cast<int>((first + i) * 100.0 / total));
    if (thread->GetState() == XThread::kStateStop) return i;
  }
  return count;
}

}  // namespace

struct ZRMBandDTED::Impl final : Frame {
  /// Heights row by row. Room is made for those columns only that the file holds in part at least.
  struct Grid {
    zrk::PixelStorage heights;
    bool isThere = false;
    bool isCut = false;  // by a disk that failed
    int width = 0;
    int height = 0;
    int numColumns = 0;                         // that there is room for
    int numFilled = 0;                          // that are decoded; all others are 0
    std::unique_ptr<zrk::DtedColumns> columns;  // under the exact policy, where each column lies among them
  };

  bool ReadLeader(const XString& path);
  std::int64_t CalcColumnBytes() const {
    return kColumnHeaderBytes + kHeightBytes * std::int64_t{latitudePoints} + kChecksumBytes;
  }
  int CountHeldColumns() const;
  int CountWholeColumns() const;
  bool IsCut() const;
  const char* FindFault() const;
  bool MakeGrid(bool isExact);
  int FillGrid(XThread* thread);
  void DecodeColumns(int numColumns, std::vector<unsigned char>& columns);
  void DecodeExactly(int numColumns, std::vector<unsigned char>& columns);

  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  void CopyHeights(const zrk::ReadRequest& request, tagXArr2& result) const;
  bool HoldsColumns(const zrk::ReadRequest& request, bool& areInOrder) const;
  void GatherHeights(const zrk::ReadRequest& request, tagXArr2& result) const;

  Grid grid;
  XFile file;
  XSpatialReference system;
  std::vector<unsigned char> leader;
  std::size_t shift = 0;
  std::int64_t dataStart = 0;
  XString productDesignator;
  zrk::DtedPlace place;
  float west = 0.0f;
  float north = 0.0f;
  float xStep = 0.0f;
  float yStep = 0.0f;
  int longitudeLines = 0;
  int latitudePoints = 0;
};

ZRMBandDTED::ZRMBandDTED() : ZRMBandFile(std::make_unique<Impl>()) {
  SetDataType(kSint16);
}

ZRMBandDTED::~ZRMBandDTED() = default;

ZRMBandDTED::Impl& ZRMBandDTED::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

std::int64_t ZRMBandDTED::GetDataStart() const {
  return GetImpl().dataStart;
}

const XString& ZRMBandDTED::GetProductDesignator() const {
  return GetImpl().productDesignator;
}

int ZRMBandDTED::Open(XString path) {
  return zrk::FencedRead([&] { return OpenFile(path); });
}

int ZRMBandDTED::OpenFile(const XString& path) {
  const Impl& impl = GetImpl();
  if (!GetImpl().ReadLeader(path) || !ExtractDataTypeInfo()) return 0;
  ExtractDataInfo();
  ExtractLeaderInfo();
  SetSize(impl.longitudeLines, impl.latitudePoints);
  SetDataType(kSint16);
  SetPixelSize(impl.xStep, impl.yStep);
  SetUpperLeft(impl.west, impl.north);
  SetCoordinateKind(kCoordinateWorld);
  SetSR(impl.system);
  if (IsExact()) SetNullValue(kUnknownHeight);
  PlacePosts();
  return 1;
}

/// The transform has the precision of the file. A pixel reaches half a step around its post.
void ZRMBandDTED::PlacePosts() {
  SetPixelAnchor(kPixelCentre);
  const zrk::DtedPlace& place = GetImpl().place;
  if (GetXSize() < 2 || GetYSize() < 2) return;  // no step can be told
  const double xStep = (place.east - place.west) / (GetXSize() - 1);
  const double yStep = (place.north - place.south) / (GetYSize() - 1);
  const double transform[6] = {place.west - 0.5 * xStep, xStep, 0.0, place.north + 0.5 * yStep, 0.0, -yStep};
  SetGeoTransform(transform);
}

/// A short leader will do, as long as it has the mark. Fields that it lacks are 0.
bool ZRMBandDTED::Impl::ReadLeader(const XString& path) {
  leader.clear();
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return false;
  leader.resize(static_cast<std::size_t>(zrk::kDtedLeaderBytes));
  const std::int64_t numBytes = file.ReadAt(0, leader.data(), zrk::kDtedLeaderBytes);
  leader.resize(static_cast<std::size_t>(std::max<std::int64_t>(numBytes, 0)));
  if (zrk::HasDtedMark(leader)) return true;
  file.Close();
  return false;
}

int ZRMBandDTED::ExtractDataTypeInfo() {
  Impl& impl = GetImpl();
  const auto layout = zrk::FindDtedLayout(impl.leader);
  if (!layout) return 0;
  impl.dataStart = layout->dataStart;
  impl.shift = layout->shift;
  return 1;
}

void ZRMBandDTED::ExtractDataInfo() {
  Impl& impl = GetImpl();
  const zrk::DtedSize size = zrk::ParseDtedSize(impl.leader, impl.shift);
  impl.longitudeLines = size.longitudeLines;
  impl.latitudePoints = size.latitudePoints;
  impl.productDesignator = size.productDesignator;
}

/// The place is held in single precision, and so is the band's.
void ZRMBandDTED::ExtractLeaderInfo() {
  Impl& impl = GetImpl();
  impl.place = zrk::ParseDtedPlace(impl.leader, impl.shift);
  const zrk::DtedPlace& place = impl.place;
  impl.west = static_cast<float>(place.west);
  impl.north = static_cast<float>(place.north);
  // The outer columns and rows lie on the edges of the cell, so that there is one step fewer than columns.
  impl.xStep = (static_cast<float>(place.east) - impl.west) / static_cast<float>(impl.longitudeLines - 1);
  impl.yStep = (impl.north - static_cast<float>(place.south)) / static_cast<float>(impl.latitudePoints - 1);
  impl.system.Clear();
  if (place.datum == "WGS84") {
    impl.system.SetWellKnownGeogCS("WGS84");
  } else {
    impl.system.SetCoordinateKind(kReferenceUnknown);
  }
}

int ZRMBandDTED::ReadFile(XString path, XString& err, XThread* thread) {
  err.Empty();
  if (!Open(path)) {
    err = "Can't open file : " + path;
    if (IsExact()) err += XString(" : ") + GetImpl().FindFault();
    return 0;
  }
  const bool isExact = IsExact();
  const int isRead = zrk::FencedRead([&] { return GetImpl().MakeGrid(isExact) ? GetImpl().FillGrid(thread) : 0; });
  if (!isRead && isExact) err = GetImpl().grid.isThere ? zrk::kReadStopped : GetImpl().FindFault();
  return isRead;
}

/// The reason why a cell was refused.
const char* ZRMBandDTED::Impl::FindFault() const {
  if (leader.empty()) return "there is no such file, or it is empty";
  if (!zrk::HasDtedMark(leader)) return "it is no elevation cell";
  if (!zrk::FindDtedLayout(leader)) return "it begins with a record that must not come first";
  if (longitudeLines < 1 || latitudePoints < 1) return "The cell has no columns or no rows";
  return "The cell is too large for the memory or for the limits";
}

/// How many columns have heights in the file, the last of them in part perhaps.
int ZRMBandDTED::Impl::CountHeldColumns() const {
  const std::int64_t numBytes = file.GetLength() - dataStart - kColumnHeaderBytes;
  if (numBytes <= 0) return 0;
  return static_cast<int>(std::min<std::int64_t>((numBytes - 1) / CalcColumnBytes() + 1, longitudeLines));
}

/// A record without its checksum can't be held against it.
int ZRMBandDTED::Impl::CountWholeColumns() const {
  const std::int64_t numBytes = std::max<std::int64_t>(file.GetLength() - dataStart, 0);
  return static_cast<int>(std::min<std::int64_t>(numBytes / CalcColumnBytes(), longitudeLines));
}

/// The size that a file claims is held against the limits, and memory against the columns that it holds.
bool ZRMBandDTED::Impl::MakeGrid(bool isExact) {
  grid = Grid();
  if (longitudeLines < 1 || latitudePoints < 1) return false;
  if (std::int64_t{longitudeLines} * latitudePoints > XfnGetLimits().imagePixels) return false;
  const int numColumns = isExact ? CountWholeColumns() : CountHeldColumns();
  const std::size_t numBytes =
      kHeightBytes * static_cast<std::size_t>(numColumns) * static_cast<std::size_t>(latitudePoints);
  if (numBytes > 0 && !grid.heights.Reserve(numBytes)) return false;
  if (isExact) grid.columns = std::make_unique<zrk::DtedColumns>(longitudeLines);
  grid.isThere = true;
  grid.width = longitudeLines;
  grid.height = latitudePoints;
  grid.numColumns = numColumns;
  return true;
}

/// Columns that the file does not hold are reported too, and a stop is heard at them.
int ZRMBandDTED::Impl::FillGrid(XThread* thread) {
  std::vector<unsigned char> columns;
  int numLeft = grid.width;
  for (int first = 0; first < grid.width; first += kColumnsPerRead) {
    const int count = std::min(kColumnsPerRead, grid.width - first);
    const int numAllowed = ReportColumns(thread, first, count, grid.width);
    const int numColumns = std::min(numAllowed, grid.numColumns - grid.numFilled);
    grid.columns ? DecodeExactly(numColumns, columns) : DecodeColumns(numColumns, columns);
    if (numAllowed < count) break;
    numLeft -= count;
  }
  if (grid.columns) grid.columns->Finish(numLeft > 0 || IsCut());
  return numLeft == 0;
}

/// Heights that the file fails to deliver are 0, whether it was cut short or can't be read.
void ZRMBandDTED::Impl::DecodeColumns(int numColumns, std::vector<unsigned char>& columns) {
  if (numColumns < 1) return;
  const std::int64_t columnBytes = CalcColumnBytes();
  const std::int64_t wanted = numColumns * columnBytes - kColumnHeaderBytes;
  columns.resize(static_cast<std::size_t>(wanted));
  // The read begins with heights, and the 8 bytes of the next column fall between its columns.
  const std::int64_t offset = dataStart + grid.numFilled * columnBytes + kColumnHeaderBytes;
  const std::int64_t got = std::max<std::int64_t>(file.ReadAt(offset, columns.data(), wanted), 0);
  std::fill(columns.begin() + static_cast<std::ptrdiff_t>(got), columns.end(), static_cast<unsigned char>(0));
  auto* const heights = reinterpret_cast<std::int16_t*>(grid.heights.Get());
  zrk::TransposeHeights(columns.data(), columnBytes, numColumns, grid.height, heights + grid.numFilled,
                        grid.numColumns);
  grid.numFilled += numColumns;
}

/// Whole records alone are read here. Those that the disk then fails to deliver are as if the file were cut.
void ZRMBandDTED::Impl::DecodeExactly(int numColumns, std::vector<unsigned char>& columns) {
  if (numColumns < 1) return;
  const std::int64_t columnBytes = CalcColumnBytes();
  columns.resize(static_cast<std::size_t>(numColumns * columnBytes));
  const std::int64_t offset = dataStart + grid.numFilled * columnBytes;
  const std::int64_t got = std::max<std::int64_t>(file.ReadAt(offset, columns.data(), std::ssize(columns)), 0);
  const int numRead = static_cast<int>(got / columnBytes);
  const std::span<const unsigned char> all = columns;
  for (int i = 0; i < numRead; ++i) {
    grid.columns->Take(all.subspan(static_cast<std::size_t>(i * columnBytes), static_cast<std::size_t>(columnBytes)));
  }
  auto* const heights = reinterpret_cast<std::int16_t*>(grid.heights.Get());
  zrk::TransposeHeights(columns.data() + kColumnHeaderBytes, columnBytes, numRead, grid.height,
                        heights + grid.numFilled, grid.numColumns, zrk::FarBelow::kKept);
  grid.numFilled += numRead;
  if (numRead < numColumns) grid.isCut = true;
}

/// Whether the file ends within a record, or has begun the next one.
bool ZRMBandDTED::Impl::IsCut() const {
  const std::int64_t numBytes = std::max<std::int64_t>(file.GetLength() - dataStart, 0);
  return grid.isCut || (grid.numColumns < grid.width && numBytes % CalcColumnBytes() != 0);
}

bool ZRMBandDTED::Impl::Accepts(const zrk::ReadRequest&, bool isInside, const int*) const {
  return grid.isThere && isInside;
}

/// The band's size can be set to another than the grid's, which is the one that bounds the heights.
zrk::ChannelReads::Record* ZRMBandDTED::Impl::Decode(const zrk::ReadRequest& request, const int*) {
  if (!IsLevel(request.level) || request.x1 >= grid.width || request.y1 >= grid.height) return nullptr;
  bool areInOrder = true;
  if (grid.columns && !HoldsColumns(request, areInOrder)) return nullptr;
  const int width = request.Width() >> request.level, height = request.Height() >> request.level;
  zrk::ChannelReads::Record* const record = reads.Begin(request, {1, width, height, kHeightBytes});
  if (!record) return nullptr;
  tagXArr2& result = record->At(0);
  areInOrder ? CopyHeights(request, result) : GatherHeights(request, result);
  return record;
}

/// Under the exact policy a window fails that takes heights of a column that can't be read.
bool ZRMBandDTED::Impl::HoldsColumns(const zrk::ReadRequest& request, bool& areInOrder) const {
  const std::int64_t step = std::int64_t{1} << request.level;
  std::int64_t x = request.x0;
  for (int i = 0; i < request.Width() >> request.level; ++i, x += step) {
    const auto column = static_cast<int>(x);
    const int record = grid.columns->RecordOf(column);
    if (record < zrk::DtedColumns::kAbsent) {
      zrk::NoteReadError(zrk::DtedColumns::TellReason(column, record).c_str());
      return false;
    }
    if (record != column) areInOrder = false;
  }
  return true;
}

/// Each column from where it lies. A cell whose columns are not in order is rare.
void ZRMBandDTED::Impl::GatherHeights(const zrk::ReadRequest& request, tagXArr2& result) const {
  const auto* const heights = reinterpret_cast<const std::int16_t*>(grid.heights.Get());
  for (int j = 0; j < result.ySize; ++j) {
    auto* const row = reinterpret_cast<std::int16_t*>(result.Row(j));
    const std::int64_t y = request.y0 + (std::int64_t{j} << request.level);
    for (int i = 0; i < result.xSize; ++i) {
      const int record = grid.columns->RecordOf(static_cast<int>(request.x0 + (std::int64_t{i} << request.level)));
      row[i] = record < 0 ? kUnknownHeight : heights[y * grid.numColumns + record];
    }
  }
}

void ZRMBandDTED::Impl::CopyHeights(const zrk::ReadRequest& request, tagXArr2& result) const {
  const std::int64_t step = std::int64_t{1} << request.level;
  const std::int64_t held = std::max(grid.numFilled - request.x0, 0);
  const auto count = static_cast<int>(std::min<std::int64_t>(result.xSize, (held + step - 1) / step));
  // The result is cleared only where columns are missing.
  if (count < result.xSize) {
    std::memset(result.data, 0,
                kHeightBytes * static_cast<std::size_t>(result.xSize) * static_cast<std::size_t>(result.ySize));
  }
  if (count == 0) return;
  const std::int64_t stride = std::int64_t{grid.numColumns} * kHeightBytes;
  const unsigned char* source = grid.heights.Get() + request.y0 * stride + request.x0 * kHeightBytes;
  if (request.level == 0) {
    zrk::CopyBlock(source, stride, result.data, result.xSize * kHeightBytes, count * kHeightBytes, result.ySize);
    return;
  }
  for (int y = 0; y < result.ySize; ++y, source += stride * step) {
    zrk::GatherSamples(source, static_cast<std::size_t>(count), kHeightBytes * step, kHeightBytes, result.Row(y));
  }
}
