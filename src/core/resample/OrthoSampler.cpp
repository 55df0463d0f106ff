// Samples for the positions of a tile. The window of the source around all positions is read once. Where the map shows
// the image much smaller than it is, a reduced level is read. A tile whose window would be too large is halved.
//
// Whole numbers of a position are centres of pixels, so that a pixel reaches half a pixel to each side.

#include "core/resample/OrthoSampler.h"

#include "base/DataTypeVisit.h"
#include "base/ReadError.h"
#include "math/SampleCast.h"
#include "XThread.h"

#include <algorithm>
#include <cmath>

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
  return FillPart({0, tile.width - 1, 0, tile.height - 1}, {out, outX, outY}, cancel);
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

}  // namespace zrk
