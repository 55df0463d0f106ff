// Rows lie bottom-up: row y at offset + (height - 1 - y) * row bytes. Three sources serve them: a copy in memory, a
// mapping of the whole file, and positional reads through the file. The first two always answer full resolution; only
// the third honours the level, by taking every 2^level-th pixel of every 2^level-th row.
//
// A file may shrink while it is open. So its length is asked once a window, and a window that reaches beyond fails, as
// it does for a file that never had all its rows. Rows that go while they are read are found missing by `RowReader`.

#include "ZRMBandBMP.h"

#include "bands/bmp/BmpHeader.h"
#include "base/Disk.h"
#include "base/Fence.h"
#include "base/RowReader.h"
#include "core/model/FollowerRead.h"
#include "math/Interleave.h"
#include "Xepot.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <optional>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandBMP, ZRMBandDRIO);

namespace {

constexpr std::int64_t kMapFrom = 32000000;  // image bytes; below that a copy is held in memory
constexpr int kMaxLevel = 30;

/// Where the channels red, green, blue and the fourth lie in a pixel of the file.
constexpr std::array<int, 4> kByteOfChannel = {2, 1, 0, 3};

using PaletteTables = std::array<std::array<unsigned char, 256>, 3>;

PaletteTables MakeTables(const BITMAPINFO& info) {
  PaletteTables tables{};
  for (int i = 0; i < XfnGetDIBPaletteSize(&info); ++i) {
    const auto entry = static_cast<std::size_t>(i);
    tables[0][entry] = info.bmiColors[i].rgbRed;
    tables[1][entry] = info.bmiColors[i].rgbGreen;
    tables[2][entry] = info.bmiColors[i].rgbBlue;
  }
  return tables;
}

/// Turns `count` pixels of a file row, `step` apart, into one row of each channel.
class RowUnpacker {
 public:
  RowUnpacker(const BITMAPINFO& info, int numChannels, int step)
      : pixelBytes_(info.bmiHeader.biBitCount >> 3), numChannels_(numChannels), step_(step) {
    // A colour table of a deeper image is for display only; its pixels are direct.
    if (info.bmiHeader.biBitCount == 8) tables_ = MakeTables(info);
  }

  void Unpack(const unsigned char* source, std::size_t count, unsigned char* const* target) const {
    if (tables_) {
      UnpackIndexed(source, count, target);
    } else if (step_ == 1 && pixelBytes_ == 3 && numChannels_ == 3) {
      zrk::SplitPixels3(source, count, target[2], target[1], target[0]);
    } else if (step_ == 1 && pixelBytes_ == 4 && numChannels_ == 4) {
      zrk::SplitPixels4(source, count, target[2], target[1], target[0], target[3]);
    } else {
      UnpackDirect(source, count, target);
    }
  }

 private:
  void UnpackIndexed(const unsigned char* source, std::size_t count, unsigned char* const* target) const {
    for (std::size_t i = 0; i < count; ++i, source += step_) {
      target[0][i] = (*tables_)[0][*source];
      target[1][i] = (*tables_)[1][*source];
      target[2][i] = (*tables_)[2][*source];
    }
  }

  /// A channel whose byte a short pixel does not have is 0.
  void UnpackDirect(const unsigned char* source, std::size_t count, unsigned char* const* target) const {
    for (int c = 0; c < numChannels_; ++c) {
      const int byte = kByteOfChannel[static_cast<std::size_t>(c)];
      if (byte < pixelBytes_) {
        zrk::TakeByte(source, count, pixelBytes_, step_, byte, target[c]);
      } else {
        std::memset(target[c], 0, count);
      }
    }
  }

  int pixelBytes_;
  int numChannels_;
  int step_;
  std::optional<PaletteTables> tables_;
};

}  // namespace

ZRMBandBMP::ZRMBandBMP(ZRMBandBMP* master) : master_(master) {
  SetDataType(kPint08);
  SetBandMin(0.0);
  SetBandMax(255.0);
  if (master) CopyGeometry(*master);
}

