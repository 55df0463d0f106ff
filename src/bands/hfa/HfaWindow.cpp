// A window is put together block by block, as the file has them. One block at a time is in memory.
//
// The positions x0 + i * 2^n of the image tell how many samples of the result a block gives, and where they land. Exact
// reads take them from these very positions. Compatible ones take them from where the window enters the block, which
// is its first pixel for all blocks but the first: the phase of the sampling begins anew at each seam.

#include "bands/hfa/HfaWindow.h"

#include "base/ReadError.h"
#include "math/Interleave.h"
#include "XDataType.h"
#include "XString.h"
#include "XThread.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zrk {

namespace {

/// The samples that a block gives along one axis.
struct BlockSpan {
  int first = 0;  ///< in the result
  int count = 0;
  int local = 0;  ///< of the first of them, in the block
};

/// `from` and `step` are positions of the image, `size` the samples of the result.
BlockSpan SpanOf(int block, int blockSize, int from, int level, int size, bool restarts) {
  const std::int64_t step = std::int64_t{1} << level, begin = std::int64_t{block} * blockSize;
  const auto samplesBefore = [&](std::int64_t position) {
    return position <= from ? 0 : std::min<std::int64_t>((position - from + step - 1) / step, size);
  };
  BlockSpan span;
  span.first = static_cast<int>(samplesBefore(begin));
  span.count = static_cast<int>(samplesBefore(begin + blockSize)) - span.first;
  const std::int64_t position = restarts ? std::max<std::int64_t>(from, begin) : from + span.first * step;
  span.local = span.count > 0 ? static_cast<int>(position - begin) : 0;
  return span;
}

class HfaWindow {
 public:
  HfaWindow(HfaFile::Loan& loan, int layer, const HfaPlan& plan, tagXArr2& out)
      : loan_(loan),
        layer_(layer),
        plan_(plan),
        out_(out),
        sampleBytes_(plan.sampleBytes),
        block_(static_cast<std::size_t>(plan.grid.blockWidth) * static_cast<std::size_t>(plan.grid.blockHeight) *
               static_cast<std::size_t>(sampleBytes_)) {}

  bool Read(const int* cancel) {
    const ReadRequest& request = plan_.request;
    const int blockWidth = plan_.grid.blockWidth, blockHeight = plan_.grid.blockHeight;
    for (int by = request.y0 / blockHeight; by <= request.y1 / blockHeight; ++by) {
      const BlockSpan rows = SpanOf(by, blockHeight, request.y0, request.level, out_.ySize, plan_.isCompatible);
      for (int bx = request.x0 / blockWidth; rows.count > 0 && bx <= request.x1 / blockWidth; ++bx) {
        if (XfnIsStopRequested(cancel)) return FailRead(kReadStopped);
        const BlockSpan columns = SpanOf(bx, blockWidth, request.x0, request.level, out_.xSize, plan_.isCompatible);
        if (columns.count == 0) continue;
        BlockClaim claim(&loan_.GetBlocks(), NumberOf(bx, by));
        const unsigned char* const block = claim.IsDecoded() ? claim.GetRoom()->Get() : ReadBlock(claim, bx, by);
        if (!block) return false;
        Copy(block, columns, rows);
      }
    }
    return true;
  }

 private:
  /// Of no other block of the file: layers and overviews have numbers of their own.
  std::int64_t NumberOf(int bx, int by) const {
    constexpr std::int64_t kMaxOverviews = 64;
    constexpr int kBlockBits = 40;
    const std::int64_t across = (std::int64_t{plan_.grid.width} - 1) / plan_.grid.blockWidth + 1;
    return (layer_ * (kMaxOverviews + 1) + plan_.overview + 1) << kBlockBits | (by * across + bx);
  }

