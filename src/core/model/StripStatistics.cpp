// Statistics of a band whose decoder answers at full size whatever level is asked. A read of the whole band would hold
// all of it once more in memory. Strips are read instead, and each is given up for the next.

#include "core/model/StripStatistics.h"

#include "base/OwnReads.h"
#include "math/SampleStatistics.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cstdint>

namespace zrk {
namespace {

/// Enough pixels that a read costs little beside its decoding, and few enough beside any large image.
constexpr std::int64_t kStripPixels = 1 << 22;

/// The rows of a strip. They are whole steps of the level and whole decodes, so that strips put together are the whole
/// and nothing is decoded twice.
int CountStripRows(const ZRMBand& band, int level) {
  const std::int64_t step = std::int64_t{band.GetDecodeRows()} << level;
  const std::int64_t wanted = kStripPixels / std::max(band.GetXSize(), 1);
  return static_cast<int>(std::min<std::int64_t>(std::max<std::int64_t>(wanted / step, 1) * step, band.GetYSize()));
}

/// Adds all pixels. Rows at the end that make no step of the level go with the strip before them, since a read of them
/// alone would fail.
bool AddStrips(ZRMBand& band, int level, SampleStatistics& statistics) {
  const OwnReads own;
  const int height = band.GetYSize(), rows = CountStripRows(band, level);
  for (int y = 0; y < height;) {
    const bool isLast = std::int64_t{height} - y - rows < (std::int64_t{1} << level);
    const int end = isLast ? height : y + rows;
    tagXArr2* pixels = nullptr;
    if (!band.ReadSubset(pixels, level, 0, band.GetXSize() - 1, y, end - 1, nullptr)) return false;
    statistics.Add(0, pixels->data, static_cast<std::size_t>(pixels->xSize) * static_cast<std::size_t>(pixels->ySize));
    y = end;
  }
  return true;
}

}  // namespace

/// A null histogram is passed over by the band itself.
void SetStatistics(ZRMBand& band, const Summary& summary, const std::int64_t* histogram) {
  band.SetBandMin(summary.minValue);
  band.SetBandMax(summary.maxValue);
  band.SetBandMean(summary.mean);
  band.SetBandStdDev(summary.stdDev);
  band.SetHistogram(histogram);
}

/// A level that leaves no pixel fails as it does for a band that reads its levels. Fields are set only when everything
/// was read.
int CalcStatisticsByStrips(ZRMBand& band, int level, bool withHistogram) {
  int left = 0, top = 0, width = 0, height = 0;
  if (!band.GetSubsetInfo(level, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, left, top, width, height)) return 0;
  SampleStatistics statistics(band.GetDataType(), band.GetNullValue());
  if (!AddStrips(band, level, statistics)) return 0;
  const Summary summary = statistics.Summarize();
  if (summary.count == 0) return 0;
  SetStatistics(band, summary, withHistogram ? statistics.GetHistogram().data() : nullptr);
  return 1;
}

}  // namespace zrk