ZRMBandBMP::~ZRMBandBMP() = default;

int ZRMBandBMP::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  Close();
  auto file = std::make_unique<XFile>();
  if (!file->Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    err = "Can't open file : " + path;
    return 0;
  }
  std::array<unsigned char, zrk::kBmpHeaderBytes> bytes;
  const std::int64_t numBytes = std::max<std::int64_t>(file->ReadAt(0, bytes.data(), zrk::kBmpHeaderBytes), 0);
  zrk::BmpHeader header;
  if (!zrk::ParseBmpHeader({bytes.data(), static_cast<std::size_t>(numBytes)}, header, err)) return 0;
  if (header.imageBytes < kMapFrom) return ReadIntoMemory(*file, header, err);

  auto rowFile = std::make_unique<zrk::RowFile>(file->GetDiskFile());
  AdoptHeader(header.info, rowFile->Map() ? kSourceView : kSourceFile, header.pixelOffset);
  if (rowFile->Map()) rowFile_ = std::move(rowFile);
  file_ = std::move(file);
  return 1;
}

/// The file's length is asked first, so that a header cannot have memory allocated that no rows will fill.
int ZRMBandBMP::ReadIntoMemory(const XFile& file, const zrk::BmpHeader& header, XString& err) {
  if (file.GetLength() < header.pixelOffset + header.imageBytes) {
    err = "Can't read bitmap bits";
    return 0;
  }
  std::unique_ptr<unsigned char[]> rows(new (std::nothrow) unsigned char[static_cast<std::size_t>(header.imageBytes)]);
  if (!rows) {
    err = "Can't allocate memory";
    return 0;
  }
  if (file.ReadAt(header.pixelOffset, rows.get(), header.imageBytes) != header.imageBytes) {
    err = "Can't read bitmap bits";
    return 0;
  }
  AdoptHeader(header.info, kSourceMemory, 0);
  copy_ = std::move(rows);
  data_ = copy_.get();
  return 1;
}

void ZRMBandBMP::Close() {
  sourceType_ = kSourceNone;
  data_ = nullptr;
  rowFile_.reset();
  file_.reset();
  copy_.reset();
  info_.reset();
  reads_.Forget();
}

void ZRMBandBMP::AdoptHeader(const BITMAPINFO& info, int sourceType, std::int64_t offset) {
  // A caller's record may end where its palette does, and may be the one that is replaced here.
  auto copy = std::make_unique<BITMAPINFO>();
  std::memcpy(copy.get(), &info, sizeof(BITMAPINFOHEADER) + 4 * static_cast<std::size_t>(XfnGetDIBPaletteSize(&info)));
  Close();
  info_ = std::move(copy);
  sourceType_ = sourceType;
  offset_ = offset;
  SetSize(info_->bmiHeader.biWidth, info_->bmiHeader.biHeight);
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, info_->bmiHeader.biHeight - 1);
}

int ZRMBandBMP::SetImage(XFile* file, std::int64_t offset, const BITMAPINFO* info) {
  if (!file || !info || !zrk::IsServableDib(info->bmiHeader, offset)) return 0;
  if (file_.get() == file) static_cast<void>(file_.release());
  AdoptHeader(*info, kSourceFile, offset);
  file_.reset(file);
  return 1;
}

int ZRMBandBMP::SetImage(void* bits, std::int64_t offset, const BITMAPINFO* info, int direct) {
  if (!bits || !info || !zrk::IsServableDib(info->bmiHeader, offset)) return 0;
  const auto* rows = static_cast<const unsigned char*>(bits);
  if (direct) {
    AdoptHeader(*info, kSourceView, offset);
    data_ = rows;
    return 1;
  }
  const auto imageBytes = static_cast<std::size_t>(XfnCalcDIBWidthBytes(info) * info->bmiHeader.biHeight);
  std::unique_ptr<unsigned char[]> copy(new (std::nothrow) unsigned char[imageBytes]);
  if (!copy) return 0;
  std::memcpy(copy.get(), rows, imageBytes);
  AdoptHeader(*info, kSourceMemory, 0);
  copy_ = std::move(copy);
  data_ = copy_.get();
  return 1;
}

