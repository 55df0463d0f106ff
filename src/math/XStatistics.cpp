// The public statistics over buffers: of a whole buffer at once, and the elements of statistics over a band that comes
// block by block. The loops stand in SampleSums.h. These functions check what they are given, choose the loop for the
// data type and the filter, and write outputs only when all is known to be good.
//
// Of the elements the first adds a block to sums and range, and the second adds it to the histogram. The range may grow
// from block to block, and then the counts so far move to their new bins.

#include "XStatistics.h"

#include "base/DataTypeVisit.h"
#include "math/SampleSums.h"

#include <algorithm>
#include <array>

int XfnXARR2CalcStatistics(const tagXArr2* buffer, int dataType, double& minValue, double& maxValue, double& mean,
                           double& stdDev, std::int64_t* histogram, double nullValue) {
  if (!buffer || !buffer->data || buffer->xSize <= 0 || buffer->ySize <= 0) return 0;
  zrk::Summary summary;
  zrk::VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    if (buffer->elementSize != static_cast<int>(sizeof(Sample))) return;
    const zrk::Samples<Sample> samples{
        reinterpret_cast<const Sample*>(buffer->data),
        static_cast<std::size_t>(buffer->xSize) * static_cast<std::size_t>(buffer->ySize)};
    zrk::WithFilter<Sample>(nullValue, [&](auto keep) { summary = zrk::Summarize(samples, keep, histogram); });
  });
  if (summary.count == 0) return 0;
  minValue = summary.minValue;
  maxValue = summary.maxValue;
  mean = summary.mean;
  stdDev = summary.stdDev;
  return 1;
}

namespace {

/// The window of a block that counts, cut to the block. It is empty where the window lies beside it.
struct Block {
  int dataType;
  int xSize;
  int x0, x1, y0, y1;

  Block(int width, int height, int type, int left, int right, int top, int bottom)
      : dataType(type),
        xSize(width),
        x0(std::max(left, 0)),
        x1(std::min(right, width - 1)),
        y0(std::max(top, 0)),
        y1(std::min(bottom, height - 1)) {}

  /// Calls `visit(Samples, keep)` for the part of each row. False for a data type that has no samples.
  template <class Visit>
  bool ForEachRow(const void* data, double nullValue, Visit&& visit) const {
    return zrk::VisitDataType(dataType, [&](auto zero) {
      using Sample = decltype(zero);
      zrk::WithFilter<Sample>(nullValue, [&](auto keep) {
        for (int y = y0; y <= y1 && x0 <= x1; ++y) {
          const Sample* row = static_cast<const Sample*>(data) + std::int64_t{y} * xSize;
          visit(zrk::Samples<Sample>{row + x0, static_cast<std::size_t>(x1 - x0 + 1)}, keep);
        }
      });
    });
  }
};

/// Moves counts to the bins of a range that has grown. Where in its bin a sample lay is not known any more, and so all
/// of a bin go where its middle goes.
void Regroup(std::int64_t* histogram, const zrk::Summary& before, const zrk::BinScale& bins) {
  // The range before the first block is [kNotSet, -kNotSet]. Nothing was counted in it.
  if (before.minValue > before.maxValue) return;
  std::array<std::int64_t, zrk::kNumBins> counts{};
  std::copy_n(histogram, counts.size(), counts.begin());
  std::fill_n(histogram, counts.size(), 0);
  const double range = before.maxValue - before.minValue;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const double middle = before.minValue + range * ((static_cast<double>(i) + 0.5) / zrk::kNumBins);
    if (counts[i] != 0) histogram[bins.BinOf(middle)] += counts[i];
  }
}

zrk::Summary RangeOf(double minValue, double maxValue) {
  zrk::Summary summary;
  summary.minValue = minValue;
  summary.maxValue = maxValue;
  return summary;
}

}  // namespace

int XfnGetSubsetStatElem1(const void* data, int xSize, int ySize, int dataType, double& sum, double& sumOfSquares,
                          double& minValue, double& maxValue, std::int64_t& count, int x0, int x1, int y0, int y1,
                          double nullValue) {
  if (!data || xSize <= 0 || ySize <= 0) return 0;
  const Block block(xSize, ySize, dataType, x0, x1, y0, y1);
  return block.ForEachRow(data, nullValue, [&](const auto& samples, auto keep) {
    const auto range = zrk::FindRange(samples, keep);
    // The limits that a range begins with must not reach the caller's, which may be further apart.
    if (range.count == 0) return;
    count += range.count;
    sum += range.sum;
    sumOfSquares += zrk::AddDeviations(samples, keep, 0.0, 1.0).squares;
    minValue = std::min(minValue, static_cast<double>(range.minValue));
    maxValue = std::max(maxValue, static_cast<double>(range.maxValue));
  });
}

int XfnGetSubsetStatElem3(const void* data, int xSize, int ySize, int dataType, double previousMin, double previousMax,
                          double minValue, double maxValue, std::int64_t* histogram, int x0, int x1, int y0, int y1,
                          double nullValue) {
  if (!data || !histogram || xSize <= 0 || ySize <= 0 || XfnGetDataSize(dataType) == 0) return 0;
  if (minValue > maxValue) return 1;  // nothing has counted so far
  const Block block(xSize, ySize, dataType, x0, x1, y0, y1);
  const zrk::Summary before = RangeOf(previousMin, previousMax);
  const zrk::BinScale bins(RangeOf(minValue, maxValue));
  if (previousMin != minValue || previousMax != maxValue) Regroup(histogram, before, bins);
  return block.ForEachRow(data, nullValue,
                          [&](const auto& samples, auto keep) { zrk::CountBins(samples, keep, bins, histogram); });
}
