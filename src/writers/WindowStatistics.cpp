#include "writers/WindowStatistics.h"

#include "writers/RowBlocks.h"

#include <algorithm>

namespace zrk {
namespace {

/// Calls `visit(block number, samples, count)` for blocks of rows from the top down.
template <class Visit>
bool ForEachBlock(ZRMBand& band, const SourceWindow& window, XThread* thread, XString& err, Visit&& visit) {
  constexpr long kWantedRows = 200;
  const int wanted = XfnCalcBlockHeight(&band, kWantedRows);
  for (int y = window.y0, block = 0; y <= window.y1; ++block) {
    if (thread && thread->GetState() != XThread::kStateRun) return false;
    const int end = y + std::min(CountBlockRows(band, y, wanted), window.y1 - y + 1);
    tagXArr2* data = nullptr;
    if (!band.ReadSubset(data, 0, window.x0, window.x1, y, end - 1, nullptr)) {
      err = "Fail to read data";
      return false;
    }
    visit(block, data->data, static_cast<std::size_t>(data->xSize) * static_cast<std::size_t>(data->ySize));
    y = end;
  }
  return true;
}

}  // namespace

bool MeasureWindow(ZRMBand& band, const SourceWindow& window, XThread* thread, Summary& summary, Histogram& histogram,
                   XString& err) {
  SampleStatistics statistics(band.GetDataType(), band.GetNullValue());
  const bool isMeasured =
      ForEachBlock(band, window, thread, err,
                   [&](int block, const void* samples, std::size_t count) { statistics.Add(block, samples, count); });
  if (!isMeasured) return false;
  summary = statistics.Summarize();
  histogram = {};
  if (summary.count == 0) return true;
  if (statistics.HasHistogram()) {
    histogram = statistics.GetHistogram();
    return true;
  }
  HistogramCounter counter(band.GetDataType(), band.GetNullValue(), summary);
  const bool isCounted = ForEachBlock(
      band, window, thread, err, [&](int, const void* samples, std::size_t count) { counter.Add(samples, count); });
  histogram = counter.Get();
  return isCounted;
}

}  // namespace zrk