int ZRMBandBMP::GetNumChannels() const {
  if (!info_) return 0;
  return GetPaletteSize() > 0 ? 3 : info_->bmiHeader.biBitCount >> 3;
}

int ZRMBandBMP::GetPaletteSize() const {
  return info_ ? XfnGetDIBPaletteSize(info_.get()) : 0;
}

tagXArr2* ZRMBandBMP::GetResult(int channel) const {
  return reads_.GetResult(channel, GetNumChannels());
}

void ZRMBandBMP::GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const {
  reads_.GetLastRequest().Get(level, x0, x1, y0, y1);
}

int ZRMBandBMP::GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) {
  return Xepot::GetHighestLevelForTarget(GetXSize(), GetYSize(), GetLevel(), GetXTileSize(), GetYTileSize(), x0, x1, y0,
                                         y1, width, height);
}

int ZRMBandBMP::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  if (!IsInside(x0, x1, y0, y1)) return 0;
  if (ReadFromLevelData(out, level, x0, x1, y0, y1, cancel)) return 1;
  const zrk::ReadRequest request{level, x0, x1, y0, y1};
  return zrk::FencedRead(
      [&] { return master_ ? zrk::ReadThroughMaster(*master_, channel_, out, request) : ReadAsMaster(out, request); });
}

int ZRMBandBMP::ReadAsMaster(tagXArr2*& out, const zrk::ReadRequest& request) {
  // The band's size can be set to another than the image's, which is the one that bounds the pixels.
  if (!info_ || request.x1 >= info_->bmiHeader.biWidth || request.y1 >= info_->bmiHeader.biHeight) return 0;
  zrk::ChannelReads::Record& record = reads_.Begin(request);
  record.isFilled = Decode(request, record);
  tagXArr2* result = GetResult(channel_);
  if (!result) return 0;
  out = result;
  CleanupMemory(0, 0);
  return 1;
}

bool ZRMBandBMP::Decode(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record) {
  if (sourceType_ == kSourceFile) return DecodeFromFile(request, record);
  return rowFile_ ? DecodeFromMapped(request, record) : DecodeFromMemory(request, record);
}

std::int64_t ZRMBandBMP::CalcRowOffset(int y) const {
  return offset_ + (std::int64_t{info_->bmiHeader.biHeight} - 1 - y) * XfnCalcDIBWidthBytes(info_.get());
}

/// Whether the file, as it is now, holds the rows of a window. Pixels that a caller keeps in memory are taken to be
/// whole.
bool ZRMBandBMP::HoldsRows(const zrk::ReadRequest& request) const {
  if (!file_) return true;
  const std::int64_t pixelBytes = info_->bmiHeader.biBitCount >> 3;
  const std::int64_t end = CalcRowOffset(request.y0) + (request.x1 + std::int64_t{1}) * pixelBytes;
  return end <= file_->GetLength();
}

namespace {

bool AllocateChannels(zrk::ChannelReads::Record& record, int numChannels, int width, int height) {
  for (int c = 0; c < numChannels; ++c) {
    if (!record.channels[static_cast<std::size_t>(c)].Alloc(width, height, 1)) return false;
  }
  return true;
}

std::array<unsigned char*, 4> RowsOf(const zrk::ChannelReads::Record& record, int numChannels, int row) {
  std::array<unsigned char*, 4> rows{};
  for (std::size_t c = 0; c < static_cast<std::size_t>(numChannels); ++c) rows[c] = record.channels[c].Row(row);
  return rows;
}

}  // namespace

