// A window is put together block by block. The places x0 + i * 2^n and y0 + j * 2^n of the image tell which samples of
// the result come out of a block, and where they land. Within the block they are taken from where the window enters it,
// at 0 in every block but the first, and not from where the places lie: the phase of the sampling begins anew at each
// seam, as the users of these levels know it.
//
// A block that can't be read, or that the file leaves out, takes no room in its row of blocks: those behind it move up,
// and what is missing at the end of the row is 0. Its rows stay, so that those below are in place.

#include "bands/tiff/TiffWindow.h"

#include "bands/tiff/TiffSampler.h"
#include "XThread.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace zrk {
namespace {

/// What a block of one direction gives to the window.
struct Share {
  int first = 0;  ///< of its samples in the result
  int count = 0;
  int local = 0;  ///< where in the block the first one is taken
};

/// `from` is the window's beginning and `size` the result's, of blocks of `blockSize`.
Share FindShare(int block, int blockSize, int from, int level, int size) {
  const std::int64_t begin = std::int64_t{block} * blockSize, end = begin + blockSize;
  // The number of places below a bound.
  const auto below = [=](std::int64_t bound) {
    const std::int64_t count = (std::max<std::int64_t>(bound - from, 0) + (std::int64_t{1} << level) - 1) >> level;
    return static_cast<int>(std::min<std::int64_t>(count, size));
  };
  const int first = below(begin);
  return {first, below(end) - first, static_cast<int>(std::max<std::int64_t>(from - begin, 0))};
}

class WindowReader {
 public:
  WindowReader(TiffDecoder& decoder, const ReadRequest& request, int channel, tagXArr2& out)
      : decoder_(decoder),
        source_(decoder.GetSource()),
        request_(request),
        channel_(channel),
        out_(out),
        sampler_(source_.layout, channel, source_.isPlain && source_.layout.tags.isSwapped),
        outStride_(std::int64_t{out.xSize} * sampler_.SampleBytes()) {
    if (!source_.isPlain) return;
    view_ = source_.file->View(outStride_ * out.ySize * source_.SamplesTogether());
    fileBytes_ = view_.empty() ? source_.file->File().Size() : std::ssize(view_);
  }

  bool Read(const int* cancel) {
    const int blockHeight = static_cast<int>(source_.layout.tags.blockHeight);
    for (int by = request_.y0 / blockHeight; by <= request_.y1 / blockHeight; ++by) {
      const Share rows = FindShare(by, blockHeight, request_.y0, request_.level, out_.ySize);
      if (rows.count > 0 && !ReadBlockRow(by, rows, cancel)) return false;
    }
    return true;
  }

 private:
  bool ReadBlockRow(int by, const Share& rows, const int* cancel) {
    const int blockWidth = static_cast<int>(source_.layout.tags.blockWidth);
    int column = 0;
    for (int bx = request_.x0 / blockWidth; bx <= request_.x1 / blockWidth; ++bx) {
      if (XfnIsStopRequested(cancel)) return false;
      const Share columns = FindShare(bx, blockWidth, request_.x0, request_.level, out_.xSize);
      if (columns.count == 0) continue;
      const TiffPiece piece{columns.local, columns.count, rows.count, 1 << request_.level};
      unsigned char* const target = out_.Row(rows.first) + std::int64_t{column} * sampler_.SampleBytes();
      if (ReadPiece(bx, by, piece, rows.local, target)) column += columns.count;
    }
    ClearRest(rows, column);
    return true;
  }

  void ClearRest(const Share& rows, int column) {
    if (column == out_.xSize) return;
    const std::int64_t taken = std::int64_t{column} * sampler_.SampleBytes();
    for (int y = rows.first; y < rows.first + rows.count; ++y) {
      std::memset(out_.Row(y) + taken, 0, static_cast<std::size_t>(outStride_ - taken));
    }
  }

