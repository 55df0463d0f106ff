// How pixels are read for drawing. A window at a level begins and ends with whole samples of that level, as far as the
// band reaches. Otherwise samples of neighbouring windows would overlap in the world, and a seam would show.
//
// Reduced pixels come from the level data where a band has some. Not all bands ask it by themselves: those of formats
// that decode an image as a whole answer from that.

#include "display/BandSamples.h"

#include "base/ReadError.h"
#include "XStatistics.h"
#include "ZRMBandDRIO.h"
#include "ZRMBandXLD.h"

#include <algorithm>
#include <cmath>

namespace zrk {

namespace {

constexpr int kMaxLevel = 30;

/// The level data of a band, which some bands do not ask by themselves; null without any.
ZRMBand* FindLevelData(ZRMBand& band) {
  const ZRMBandDRIO* const source = band.GetLevelSource();
  ZRMBandXLD* const levels = source ? source->GetBandXLD() : nullptr;
  // The short form of a level file has statistics alone.
  return levels && levels->GetFile() ? levels : nullptr;
}

/// Levels are powers of two. Widens a range of columns or rows to whole samples of the level, as far as the band
/// reaches.
void AlignToLevel(int level, int size, int& first, int& last) {
  const int step = 1 << level;
  first &= ~(step - 1);
  last = std::min(last | (step - 1), size - 1);
  // The rest at the far edge has no sample of its own.
  if (last - first + 1 < step && first >= step) first -= step;
}

/// Some bands answer every level at full size. So the shape of what came tells the level; -1 where it fits none.
int ShiftOf(const tagXArr2& pixels, const Window& window, int level) {
  for (int shift = level; shift >= 0; --shift) {
    if (window.Width() >> shift == pixels.xSize && window.Height() >> shift == pixels.ySize) return shift;
  }
  return -1;
}

}  // namespace

int FitLevel(ZRMBand& band, int wanted) {
  ZRMBand* const levels = FindLevelData(band);
  int level = std::min({wanted, (levels ? levels : &band)->GetLevel(), kMaxLevel});
  while (level > 0 && (band.GetXSize() >> level == 0 || band.GetYSize() >> level == 0)) --level;
  return std::max(level, 0);
}

int LevelOfStep(double step) {
  // A step that should be whole may lack the last bits.
  constexpr double kAlmost = 1e-9;
  return step > 1.0 ? std::min(static_cast<int>(std::log2(step * (1.0 + kAlmost))), kMaxLevel) : 0;
}

namespace {

/// Level data that can't be read gives way to the band itself.
bool ReadLevel(ZRMBand& band, int level, const Window& window, int* cancel, tagXArr2*& pixels) {
  ZRMBand* const levels = level > 0 ? FindLevelData(band) : nullptr;
  tagXArr2* read = pixels;
  if (levels && levels->ReadSubset(read, level, window.x0, window.x1, window.y0, window.y1, cancel)) {
    pixels = read;
    return true;
  }
  if (levels) ForgetReadError();
  return band.ReadSubset(pixels, level, window.x0, window.x1, window.y0, window.y1, cancel) != 0;
}

}  // namespace

/// Bands that fill the buffer they are given get one of the right size, and others never touch it.
bool ReadSamples(ZRMBand& band, int level, const Window& window, tagXArr2& strip, int* cancel, BandSamples& samples) {
  samples.window = window;
  AlignToLevel(level, band.GetXSize(), samples.window.x0, samples.window.x1);
  AlignToLevel(level, band.GetYSize(), samples.window.y0, samples.window.y1);
  const Window& whole = samples.window;
  if (!strip.Alloc(whole.Width() >> level, whole.Height() >> level, band.GetDataSize())) {
    NoteReadError(kReadNoMemory);
    return false;
  }
  samples.pixels = &strip;
  if (!ReadLevel(band, level, whole, cancel, samples.pixels)) return false;
  if (!samples.pixels || !samples.pixels->data || samples.pixels->elementSize != band.GetDataSize()) return false;
  samples.shift = ShiftOf(*samples.pixels, whole, level);
  if (samples.shift < 0) NoteReadError("The band answers with a window of another size");
  return samples.shift >= 0;
}

/// A million samples tell the range of a picture well enough, and are read in a moment.
bool MeasureWindow(ZRMBand& band, const Window& window, tagXSubsetStatistics& statistics) {
  constexpr std::int64_t kEnoughSamples = 1 << 20;
  if (!window.IsInside(band.GetXSize(), band.GetYSize())) return false;
  int level = 0;
  while (level < kMaxLevel && std::int64_t{window.Width() >> level} * (window.Height() >> level) > kEnoughSamples) {
    ++level;
  }
  tagXArr2 strip;
  BandSamples samples;
  if (!ReadSamples(band, FitLevel(band, level), window, strip, nullptr, samples)) return false;
  tagXSubsetStatistics found;
  if (!XfnXARR2CalcStatistics(samples.pixels, band.GetDataType(), found.minValue, found.maxValue, found.mean,
                              found.stdDev, found.histogram, band.GetNullValue())) {
    NoteReadError("The band has no sample that counts");
    return false;
  }
  statistics = found;
  return true;
}

}  // namespace zrk
