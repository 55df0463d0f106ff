#include "core/level/WindowStatistics.h"

#include "base/OwnReads.h"
#include "core/level/RowBlocks.h"

#include <algorithm>

namespace zrk {
namespace {

/// Calls `visit(block number, samples, count)` for blocks of rows from the top down.
template <class Visit>
PyramidResult ForEachBlock(ZRMBand& band, const Window& window, const XThread* thread, Visit&& visit) {
  const OwnReads own;
  constexpr long kWantedRows = 200;
  const int wanted = XfnCalcBlockHeight(&band, kWantedRows);
  for (int y = window.y0, block = 0; y <= window.y1; ++block) {
    if (thread && thread->GetState() != XThread::kStateRun) return PyramidResult::kStopped;
    const int end = y + std::min(CountBlockRows(band, y, wanted), window.y1 - y + 1);
    tagXArr2* data = nullptr;
    if (!band.ReadSubset(data, 0, window.x0, window.x1, y, end - 1, nullptr)) return PyramidResult::kReadFailed;
    visit(block, data->data, static_cast<std::size_t>(data->xSize) * static_cast<std::size_t>(data->ySize));
    y = end;
  }
  return PyramidResult::kDone;
}

}  // namespace

PyramidResult MeasureWindow(ZRMBand& band, const Window& window, XThread* thread, Summary& summary,
                            Histogram& histogram) {
  SampleStatistics statistics(band.GetDataType(), band.GetNullValue());
  const PyramidResult measured =
      ForEachBlock(band, window, thread,
                   [&](int block, const void* samples, std::size_t count) { statistics.Add(block, samples, count); });
  if (measured != PyramidResult::kDone) return measured;
  summary = statistics.Summarize();
  histogram = {};
  if (summary.count == 0) return PyramidResult::kDone;
  if (statistics.HasHistogram()) {
    histogram = statistics.GetHistogram();
    return PyramidResult::kDone;
  }
  HistogramCounter counter(band.GetDataType(), band.GetNullValue(), summary);
  const PyramidResult counted = ForEachBlock(
      band, window, thread, [&](int, const void* samples, std::size_t count) { counter.Add(samples, count); });
  histogram = counter.Get();
  return counted;
}

}  // namespace zrk