  bool ReadPiece(int bx, int by, const TiffPiece& piece, int firstRow, unsigned char* target) {
    if (source_.isPlain) {
      const auto offset = decoder_.FindPlainBlock(BlockAt(bx, by), fileBytes_);
      if (!offset) return false;
      if (view_.empty()) return ReadPlain(*offset, piece, firstRow, target);
      TakeFromView(*offset, piece, firstRow, target);
      return true;
    }
    auto rows = DecodeBlock(bx, by);
    if (!rows) return false;
    rows->data += firstRow * rows->stride;
    rows->numRows -= firstRow;
    sampler_.Take(*rows, 0, source_.rowBytes, piece, target, outStride_);
    return true;
  }

  int BlockAt(int bx, int by) const { return source_.BlockAt(bx, by, source_.layout.SampleOf(channel_)); }

  std::optional<TiffRows> DecodeBlock(int bx, int by) {
    switch (source_.layout.GetReader()) {
      case TiffReader::kRgba:
        return decoder_.DecodeColours(bx, by);
      case TiffReader::kSplitBitmap:
        return decoder_.DecodeFirstRow();
      default:
        return decoder_.DecodeBlock(BlockAt(bx, by));
    }
  }

  void TakeFromView(std::int64_t offset, const TiffPiece& piece, int firstRow, unsigned char* target) const {
    const TiffRows rows{view_.data() + offset + firstRow * source_.rowBytes, source_.rowBytes, RowsBelow(firstRow)};
    sampler_.Take(rows, 0, source_.rowBytes, piece, target, outStride_);
  }

  int RowsBelow(int row) const { return static_cast<int>(source_.layout.tags.blockHeight) - row; }

  /// Rows come some at a time, with what lies between them where that is little, and long ones in parts.
  bool ReadPlain(std::int64_t offset, const TiffPiece& piece, int firstRow, unsigned char* target) {
    std::int64_t firstByte = 0, numBytes = 0;
    sampler_.FindBytes({piece.column, 2, 1, piece.step}, firstByte, numBytes);
    const auto columnsAtOnce = static_cast<int>(std::clamp<std::int64_t>(kReadBytes / numBytes, 1, piece.numColumns));
    for (int x = 0; x < piece.numColumns; x += columnsAtOnce) {
      TiffPiece part = piece;
      part.column = piece.column + x * piece.step;
      part.numColumns = std::min(columnsAtOnce, piece.numColumns - x);
      if (!ReadPlainPart(offset, part, firstRow, target + std::int64_t{x} * sampler_.SampleBytes())) return false;
    }
    return true;
  }

  bool ReadPlainPart(std::int64_t offset, const TiffPiece& piece, int firstRow, unsigned char* target) {
    std::int64_t firstByte = 0, numBytes = 0;
    sampler_.FindBytes(piece, firstByte, numBytes);
    const std::int64_t stride = piece.numRows > 1 ? source_.rowBytes * piece.step : source_.rowBytes;
    const auto rowsAtOnce =
        static_cast<int>(std::clamp<std::int64_t>((kReadBytes - numBytes) / stride + 1, 1, piece.numRows));
    offset += firstRow * source_.rowBytes + firstByte;
    for (int y = 0; y < piece.numRows; y += rowsAtOnce) {
      TiffPiece part = piece;
      part.numRows = std::min(rowsAtOnce, piece.numRows - y);
      const unsigned char* const bytes =
          decoder_.ReadBytes(offset + y * stride, (part.numRows - 1) * stride + numBytes);
      if (!bytes) return false;
      const TiffRows rows{bytes, source_.rowBytes, (part.numRows - 1) * piece.step + 1};
      sampler_.Take(rows, firstByte, numBytes, part, target + y * outStride_, outStride_);
    }
    return true;
  }

  static constexpr std::int64_t kReadBytes = 256 << 10;

  TiffDecoder& decoder_;
  const TiffSource& source_;
  const ReadRequest& request_;
  int channel_;
  tagXArr2& out_;
  TiffSampler sampler_;
  std::int64_t outStride_;
  std::span<const unsigned char> view_;
  std::int64_t fileBytes_ = 0;
};

}  // namespace

bool SampleTiff(TiffDecoder& decoder, const ReadRequest& request, int channel, const int* cancel, tagXArr2& out) {
  return WindowReader(decoder, request, channel, out).Read(cancel);
}

}  // namespace zrk
