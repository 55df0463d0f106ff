// Samples for the positions of a tile. The window of the source around all positions is read once. Where the map shows
// the image much smaller than it is, a reduced level is read. A tile whose window would be too large is halved.
//
// Most tiles lie within the image as a whole, so that each pixel has its four samples. Their loop looks at nothing but
// these.
//
// Whole numbers of a position are centres of pixels, so that a pixel reaches half a pixel to each side.

#include "core/resample/OrthoSampler.h"

#include "base/DataTypeVisit.h"
#include "base/ReadError.h"
#include "math/SampleCast.h"
#include "XThread.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace zrk {
namespace {

/// Samples that are read at once, at most.
constexpr std::int64_t kMaxSamples = std::int64_t{1} << 22;

/// A position at full resolution as one of a level.
double AtLevel(double position, int level) {
  return std::ldexp(position + 0.5, -level) - 0.5;
}

bool IsOver(double position, int size) {
  return position >= -0.5 && position < size - 0.5;
}

}  // namespace

struct OrthoSampler::Target {
  tagXArr2& out;
  int x;
  int y;
};

bool OrthoSampler::Fill(const OrthoTile& tile, tagXArr2& out, int outX, int outY, int* cancel) {
  if (XfnIsStopRequested(cancel)) return FailRead(kReadStopped) != 0;
  tile_ = tile;
  places_.Find(tile);
  const Range inner = FindInnerRange();
  if (!inner.IsEmpty() && inner.Count() <= kMaxSamples) return FillInner(inner, {out, outX, outY}, cancel);
  return FillPart({0, tile.width - 1, 0, tile.height - 1}, {out, outX, outY}, cancel);
}

bool OrthoSampler::FillInner(const Range& range, const Target& target, int* cancel) {
  const tagXArr2* const samples = Read(range, cancel);
  if (!samples) return false;
  return VisitDataType(source_.band->GetDataType(),
                       [&](auto zero) { FillInnerFrom<decltype(zero)>(*samples, range, target); });
}

bool OrthoSampler::FillPart(const Part& part, const Target& target, int* cancel) {
  const Range range = FindRange(part);
  const bool isOnePixel = part.x0 == part.x1 && part.y0 == part.y1;
  if (!range.IsEmpty() && range.Count() > kMaxSamples && !isOnePixel) return FillHalves(part, target, cancel);
  const tagXArr2* const samples = range.IsEmpty() ? nullptr : Read(range, cancel);
  if (!range.IsEmpty() && !samples) return false;
  return VisitDataType(source_.band->GetDataType(),
                       [&](auto zero) { FillFrom<decltype(zero)>(samples, range, part, target); });
}

bool OrthoSampler::FillHalves(const Part& part, const Target& target, int* cancel) {
  const bool isWide = part.x1 - part.x0 >= part.y1 - part.y0;
  const int midX = isWide ? (part.x0 + part.x1) / 2 : part.x1;
  const int midY = isWide ? part.y1 : (part.y0 + part.y1) / 2;
  const Part second = isWide ? Part{midX + 1, part.x1, part.y0, part.y1} : Part{part.x0, part.x1, midY + 1, part.y1};
  return FillPart({part.x0, midX, part.y0, midY}, target, cancel) && FillPart(second, target, cancel);
}

/// The samples around the positions of all pixels; empty where a pixel has no position, or not all of its four samples.
OrthoSampler::Range OrthoSampler::FindInnerRange() const {
  constexpr double kRounding = 1e-6;
  const Range none = {0, -1, 0, -1};
  if (!places_.IsWhole()) return none;
  const int level = source_.level;
  const OrthoBounds& bounds = places_.GetBounds();
  const double x0 = AtLevel(bounds.minX - kRounding, level), x1 = AtLevel(bounds.maxX + kRounding, level);
  const double y0 = AtLevel(bounds.minY - kRounding, level), y1 = AtLevel(bounds.maxY + kRounding, level);
  const double lastX = (source_.band->GetXSize() >> level) - 1, lastY = (source_.band->GetYSize() >> level) - 1;
  if (!(x0 >= 0.0 && x1 < lastX && y0 >= 0.0 && y1 < lastY)) return none;
  return {static_cast<int>(x0), static_cast<int>(x1) + 1, static_cast<int>(y0), static_cast<int>(y1) + 1};
}