bool ZRMBandBMP::DecodeFromMemory(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record) const {
  const int numChannels = GetNumChannels();
  if (!HoldsRows(request) || !AllocateChannels(record, numChannels, request.Width(), request.Height())) return false;
  const RowUnpacker unpacker(*info_, numChannels, 1);
  const std::int64_t firstByte = std::int64_t{request.x0} * (info_->bmiHeader.biBitCount >> 3);
  for (int y = request.y0; y <= request.y1; ++y) {
    unpacker.Unpack(data_ + CalcRowOffset(y) + firstByte, static_cast<std::size_t>(request.Width()),
                    RowsOf(record, numChannels, y - request.y0).data());
  }
  return true;
}

/// Some rows at a time, from the top of the window, which are the last ones of the file.
bool ZRMBandBMP::DecodeFromMapped(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record) {
  constexpr std::int64_t kReadBytes = 256 << 10;
  const int numChannels = GetNumChannels(), pixelBytes = info_->bmiHeader.biBitCount >> 3;
  if (!HoldsRows(request) || !AllocateChannels(record, numChannels, request.Width(), request.Height())) return false;
  const RowUnpacker unpacker(*info_, numChannels, 1);
  const std::int64_t numBytes = std::int64_t{request.Width()} * pixelBytes;
  const auto atOnce = static_cast<int>(std::clamp<std::int64_t>(kReadBytes / numBytes, 1, request.Height()));
  const zrk::RowReader reader(*rowFile_, numBytes * request.Height());
  for (int y = request.y0; y <= request.y1; y += atOnce) {
    const int numRows = std::min(atOnce, request.y1 - y + 1);
    const zrk::FileRows rows{CalcRowOffset(y + numRows - 1) + std::int64_t{request.x0} * pixelBytes,
                             XfnCalcDIBWidthBytes(info_.get()), numBytes, numRows};
    const std::int64_t roomBytes = zrk::RowReader::CountRoomBytes(rows, numBytes);
    tagXArr1* room = roomBytes <= INT32_MAX ? rows_.GetBuffer(static_cast<int>(roomBytes), 1) : nullptr;
    const zrk::RowReader::Fetched fetched = room ? reader.Fetch(rows, numBytes, room->data) : zrk::RowReader::Fetched{};
    if (!fetched.first) return false;
    for (int i = 0; i < numRows; ++i) {
      unpacker.Unpack(fetched.first + (numRows - 1 - i) * fetched.stride, static_cast<std::size_t>(request.Width()),
                      RowsOf(record, numChannels, y - request.y0 + i).data());
    }
  }
  return true;
}

bool ZRMBandBMP::DecodeFromFile(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record) {
  if (request.level < 0 || request.level > kMaxLevel) return false;
  const int width = request.Width() >> request.level;
  const int height = request.Height() >> request.level;
  const int numChannels = GetNumChannels();
  if (!HoldsRows(request) || !AllocateChannels(record, numChannels, width, height)) return false;

  const int step = 1 << request.level;
  const int pixelBytes = info_->bmiHeader.biBitCount >> 3;
  const std::int64_t firstByte = std::int64_t{request.x0} * pixelBytes;
  const std::int64_t numBytes = ((std::int64_t{width} - 1) * step + 1) * pixelBytes;
  tagXArr1* row = numBytes <= INT32_MAX ? rows_.GetBuffer(static_cast<int>(numBytes), 1) : nullptr;
  if (!row) return false;
  const RowUnpacker unpacker(*info_, numChannels, step);
  for (int j = 0; j < height; ++j) {
    const std::int64_t at = CalcRowOffset(request.y0 + j * step) + firstByte;
    if (file_->ReadAt(at, row->data, numBytes) != numBytes) return false;
    unpacker.Unpack(row->data, static_cast<std::size_t>(width), RowsOf(record, numChannels, j).data());
  }
  return true;
}

int ZRMBandBMP::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandBMP::CleanupMemory(int, int) {
  return 1;
}

int ZRMBandBMP::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}
