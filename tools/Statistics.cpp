// Exact statistics are the library's, in one pass over all pixels of all bands. Quick ones are those of one read of a
// reduced level, as a whole.

#include "Statistics.h"

#include "Dataset.h"
#include "XExactStatistics.h"
#include "XReadPolicy.h"
#include "XStatistics.h"
#include "ZRMBand.h"

#include <algorithm>
#include <span>

namespace {

/// The share of decoding where an image is decoded as a whole.
constexpr int kDecodePercent = 70;

const char* const kNotComputed = "the statistics can't be computed";

/// No histogram is shown, and some would need a second pass over the pixels.
bool CalcExactly(std::span<ZRMBand* const> bands, XThread& thread) {
  return XfnCalcExactStatistics(bands, 0, &thread) != 0;
}

/// Some bands answer a level at full resolution.
int LevelOf(const ZRMBand& band, const tagXArr2& pixels, int level) {
  return pixels.xSize == band.GetXSize() && pixels.ySize == band.GetYSize() ? 0 : level;
}

bool CalcAtLevel(ZRMBand& band, int level, XThread& thread, StatisticsSource& source) {
  tagXArr2* pixels = nullptr;
  double least = 0.0, most = 0.0, mean = 0.0, deviation = 0.0;
  const int isRead =
      band.ReadSubset(pixels, level, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, thread.GetStatePtr());
  if (!isRead || !pixels) return false;
  if (!XfnXARR2CalcStatistics(pixels, band.GetDataType(), least, most, mean, deviation, nullptr, band.GetNullValue())) {
    return false;
  }
  band.SetBandMin(least);
  band.SetBandMax(most);
  band.SetBandMean(mean);
  band.SetBandStdDev(deviation);
  source = {StatisticsSource::Kind::kPixels, LevelOf(band, *pixels, level)};
  return true;
}

/// A band without levels is measured as a whole, which takes little memory.
bool CalcQuickly(ZRMBand& band, XThread& thread, StatisticsSource& source) {
  const int level = std::max(band.GetLevel() - 1, 0);
  if (level > 0) return CalcAtLevel(band, level, thread, source);
  source = {StatisticsSource::Kind::kPixels, 0};
  ZRMBand* const alone = &band;
  return CalcExactly({&alone, 1}, thread);
}

}  // namespace

/// One decoding serves all bands.
bool ComputeExactStatistics(XRSFile& file, XThread& thread, std::vector<StatisticsSource>& sources, std::string& err) {
  std::vector<ZRMBand*> bands;
  for (int i = 0; i < file.GetNumOfBands(); ++i) bands.push_back(file.GetBandAt(i));
  if (bands.empty()) return true;
  if (!DecodeAhead(*bands.front(), kDecodePercent, thread, err)) return false;
  XfnForgetLastReadError();
  if (!CalcExactly(bands, thread)) {
    err = WhyNotRead(kNotComputed);
    return false;
  }
  sources.assign(bands.size(), {StatisticsSource::Kind::kPixels, 0});
  return true;
}

bool ComputeQuickStatistics(XRSFile& file, XThread& thread, std::vector<StatisticsSource>& sources, std::string& err) {
  const int numBands = file.GetNumOfBands();
  sources.assign(static_cast<std::size_t>(numBands), {});
  for (int i = 0; i < numBands; ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    if (thread.GetState() != XThread::kStateRun) return false;
    if (band.GetBandMean() != kNotSet) continue;
    if (!DecodeAhead(band, kDecodePercent, thread, err)) return false;
    XfnForgetLastReadError();
    if (!CalcQuickly(band, thread, sources[static_cast<std::size_t>(i)])) {
      err = WhyNotRead(kNotComputed);
      return false;
    }
    thread.CallbackPercent(100.0 * (i + 1) / numBands);
  }
  return true;
}

bool MeasureQuickly(ZRMBand& band, XThread& thread) {
  StatisticsSource source;
  return CalcQuickly(band, thread, source);
}
