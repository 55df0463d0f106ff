// A window is put together block by block, as the file has them. One block at a time is in memory.
//
// The positions x0 + i * 2^n of the image tell how many samples of the result a block gives, and where they land. They
// are taken from these very positions. A plan that begins anew takes them from where the window enters the block, which
// is its first pixel for all blocks but the first: the phase of the sampling then begins anew at each seam.

#include "core/model/BlockWindow.h"

#include "base/ReadError.h"
#include "core/model/BlockSpan.h"
#include "math/CopyBlock.h"
#include "math/Interleave.h"
#include "XString.h"
#include "XThread.h"

#include <algorithm>
#include <vector>

namespace zrk {

namespace {

class BlockWindow {
 public:
  BlockWindow(BlockSource& source, const BlockPlan& plan, tagXArr2& out) : source_(source), plan_(plan), out_(out) {}

  bool Read(const int* cancel) {
    const ReadRequest& request = plan_.request;
    const int blockWidth = plan_.grid.blockWidth, blockHeight = plan_.grid.blockHeight;
    for (int by = request.y0 / blockHeight; by <= request.y1 / blockHeight; ++by) {
      const BlockSpan rows = SpanOf(by, blockHeight, request.y0, request.level, out_.ySize, plan_.beginsAnew);
      for (int bx = request.x0 / blockWidth; rows.count > 0 && bx <= request.x1 / blockWidth; ++bx) {
        if (XfnIsStopRequested(cancel)) return FailRead(kReadStopped);
        const BlockSpan columns = SpanOf(bx, blockWidth, request.x0, request.level, out_.xSize, plan_.beginsAnew);
        if (columns.count > 0 && !TakeBlock(bx, by, columns, rows)) return false;
      }
    }
    return true;
  }

 private:
  std::int64_t NumberOf(int bx, int by) const {
    constexpr int kBlockBits = 40;
    return plan_.plane << kBlockBits | plan_.grid.NumberOf(bx, by);
  }

  bool TakeBlock(int bx, int by, const BlockSpan& columns, const BlockSpan& rows) {
    BlockClaim claim(plan_.file, NumberOf(bx, by));
    const unsigned char* block = claim.IsDecoded() ? claim.GetRoom()->Get() : nullptr;
    if (!block && FillsRows(columns, rows) && !claim.MakeRoom(CountBlockBytes())) {
      bool isCut = false;
      return ReadBlock(bx, by, out_.Row(rows.first), isCut);
    }
    if (!block) block = ReadRoom(claim, bx, by);
    if (block) Copy(block, columns, rows);
    return block != nullptr;
  }

  std::int64_t CountBlockBytes() const {
    return std::int64_t{plan_.grid.blockWidth} * plan_.grid.blockHeight * plan_.sampleBytes;
  }

  /// Whether a block is whole rows of the result, into which it can be read.
  bool FillsRows(const BlockSpan& columns, const BlockSpan& rows) const {
    return plan_.request.level == 0 && columns.count == plan_.grid.blockWidth && columns.count == out_.xSize &&
           rows.count == plan_.grid.blockHeight;
  }

  bool ReadBlock(int bx, int by, unsigned char* out, bool& isCut) {
    if (!source_.ReadBlock(bx, by, out, isCut)) return false;
    if (!isCut || plan_.takesCutBlocks) return true;
    XString sentence;
    sentence.Format("The file doesn't hold all of the block at column %d and row %d of blocks", bx, by);
    NoteReadError(sentence);
    return false;
  }

  /// Reads a block into memory that is kept, where the caller has granted some, or into that of this read.
  const unsigned char* ReadRoom(BlockClaim& claim, int bx, int by) {
    const std::shared_ptr<BlockRoom>& room = claim.GetRoom() ? claim.GetRoom() : claim.MakeRoom(CountBlockBytes());
    if (!room) block_.resize(static_cast<std::size_t>(CountBlockBytes()));
    unsigned char* const block = room ? room->Get() : block_.data();
    bool isCut = false;
    if (!ReadBlock(bx, by, block, isCut)) return nullptr;
    if (room && !isCut) claim.Keep();
    return block;
  }

  void Copy(const unsigned char* block, const BlockSpan& columns, const BlockSpan& rows) {
    const std::ptrdiff_t step = std::ptrdiff_t{1} << plan_.request.level;
    const std::ptrdiff_t stride = std::ptrdiff_t{plan_.grid.blockWidth} * plan_.sampleBytes;
    const std::ptrdiff_t outStride = std::ptrdiff_t{out_.xSize} * plan_.sampleBytes;
    const unsigned char* source = block + rows.local * stride + std::ptrdiff_t{columns.local} * plan_.sampleBytes;
    unsigned char* target = out_.Row(rows.first) + std::ptrdiff_t{columns.first} * plan_.sampleBytes;
    if (step == 1) {
      CopyBlock(source, stride, target, outStride, std::int64_t{columns.count} * plan_.sampleBytes, rows.count);
      return;
    }
    const auto count = static_cast<std::size_t>(columns.count);
    for (int j = 0; j < rows.count; ++j, source += step * stride, target += outStride) {
      GatherSamples(source, count, step * plan_.sampleBytes, plan_.sampleBytes, target);
    }
  }

  BlockSource& source_;
  const BlockPlan& plan_;
  tagXArr2& out_;
  std::vector<unsigned char> block_;
};

}  // namespace

BlockSource::~BlockSource() = default;

bool ReadBlockWindow(BlockSource& source, const BlockPlan& plan, tagXArr2& out, const int* cancel) {
  return BlockWindow(source, plan, out).Read(cancel);
}

}  // namespace zrk
