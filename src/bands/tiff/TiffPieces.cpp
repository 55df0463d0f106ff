// Brings pieces of blocks to their places in the results of a window. The caller has planned which piece of which block
// goes where (TiffWindow.cpp, TiffExactWindow.cpp). Plain blocks are read row by row out of the file, and no more of
// them than the window needs. All other blocks are decoded as a whole.

#include "bands/tiff/TiffPieces.h"

#include "math/CopyFileRows.h"
#include "math/Interleave.h"

#include <algorithm>

namespace zrk {
namespace {

/// Rows brought at once stay in the processor's cache until they are split.
constexpr std::int64_t kReadBytes = 256 << 10;

}  // namespace

TiffShare FindTiffShare(int block, int blockSize, int from, int level, int size) {
  const std::int64_t begin = std::int64_t{block} * blockSize, end = begin + blockSize;
  // The number of places below a bound.
  const auto below = [=](std::int64_t bound) {
    const std::int64_t count = (std::max<std::int64_t>(bound - from, 0) + (std::int64_t{1} << level) - 1) >> level;
    return static_cast<int>(std::min<std::int64_t>(count, size));
  };
  const int first = below(begin);
  return {first, below(end) - first, static_cast<int>(std::max<std::int64_t>(from - begin, 0))};
}

TiffPieces::TiffPieces(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets)
    : decoder_(decoder),
      source_(decoder.GetSource()),
      request_(request),
      targets_(targets),
      width_(targets.front().out->xSize),
      height_(targets.front().out->ySize),
      reader_(*source_.file, CountWindowBytes()) {
  samplers_.reserve(targets.size());
  const bool isSwapped = source_.isPlain && source_.layout.tags.isSwapped;
  for (const TiffTarget& target : targets) samplers_.emplace_back(source_.layout, target.channel, isSwapped);
  outStride_ = std::int64_t{width_} * SampleBytes();
  if (CanSplit()) planes_.resize(targets.size());
  // The length is asked once a window and not once a block.
  if (source_.isPlain) fileBytes_ = source_.file->File().Size();
}

bool TiffPieces::Read(int bx, int by, const TiffPiece& piece, int firstRow, const Place& place) {
  if (source_.isPlain) {
    const auto offset = decoder_.FindPlainBlock(BlockAt(bx, by), fileBytes_);
    return offset && ReadPlain(*offset + firstRow * source_.rowBytes, piece, place);
  }
  auto rows = DecodeBlock(bx, by);
  if (!rows) return false;
  rows->data += firstRow * rows->stride;
  rows->numRows -= firstRow;
  Take(*rows, 0, source_.rowBytes, piece, place);
  return true;
}

void TiffPieces::Take(const TiffRows& rows, std::int64_t firstByte, std::int64_t numBytes, const TiffPiece& piece,
                      const Place& place) {
  if (!planes_.empty() && rows.planeBytes == 0 && rows.numRows >= piece.numRows) {
    const std::int64_t pixelBytes = std::ssize(samplers_) * SampleBytes();
    Split(rows.data + (piece.column * pixelBytes - firstByte), rows.stride, piece, place);
    return;
  }
  for (std::size_t i = 0; i < samplers_.size(); ++i) {
    samplers_[i].Take(rows, firstByte, numBytes, piece, At(targets_[i], place), outStride_);
  }
}

/// All samples of the pixels, which are looked at once.
void TiffPieces::Split(const unsigned char* pixels, std::int64_t stride, const TiffPiece& piece, const Place& place) {
  const auto numSamples = static_cast<int>(targets_.size());
  for (int y = 0; y < piece.numRows; ++y, pixels += stride) {
    const auto at = [&](const TiffTarget& target) { return At(target, {place.x, place.y + y}); };
    std::ranges::transform(targets_, planes_.begin(), at);
    SplitSamples(pixels, static_cast<std::size_t>(piece.numColumns), numSamples, SampleBytes(), planes_.data());
  }
}

/// Whether all samples of the pixels are wanted, in their order and as they are.
bool TiffPieces::CanSplit() const {
  if (samplers_.size() < 2 || request_.level != 0) return false;
  for (std::size_t i = 0; i < samplers_.size(); ++i) {
    if (targets_[i].channel != static_cast<int>(i) || !samplers_[i].CopiesSamples(samplers_.size())) return false;
  }
  return true;
}

/// Blocks that are decoded don't come through the reader.
std::int64_t TiffPieces::CountWindowBytes() const {
  if (!source_.isPlain) return INT64_MAX;
  const std::int64_t pixelBytes = std::int64_t{targets_.front().out->elementSize} * source_.SamplesTogether();
  return pixelBytes * width_ * height_;
}

int TiffPieces::BlockAt(int bx, int by) const {
  return source_.BlockAt(bx, by, source_.layout.SampleOf(targets_.front().channel));
}

std::optional<TiffRows> TiffPieces::DecodeBlock(int bx, int by) {
  switch (source_.layout.GetReader()) {
    case TiffReader::kRgba:
      return decoder_.DecodeColours(bx, by);
    case TiffReader::kSplitBitmap:
      return decoder_.DecodeFirstRow();
    default:
      return decoder_.DecodeBlock(BlockAt(bx, by));
  }
}

/// The rows of a piece begin at `offset`. Samples that need no work come straight to their place. Others come some
/// rows at a time, and long rows in parts.
bool TiffPieces::ReadPlain(std::int64_t offset, const TiffPiece& piece, const Place& place) {
  if (targets_.size() == 1 && samplers_.front().CopiesRows(piece)) {
    const std::int64_t sampleBytes = SampleBytes(), numBytes = piece.numColumns * sampleBytes;
    const FileRows rows{offset + piece.column * sampleBytes, source_.rowBytes, numBytes, piece.numRows};
    return CopyFileRows(reader_, rows, At(targets_.front(), place), outStride_);
  }
  std::int64_t firstByte = 0, numBytes = 0;
  samplers_.front().FindBytes({piece.column, 2, 1, piece.step}, firstByte, numBytes);
  const auto columnsAtOnce = static_cast<int>(std::clamp<std::int64_t>(kReadBytes / numBytes, 1, piece.numColumns));
  for (int x = 0; x < piece.numColumns; x += columnsAtOnce) {
    TiffPiece part = piece;
    part.column = piece.column + x * piece.step;
    part.numColumns = std::min(columnsAtOnce, piece.numColumns - x);
    if (!ReadPlainPart(offset, part, {place.x + x, place.y})) return false;
  }
  return true;
}

bool TiffPieces::ReadPlainPart(std::int64_t offset, const TiffPiece& piece, const Place& place) {
  std::int64_t firstByte = 0, numBytes = 0;
  samplers_.front().FindBytes(piece, firstByte, numBytes);
  const std::int64_t stride = source_.rowBytes * piece.step;
  // The sampler steps over rows of the block. The rows that are brought are laid out as if those between were there.
  const std::int64_t pitch = (numBytes + piece.step - 1) / piece.step * piece.step;
  const auto rowsAtOnce = static_cast<int>(std::clamp<std::int64_t>(kReadBytes / pitch, 1, piece.numRows));
  for (int y = 0; y < piece.numRows; y += rowsAtOnce) {
    TiffPiece part = piece;
    part.numRows = std::min(rowsAtOnce, piece.numRows - y);
    const FileRows wanted{offset + y * stride + firstByte, stride, numBytes, part.numRows};
    const RowReader::Fetched fetched = decoder_.FetchRows(reader_, wanted, pitch);
    if (!fetched.first) return false;
    const TiffRows rows{fetched.first, fetched.stride / piece.step, (part.numRows - 1) * piece.step + 1};
    Take(rows, firstByte, numBytes, part, {place.x, place.y + y});
  }
  return true;
}

}  // namespace zrk