/// The samples around all positions that lie over the image; empty where none does.
OrthoSampler::Range OrthoSampler::FindRange(const Part& part) const {
  const int xSize = source_.band->GetXSize(), ySize = source_.band->GetYSize(), level = source_.level;
  double minX = xSize, maxX = -1.0, minY = ySize, maxY = -1.0;
  for (int j = part.y0; j <= part.y1; ++j) {
    const std::ptrdiff_t row = std::ptrdiff_t{j} * tile_.width;
    for (int i = part.x0; i <= part.x1; ++i) {
      const double x = places_.GetX()[row + i], y = places_.GetY()[row + i];
      if (!IsOver(x, xSize) || !IsOver(y, ySize)) continue;
      minX = std::min(minX, x), maxX = std::max(maxX, x);
      minY = std::min(minY, y), maxY = std::max(maxY, y);
    }
  }
  if (maxX < minX) return {0, -1, 0, -1};
  const auto first = [level](double position, int size) {
    return std::clamp(static_cast<int>(std::floor(AtLevel(position, level))), 0, (size >> level) - 1);
  };
  const auto last = [level](double position, int size) {
    return std::clamp(static_cast<int>(std::floor(AtLevel(position, level))) + 1, 0, (size >> level) - 1);
  };
  return {first(minX, xSize), last(maxX, xSize), first(minY, ySize), last(maxY, ySize)};
}

/// The window begins and ends where samples of the level do.
const tagXArr2* OrthoSampler::Read(const Range& range, int* cancel) const {
  const int level = source_.level;
  tagXArr2* samples = nullptr;
  const int isRead = source_.band->ReadSubset(samples, level, range.x0 << level, ((range.x1 + 1) << level) - 1,
                                              range.y0 << level, ((range.y1 + 1) << level) - 1, cancel);
  if (!isRead) return nullptr;
  const bool isWhole = samples->xSize > range.x1 - range.x0 && samples->ySize > range.y1 - range.y0 &&
                       samples->elementSize == source_.band->GetDataSize();
  if (!isWhole) NoteReadError("The source gives a window of another shape");
  return isWhole ? samples : nullptr;
}

template <class Sample>
Sample OrthoSampler::TakeNearest(const tagXArr2& samples, const Range& range, double x, double y) const {
  const int column = std::clamp(static_cast<int>(std::floor(x + 0.5)), range.x0, range.x1) - range.x0;
  const int row = std::clamp(static_cast<int>(std::floor(y + 0.5)), range.y0, range.y1) - range.y0;
  return reinterpret_cast<const Sample*>(samples.Row(row))[column];
}

/// At the rim of the image its outermost samples go on. Where one of the four means nothing, the nearest is taken.
template <class Sample>
Sample OrthoSampler::TakeFour(const tagXArr2& samples, const Range& range, double x, double y) const {
  const double left = std::floor(x), top = std::floor(y);
  const int column0 = std::clamp(static_cast<int>(left), range.x0, range.x1) - range.x0;
  const int column1 = std::clamp(static_cast<int>(left) + 1, range.x0, range.x1) - range.x0;
  const int row0 = std::clamp(static_cast<int>(top), range.y0, range.y1) - range.y0;
  const int row1 = std::clamp(static_cast<int>(top) + 1, range.y0, range.y1) - range.y0;
  const auto* const upper = reinterpret_cast<const Sample*>(samples.Row(row0));
  const auto* const lower = reinterpret_cast<const Sample*>(samples.Row(row1));
  const auto a = static_cast<double>(upper[column0]), b = static_cast<double>(upper[column1]);
  const auto c = static_cast<double>(lower[column0]), d = static_cast<double>(lower[column1]);
  const double null = source_.band->GetNullValue();
  if (a == null || b == null || c == null || d == null) return TakeNearest<Sample>(samples, range, x, y);
  const double u = x - left, v = y - top;
  const double above = a + (b - a) * u, below = c + (d - c) * u;
  return ToSample<Sample>(above + (below - above) * v);
}

template <class Sample>
void OrthoSampler::FillFrom(const tagXArr2* samples, const Range& range, const Part& part, const Target& target) const {
  const int xSize = source_.band->GetXSize(), ySize = source_.band->GetYSize();
  const auto null = ToSample<Sample>(nullValue_);
  const double scale = std::ldexp(1.0, -source_.level);
  for (int j = part.y0; j <= part.y1; ++j) {
    const std::ptrdiff_t first = std::ptrdiff_t{j} * tile_.width;
    const double* const xs = places_.GetX() + first;
    const double* const ys = places_.GetY() + first;
    auto* const out = reinterpret_cast<Sample*>(target.out.Row(target.y + j)) + target.x;
    for (int i = part.x0; i <= part.x1; ++i) {
      out[i] = null;
      if (!samples || !IsOver(xs[i], xSize) || !IsOver(ys[i], ySize)) continue;
      const double x = (xs[i] + 0.5) * scale - 0.5, y = (ys[i] + 0.5) * scale - 0.5;
      out[i] = method_ == kOrthoNearest ? TakeNearest<Sample>(*samples, range, x, y)
                                        : TakeFour<Sample>(*samples, range, x, y);
    }
  }
}

