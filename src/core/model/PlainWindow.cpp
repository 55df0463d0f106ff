// A window of plain blocks is copied and not decoded. Small windows come out of a mapping of the file, and large ones
// by positional reads (RowReader). Many formats have blocks of a few kilobytes, which lie one behind the other. A call
// of the system takes as long as copying such a block, and so neighbours in a row of blocks are read with one call.
//
// A window that takes few rows of each block is read by rows instead. So is a window of large blocks. Its rows go
// straight to the result if nothing lies between their samples.

#include "core/model/PlainWindow.h"

#include "base/Checked.h"
#include "base/PixelStorage.h"
#include "core/model/BlockSpan.h"
#include "math/CopyBlock.h"
#include "math/CopyFileRows.h"
#include "math/Interleave.h"
#include "XThread.h"

#include <algorithm>
#include <cstring>

namespace zrk {

namespace {

/// What is read with one call: as much as stays in a processor's second cache.
constexpr std::int64_t kPieceBytes = 256 << 10;
/// What is copied of a block, at most, before a stop is heard. A usual window has less, and is copied with one call.
constexpr std::int64_t kStopBytes = 4 << 20;
/// What is read between two blocks rather than left out.
constexpr std::int64_t kBlockGap = 4096;

std::uint16_t Turned(std::uint16_t word) {
  return __builtin_bswap16(word);
}

std::uint32_t Turned(std::uint32_t word) {
  return __builtin_bswap32(word);
}

std::uint64_t Turned(std::uint64_t word) {
  return __builtin_bswap64(word);
}

/// Puts the least significant byte of each number first.
template <class Word>
void TurnWords(unsigned char* bytes, std::int64_t count) {
  for (const unsigned char* const end = bytes + count; bytes < end; bytes += sizeof(Word)) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    word = Turned(word);
    std::memcpy(bytes, &word, sizeof word);
  }
}

class PlainWindow {
 public:
  PlainWindow(const PlainBlocks& blocks, const BlockPlan& plan, tagXArr2& out, const int* cancel)
      : blocks_(blocks),
        plan_(plan),
        out_(out),
        cancel_(cancel),
        outStride_(std::int64_t{out.xSize} * plan.sampleBytes),
        step_(std::int64_t{1} << plan.request.level),
        blockBytes_((blocks.grid.blockHeight - 1) * blocks.rowStride +
                    (blocks.grid.blockWidth - 1) * blocks.sampleStride + plan.sampleBytes),
        reader_(*blocks.file, std::int64_t{out.xSize} * out.ySize * blocks.sampleStride) {}

  bool Read() {
    const ReadRequest& request = plan_.request;
    const int blockHeight = blocks_.grid.blockHeight;
    for (int by = request.y0 / blockHeight; by <= request.y1 / blockHeight; ++by) {
      const BlockSpan rows = SpanOf(by, blockHeight, request.y0, request.level, out_.ySize, plan_.beginsAnew);
      if (rows.count > 0 && !TakeRowOfBlocks(by, rows)) return false;
    }
    return true;
  }

 private:
  bool TakeRowOfBlocks(int by, const BlockSpan& rows) {
    const int last = plan_.request.x1 / blocks_.grid.blockWidth;
    const bool takesWhole = blockBytes_ <= kPieceBytes && 2 * rows.count >= blocks_.grid.blockHeight;
    for (int bx = plan_.request.x0 / blocks_.grid.blockWidth; bx <= last;) {
      if (XfnIsStopRequested(cancel_)) return false;
      const int count = takesWhole ? CountTogether(bx, last, by) : 1;
      if (takesWhole ? !TakeWhole(bx, count, by, rows) : !TakeRows(bx, by, rows)) return false;
      bx += count;
    }
    return true;
  }

  /// How many blocks follow one another so closely that one call reads them.
  int CountTogether(int bx, int last, int by) const {
    const std::int64_t begin = blocks_.OffsetOf(bx, by);
    std::int64_t end = begin + blockBytes_;
    int count = 1;
    for (; bx + count <= last; ++count) {
      const std::int64_t next = blocks_.OffsetOf(bx + count, by);
      const bool isBehind = next >= end && next - end <= kBlockGap;
      if (!isBehind || next + blockBytes_ - begin > kPieceBytes) break;
      end = next + blockBytes_;
    }
    return count;
  }

  bool TakeWhole(int bx, int count, int by, const BlockSpan& rows) {
    const std::int64_t begin = blocks_.OffsetOf(bx, by);
    const std::int64_t bytes = blocks_.OffsetOf(bx + count - 1, by) + blockBytes_ - begin;
    const FileRows wanted = {begin, bytes, bytes, 1};
    if (!IsInFile(wanted)) return false;
    const unsigned char* const fetched = Fetch(wanted).first;
    for (int i = 0; fetched && i < count; ++i) {
      const BlockSpan columns = ColumnsOf(bx + i);
      const std::int64_t place = blocks_.OffsetOf(bx + i, by) - begin + PlaceInBlock(columns, rows);
      if (columns.count > 0) Copy({fetched + place, step_ * blocks_.rowStride}, columns, rows);
    }
    return fetched != nullptr;
  }

