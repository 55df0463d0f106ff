// A bitmap as its headers say. Plain rows are fetched some at a time, out of a mapping or by positional reads, and are
// never held. Run-length codes are read when the file is opened, since only they tell where rows begin.
//
// A file may lack rows. Those that it has can be read, and a window that touches another one fails.

#include "bands/bmp/BmpImage.h"

#include "bands/bmp/BmpCodes.h"
#include "bands/bmp/BmpPixels.h"
#include "base/ReadError.h"
#include "XFile.h"
#include "XLimits.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <vector>

namespace zrk {
namespace {

using Rows = std::array<unsigned char*, 4>;

Rows RowsOf(ChannelReads::Record& record, int row) {
  Rows rows{};
  for (int c = 0; c < record.numChannels; ++c) rows[static_cast<std::size_t>(c)] = record.At(c).Row(row);
  return rows;
}

bool FailAtRow(const char* what, int y) {
  NoteReadError((what + std::to_string(y)).c_str());
  return false;
}

/// Image bytes from which on large windows are read, so that they don't stay in the process.
constexpr std::int64_t kReadFrom = 32'000'000;

constexpr const char* kNoSuchColour = "The palette lacks a colour of the bitmap's row ";

}  // namespace

BmpImage::BmpImage() = default;
BmpImage::~BmpImage() = default;

int BmpImage::Open(const XFile& file, XString& err) {
  std::vector<unsigned char> bytes(static_cast<std::size_t>(kBmpLayoutBytes));
  bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(file.ReadAt(0, bytes.data(), kBmpLayoutBytes), 0)));
  if (!ParseBmpLayout(bytes, layout_, err)) return 0;
  file_ = std::make_shared<RowFile>(file.GetDiskFile());
  return layout_.coding == BmpLayout::Coding::kRunLengths ? ReadCodes(err) : 1;
}

/// The colour of each entry is its number.
std::unique_ptr<BmpImage> BmpImage::MakeIndices() const {
  auto indices = std::make_unique<BmpImage>();
  indices->layout_ = layout_;
  indices->layout_.numChannels = 1;
  std::iota(indices->layout_.palette[0].begin(), indices->layout_.palette[0].end(), static_cast<unsigned char>(0));
  indices->file_ = file_;
  indices->codes_ = codes_;
  return indices;
}

bool BmpImage::ReadCodes(XString& err) {
  const std::int64_t numBytes = std::max<std::int64_t>(file_->File().Size() - layout_.pixelOffset, 0);
  if (numBytes > XfnGetLimits().decodedTileBytes) {
    err = "The codes of the bitmap take too much memory";
    return false;
  }
  std::vector<unsigned char> codes(static_cast<std::size_t>(numBytes));
  if (file_->File().ReadAt(layout_.pixelOffset, codes.data(), numBytes) != numBytes) {
    err = "Can't read bitmap bits";
    return false;
  }
  codes_ = std::make_shared<const BmpCodes>(std::move(codes), layout_.bits, layout_.width, layout_.height);
  return true;
}

bool BmpImage::Read(const ReadRequest& window, ChannelReads::Record& record) {
  return codes_ ? ReadRunLengths(window, record) : ReadRows(window, record);
}

std::int64_t BmpImage::CalcRowOffset(int y) const {
  return layout_.pixelOffset + (layout_.isTopDown ? y : std::int64_t{layout_.height} - 1 - y) * layout_.rowBytes;
}

/// The padding of the last row may be missing.
bool BmpImage::HoldsRows(const ReadRequest& window) const {
  const BmpPixels pixels(layout_);
  const std::int64_t needed = pixels.FirstByteOf(window.x0) + pixels.CountBytes(window.x0, window.x1);
  const std::int64_t fileBytes = file_->File().Size();
  const int last = layout_.isTopDown ? window.y1 : window.y0;
  if (CalcRowOffset(last) + needed <= fileBytes) return true;
  const std::int64_t held = (fileBytes - layout_.pixelOffset - needed + layout_.rowBytes) / layout_.rowBytes;
  const auto numHeld = static_cast<int>(std::clamp<std::int64_t>(held, 0, layout_.height));
  const int missing =
      layout_.isTopDown ? std::max(numHeld, window.y0) : std::min(layout_.height - 1 - numHeld, window.y1);
  return FailAtRow("The file ends before the bitmap's row ", missing);
}

/// Some rows at a time, as they lie in the file. Those of a small image come out of a mapping however large the window
/// is, since a copy would take as long as the pixels do. The file's length is asked for each of these times.
bool BmpImage::ReadRows(const ReadRequest& window, ChannelReads::Record& record) {
  constexpr std::int64_t kReadBytes = 256 << 10;
  if (!HoldsRows(window)) return false;
  const BmpPixels pixels(layout_);
  const std::int64_t numBytes = pixels.CountBytes(window.x0, window.x1);
  const auto atOnce = static_cast<int>(std::clamp<std::int64_t>(kReadBytes / numBytes, 1, window.Height()));
  const bool isSmall = layout_.rowBytes * layout_.height < kReadFrom;
  std::vector<unsigned char> pixelRoom(static_cast<std::size_t>(window.Width()));
  for (int y = window.y0; y <= window.y1; y += atOnce) {
    const int numRows = std::min(atOnce, window.y1 - y + 1);
    const RowReader reader(*file_, numBytes * (isSmall ? numRows : window.Height()));
    const int first = layout_.isTopDown ? y : y + numRows - 1;
    const FileRows rows{CalcRowOffset(first) + pixels.FirstByteOf(window.x0), layout_.rowBytes, numBytes, numRows};
    const std::int64_t roomBytes = RowReader::CountRoomBytes(rows, numBytes);
    tagXArr1* const room = roomBytes <= INT32_MAX ? rooms_.GetBuffer(static_cast<int>(roomBytes), 1) : nullptr;
    if (!room) return FailAtRow("There is no memory for the bitmap's row ", y);
    const RowReader::Fetched fetched = reader.Fetch(rows, numBytes, room->data);
    if (!fetched.first) return FailAtRow("The disk fails at the bitmap's row ", y);
    for (int i = 0; i < numRows; ++i) {
      const unsigned char* const source = fetched.first + (layout_.isTopDown ? i : numRows - 1 - i) * fetched.stride;
      if (!pixels.Unpack(source, window.x0, static_cast<std::size_t>(window.Width()), pixelRoom.data(),
                         RowsOf(record, y - window.y0 + i).data())) {
        return FailAtRow(kNoSuchColour, y + i);
      }
    }
  }
  return true;
}

bool BmpImage::ReadRunLengths(const ReadRequest& window, ChannelReads::Record& record) {
  const BmpPixels pixels(layout_);
  std::vector<unsigned char> row(static_cast<std::size_t>(window.Width()));
  for (int y = window.y0; y <= window.y1; ++y) {
    switch (codes_->Decode(layout_.height - 1 - y, window.x0, row)) {
      case BmpCodes::Row::kMissing:
        return FailAtRow("The codes end before the bitmap's row ", y);
      case BmpCodes::Row::kBroken:
        return FailAtRow("The codes are damaged in the bitmap's row ", y);
      case BmpCodes::Row::kWhole:
        break;
    }
    if (!pixels.TakeColours(row.data(), row.size(), RowsOf(record, y - window.y0).data())) {
      return FailAtRow(kNoSuchColour, y);
    }
  }
  return true;
}

}  // namespace zrk