namespace {

/// Whether a sample may have a value. Reals may be infinite.
template <class Sample>
bool CanBe(double value) {
  using Limits = std::numeric_limits<Sample>;
  if (Limits::has_infinity && std::isinf(value)) return true;
  return value >= static_cast<double>(Limits::lowest()) && value <= static_cast<double>(Limits::max());
}

/// `ToSample` for a value between samples.
template <class Sample>
Sample RoundBetween(double value) {
  if constexpr (std::is_floating_point_v<Sample>) {
    return static_cast<Sample>(value);
  } else {
    const double half = std::is_signed_v<Sample> && value < 0.0 ? -0.5 : 0.5;
    return static_cast<Sample>(static_cast<std::int64_t>(value + half));
  }
}

/// Where a row of positions lies in a window of samples.
template <class Sample>
struct InnerRow {
  const Sample* samples;
  std::ptrdiff_t samplesPerRow;
  const double* xs;
  const double* ys;
  double scale, shiftX, shiftY;  ///< from positions in the image to those in the window

  template <class Take>
  void Fill(Sample* out, int count, const Take& take) const {
    for (int i = 0; i < count; ++i) {
      const double x = xs[i] * scale + shiftX, y = ys[i] * scale + shiftY;
      const auto column = static_cast<std::ptrdiff_t>(x), row = static_cast<std::ptrdiff_t>(y);
      const Sample* const upper = samples + row * samplesPerRow + column;
      out[i] = take(upper, upper + samplesPerRow, x - static_cast<double>(column), y - static_cast<double>(row));
    }
  }
};

template <class Sample>
Sample NearestOf(const Sample* upper, const Sample* lower, double u, double v) {
  return (v < 0.5 ? upper : lower)[u < 0.5 ? 0 : 1];
}

template <class Sample>
Sample MeanOf(const Sample* upper, const Sample* lower, double u, double v) {
  const auto a = static_cast<double>(upper[0]), b = static_cast<double>(upper[1]);
  const auto c = static_cast<double>(lower[0]), d = static_cast<double>(lower[1]);
  const double above = a + (b - a) * u, below = c + (d - c) * u;
  return RoundBetween<Sample>(above + (below - above) * v);
}

}  // namespace

template <class Sample>
void OrthoSampler::FillInnerFrom(const tagXArr2& samples, const Range& range, const Target& target) const {
  const double null = source_.band->GetNullValue(), scale = std::ldexp(1.0, -source_.level);
  const auto isNull = [null](Sample sample) { return static_cast<double>(sample) == null; };
  const auto takeNearest = [](const Sample* upper, const Sample* lower, double u, double v) {
    return NearestOf(upper, lower, u, v);
  };
  const auto takeMean = [](const Sample* upper, const Sample* lower, double u, double v) {
    return MeanOf(upper, lower, u, v);
  };
  const auto takeKnown = [&](const Sample* upper, const Sample* lower, double u, double v) {
    const bool isKnown = !isNull(upper[0]) && !isNull(upper[1]) && !isNull(lower[0]) && !isNull(lower[1]);
    return isKnown ? MeanOf(upper, lower, u, v) : NearestOf(upper, lower, u, v);
  };
  for (int j = 0; j < tile_.height; ++j) {
    const std::ptrdiff_t first = std::ptrdiff_t{j} * tile_.width;
    auto* const out = reinterpret_cast<Sample*>(target.out.Row(target.y + j)) + target.x;
    const InnerRow<Sample> row = {reinterpret_cast<const Sample*>(samples.data),
                                  samples.xSize,
                                  places_.GetX() + first,
                                  places_.GetY() + first,
                                  scale,
                                  0.5 * scale - 0.5 - range.x0,
                                  0.5 * scale - 0.5 - range.y0};
    if (method_ == kOrthoNearest) {
      row.Fill(out, tile_.width, takeNearest);
    } else if (CanBe<Sample>(null)) {
      row.Fill(out, tile_.width, takeKnown);
    } else {
      row.Fill(out, tile_.width, takeMean);
    }
  }
}

}  // namespace zrk