  /// Reads a block into memory that is kept, where the caller has granted some, or into that of this read. Compatible
  /// reads take what the file lacks of a block for 0.
  const unsigned char* ReadBlock(BlockClaim& claim, int bx, int by) {
    const std::shared_ptr<BlockRoom>& room = claim.MakeRoom(std::ssize(block_));
    unsigned char* const block = room ? room->Get() : block_.data();
    bool isCut = false;
    if (!loan_.ReadBlock(layer_, plan_.overview, bx, by, block, isCut)) return nullptr;
    if (isCut && !plan_.isCompatible) {
      XString sentence;
      sentence.Format("The file doesn't hold all of the block at column %d and row %d of blocks", bx, by);
      NoteReadError(sentence);
      return nullptr;
    }
    if (room && !isCut) claim.Keep();
    return block;
  }

  void Copy(const unsigned char* block, const BlockSpan& columns, const BlockSpan& rows) {
    const std::ptrdiff_t step = std::ptrdiff_t{1} << plan_.request.level;
    const std::ptrdiff_t stride = std::ptrdiff_t{plan_.grid.blockWidth} * sampleBytes_;
    const unsigned char* source = block + rows.local * stride + std::ptrdiff_t{columns.local} * sampleBytes_;
    for (int j = 0; j < rows.count; ++j, source += step * stride) {
      unsigned char* const target = out_.Row(rows.first + j) + std::ptrdiff_t{columns.first} * sampleBytes_;
      const auto count = static_cast<std::size_t>(columns.count);
      if (step == 1) {
        std::memcpy(target, source, count * static_cast<std::size_t>(sampleBytes_));
      } else {
        GatherSamples(source, count, step * sampleBytes_, sampleBytes_, target);
      }
    }
  }

  HfaFile::Loan& loan_;
  int layer_;
  const HfaPlan& plan_;
  tagXArr2& out_;
  int sampleBytes_;
  std::vector<unsigned char> block_;
};

/// The pixel of an overview that a pixel of the image lies in.
int OnOverview(int position, int imageSize, int overviewSize) {
  const double step = static_cast<double>(imageSize) / overviewSize;
  return std::min(static_cast<int>(position / step), overviewSize - 1);
}

}  // namespace

HfaPlan PlanCompatibleHfa(const HfaLayer& layer, const ReadRequest& request) {
  HfaPlan plan{-1, layer.grid, request, true, XfnGetDataSize(layer.dataType)};
  if (request.level == 0 || plan.Width() == 0 || layer.overviews.empty()) return plan;
  // Sizes of pixels are told in pixels of the image here, so that the size of those in the world cancels out.
  const double wanted = (request.x1 - request.x0) / static_cast<double>(plan.Width());
  const auto distance = [&](const HfaGrid& overview) {
    return std::abs(static_cast<double>(layer.grid.width) / overview.width - wanted);
  };
  const auto best = std::ranges::min_element(layer.overviews, {}, distance);
  plan.overview = static_cast<int>(best - layer.overviews.begin());
  plan.grid = *best;
  plan.request = {
      0, OnOverview(request.x0, layer.grid.width, best->width), OnOverview(request.x1, layer.grid.width, best->width),
      OnOverview(request.y0, layer.grid.height, best->height), OnOverview(request.y1, layer.grid.height, best->height)};
  return plan;
}

HfaPlan PlanExactHfa(const HfaLayer& layer, const ReadRequest& request) {
  HfaPlan plan{-1, layer.grid, request, false, XfnGetDataSize(layer.dataType)};
  const int level = request.level;
  const auto isReduction = [&](const HfaGrid& overview) {
    return std::int64_t{overview.width} << level == layer.grid.width &&
           std::int64_t{overview.height} << level == layer.grid.height;
  };
  const auto found = std::ranges::find_if(layer.overviews, isReduction);
  if (level == 0 || found == layer.overviews.end()) return plan;
  const int x0 = request.x0 >> level, y0 = request.y0 >> level;
  plan.overview = static_cast<int>(found - layer.overviews.begin());
  plan.grid = *found;
  plan.request = {0, x0, x0 + plan.Width() - 1, y0, y0 + (request.Height() >> level) - 1};
  return plan;
}

bool ReadHfaWindow(HfaFile::Loan& loan, int layer, const HfaPlan& plan, tagXArr2& out, const int* cancel) {
  return HfaWindow(loan, layer, plan, out).Read(cancel);
}

}  // namespace zrk
