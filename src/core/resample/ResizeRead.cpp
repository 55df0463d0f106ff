// A window of a resized band is made row by row. A sampler tells which source rows and columns an output row needs, and
// makes it from them. This file brings the source rows. Neighbouring output rows share a strip of the source, some
// megabytes large, which is read at once. So there is no read for each row, and memory does not grow with the image.
//
// Two cases differ. Where the image becomes so small that one output row needs more source rows than a strip
// has, its mean is summed up strip by strip. At levels above 0 a full output row is made and then every 2^level-th
// pixel of it is taken, because a level is defined as that choice of the resized image's pixels.

#include "core/resample/ResizeRead.h"

#include "base/DataTypeVisit.h"
#include "base/OwnReads.h"
#include "core/resample/SourceStrips.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <algorithm>

namespace zrk {

namespace {

/// Up to so many rows under one output row are read in one piece, however wide they are.
constexpr int kRowsInOnePiece = 16;

}  // namespace

ResizeRead::ResizeRead(const RowSampler& sampler, ZRMBand& source, int left, int top, const ReadRequest& request,
                       ResizeScratch& scratch, int* cancel)
    : sampler_(sampler),
      source_(source),
      left_(left),
      top_(top),
      request_(request),
      scratch_(scratch),
      cancel_(cancel),
      lastColumn_(request.x0 + (((request.Width() >> request.level) - 1) << request.level)),
      columns_(sampler.ColumnsFor(request.x0, lastColumn_)),
      sampleBytes_(XfnGetDataSize(sampler.GetShape().dataType)),
      rowsAtATime_(RowsAtATime(columns_.Count(), sampleBytes_)) {}

bool ResizeRead::Fill(tagXArr2& out) {
  for (int j = 0; j < out.ySize;) {
    if (XfnIsStopRequested(cancel_)) return false;
    const int numRows = sampler_.RowsFor(OutRow(j)).Count();
    // Only means can be summed up a few rows at a time. The other methods need four rows at most.
    if (sampler_.GetAreaMean() && numRows > std::max(rowsAtATime_, kRowsInOnePiece)) {
      if (!FillTallRow(j, out)) return false;
      ++j;
    } else {
      const int last = LastOfStrip(j, out.ySize);
      if (!FillStrip(j, last, out)) return false;
      j = last + 1;
    }
  }
  return true;
}

/// The last output row that is made of the strip of the source that begins with the rows for output row j.
int ResizeRead::LastOfStrip(int j, int height) const {
  const int first = sampler_.RowsFor(OutRow(j)).first;
  int end = sampler_.RowsFor(OutRow(j)).last;
  while (j + 1 < height) {
    const PixelRange next = sampler_.RowsFor(OutRow(j + 1));
    // A few rows that nobody needs are read along; a wide gap is worth a read of its own.
    if (next.last - first + 1 > rowsAtATime_ || next.first > end + 1 + kRowsBridged) break;
    end = next.last;
    ++j;
  }
  return j;
}

/// Null where the read fails, and where the source answers with another shape than was asked for.
const tagXArr2* ResizeRead::ReadSource(PixelRange rows) {
  if (!scratch_.strip.Alloc(columns_.Count(), rows.Count(), sampleBytes_)) return nullptr;
  const OwnReads own;
  tagXArr2* pixels = &scratch_.strip;
  if (!source_.ReadSubset(pixels, 0, left_ + columns_.first, left_ + columns_.last, top_ + rows.first, top_ + rows.last,
                          cancel_)) {
    return nullptr;
  }
  const bool isRight = pixels && pixels->xSize == columns_.Count() && pixels->ySize == rows.Count() &&
                       pixels->elementSize == sampleBytes_;
  return isRight ? pixels : nullptr;
}

bool ResizeRead::FillStrip(int first, int last, tagXArr2& out) {
  const PixelRange strip{sampler_.RowsFor(OutRow(first)).first, sampler_.RowsFor(OutRow(last)).last};
  const tagXArr2* pixels = ReadSource(strip);
  if (!pixels) return false;
  for (int j = first; j <= last; ++j) {
    const PixelRange rows = sampler_.RowsFor(OutRow(j));
    scratch_.pointers.clear();
    for (int r = rows.first; r <= rows.last; ++r) scratch_.pointers.push_back(pixels->Row(r - strip.first));
    sampler_.Row(OutRow(j), request_.x0, lastColumn_, scratch_.pointers.data(), LineFor(out.Row(j)), scratch_.rows);
    Decimate(out.Row(j), out.xSize);
  }
  return true;
}

/// Makes one output row over more source rows than are kept at a time.
bool ResizeRead::FillTallRow(int j, tagXArr2& out) {
  const AreaMean& mean = *sampler_.GetAreaMean();
  const PixelRange rows = sampler_.RowsFor(OutRow(j));
  for (int r = rows.first; r <= rows.last;) {
    if (XfnIsStopRequested(cancel_)) return false;
    const PixelRange strip{r, rows.last - r < rowsAtATime_ ? rows.last : r + rowsAtATime_ - 1};
    const tagXArr2* pixels = ReadSource(strip);
    if (!pixels) return false;
    for (; r <= strip.last; ++r) {
      mean.AddRow(OutRow(j), r, request_.x0, lastColumn_, pixels->Row(r - strip.first), scratch_.rows.area);
    }
  }
  mean.FinishRow(request_.x0, lastColumn_, LineFor(out.Row(j)), scratch_.rows.area);
  Decimate(out.Row(j), out.xSize);
  return true;
}

/// Where a full output row is made: in the result itself at level 0, otherwise in a line of the thread's own.
unsigned char* ResizeRead::LineFor(unsigned char* row) {
  if (request_.level == 0) return row;
  scratch_.line.resize(static_cast<std::size_t>(lastColumn_ - request_.x0 + 1) *
                       static_cast<std::size_t>(sampleBytes_));
  return scratch_.line.data();
}

void ResizeRead::Decimate(unsigned char* row, int width) const {
  if (request_.level == 0) return;
  VisitDataType(sampler_.GetShape().dataType, [&](auto zero) {
    using Sample = decltype(zero);
    const auto* line = reinterpret_cast<const Sample*>(scratch_.line.data());
    auto* target = reinterpret_cast<Sample*>(row);
    for (int i = 0; i < width; ++i) target[i] = line[i << request_.level];
  });
}

}  // namespace zrk