  /// A block may be as large as the image, and so its rows are taken in pieces.
  bool TakeRows(int bx, int by, const BlockSpan& rows) {
    const BlockSpan columns = ColumnsOf(bx);
    const std::int64_t offset = blocks_.OffsetOf(bx, by);
    if (columns.count == 0) return true;
    if (!IsInFile({offset, blockBytes_, blockBytes_, 1})) return false;
    FileRows wanted = {offset + PlaceInBlock(columns, rows), step_ * blocks_.rowStride,
                       (columns.count - 1) * step_ * blocks_.sampleStride + plan_.sampleBytes, rows.count};
    const std::int64_t fitting = AreDense() ? kStopBytes / wanted.rowBytes : kPieceBytes / wanted.stride;
    const auto atOnce = static_cast<int>(std::clamp<std::int64_t>(fitting, 1, rows.count));
    for (BlockSpan piece = rows; piece.first < rows.first + rows.count; piece.first += atOnce) {
      if (XfnIsStopRequested(cancel_)) return false;
      wanted.numRows = piece.count = std::min(atOnce, rows.first + rows.count - piece.first);
      if (!TakePiece(wanted, columns, piece)) return false;
      wanted.offset += atOnce * wanted.stride;
    }
    return true;
  }

  bool TakePiece(const FileRows& wanted, const BlockSpan& columns, const BlockSpan& piece) {
    if (AreDense()) {
      unsigned char* const target = Target(columns, piece);
      if (!CopyFileRows(reader_, wanted, target, outStride_)) return false;
      Turn(target, columns.count, piece.count);
      return true;
    }
    const RowReader::Fetched fetched = Fetch(wanted);
    if (fetched.first) Copy(fetched, columns, piece);
    return fetched.first != nullptr;
  }

  /// A mapping knows the length of the file. Otherwise it is asked once, because threads wait for one another there.
  bool IsInFile(const FileRows& bytes) {
    if (reader_.FindMapped(bytes)) return true;
    if (fileBytes_ < 0) fileBytes_ = blocks_.file->File().Size();
    return FitsWithin(bytes.offset, bytes.Bytes(), fileBytes_);
  }

  /// Whether samples of the result lie in the file one behind the other.
  bool AreDense() const { return step_ == 1 && blocks_.sampleStride == plan_.sampleBytes; }

  BlockSpan ColumnsOf(int bx) const {
    const ReadRequest& request = plan_.request;
    return SpanOf(bx, blocks_.grid.blockWidth, request.x0, request.level, out_.xSize, plan_.beginsAnew);
  }
  std::int64_t PlaceInBlock(const BlockSpan& columns, const BlockSpan& rows) const {
    return rows.local * blocks_.rowStride + columns.local * blocks_.sampleStride;
  }
  unsigned char* Target(const BlockSpan& columns, const BlockSpan& rows) const {
    return out_.Row(rows.first) + std::ptrdiff_t{columns.first} * plan_.sampleBytes;
  }

  RowReader::Fetched Fetch(const FileRows& wanted) {
    const auto roomBytes = static_cast<std::size_t>(RowReader::CountRoomBytes(wanted, wanted.rowBytes));
    if (!reader_.FindMapped(wanted) && !room_.Reserve(roomBytes)) return {};
    return reader_.Fetch(wanted, wanted.rowBytes, room_.Get());
  }

  void Copy(const RowReader::Fetched& from, const BlockSpan& columns, const BlockSpan& rows) const {
    unsigned char* const target = Target(columns, rows);
    const std::int64_t rowBytes = std::int64_t{columns.count} * plan_.sampleBytes;
    if (AreDense()) {
      CopyBlock(from.first, from.stride, target, outStride_, rowBytes, rows.count);
    } else {
      for (int y = 0; y < rows.count; ++y) {
        GatherSamples(from.first + y * from.stride, static_cast<std::size_t>(columns.count),
                      step_ * blocks_.sampleStride, plan_.sampleBytes, target + y * outStride_);
      }
    }
    Turn(target, columns.count, rows.count);
  }

  void Turn(unsigned char* target, int numColumns, int numRows) const {
    const std::int64_t rowBytes = std::int64_t{numColumns} * plan_.sampleBytes;
    for (int y = 0; blocks_.wordBytes > 1 && y < numRows; ++y, target += outStride_) {
      if (blocks_.wordBytes == 2) TurnWords<std::uint16_t>(target, rowBytes);
      if (blocks_.wordBytes == 4) TurnWords<std::uint32_t>(target, rowBytes);
      if (blocks_.wordBytes == 8) TurnWords<std::uint64_t>(target, rowBytes);
    }
  }

  const PlainBlocks& blocks_;
  const BlockPlan& plan_;
  tagXArr2& out_;
  const int* cancel_;
  std::int64_t outStride_, step_, blockBytes_;
  std::int64_t fileBytes_ = -1;  // of the file, once it was asked
  RowReader reader_;
  PixelStorage room_;
};

}  // namespace

bool ReadPlainWindow(const PlainBlocks& blocks, const BlockPlan& plan, tagXArr2& out, const int* cancel) {
  return PlainWindow(blocks, plan, out, cancel).Read();
}

}  // namespace zrk
