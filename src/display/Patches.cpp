// Transforming a place takes about a microsecond, and a picture has a place for each pixel. So the map from picture to
// band is worked out at the corners of patches and taken as straight between them. Whether that is near enough is
// tested at nine places of a patch.
//
// A map may jump, as longitudes do at the date line, or end. Patches there are divided until they are small, and then
// each pixel gets a place of its own.

#include "display/Patches.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace zrk {

namespace {

/// How far the middles of a patch may be off, in pixels of the picture or of the band, whichever are larger.
constexpr double kMaxError = 1.0 / 16.0;
/// A patch that is not straight is divided as long as it has a side of more pixels.
constexpr int kSmallSide = 8;

/// Where in a patch the map is compared with straight lines: in the middles, where a map that bends one way is farthest
/// from them, and in the middles of the quarters, for one that bends both ways.
struct Share {
  double x;
  double y;
};
constexpr Share kTested[] = {{0.5, 0.5},   {0.5, 0.0},   {0.0, 0.5},   {1.0, 0.5},  {0.5, 1.0},
                             {0.25, 0.25}, {0.75, 0.25}, {0.25, 0.75}, {0.75, 0.75}};

bool IsPlace(const BandPlace& place) {
  return std::isfinite(place.u) && std::isfinite(place.v);
}

BandPlace Between(const BandPlace& a, const BandPlace& b, double share) {
  return {a.u + (b.u - a.u) * share, a.v + (b.v - a.v) * share};
}

/// By which share of a side the pixel lies from its beginning.
double ShareOf(int pixel, int first, int last) {
  return last > first ? static_cast<double>(pixel - first) / (last - first) : 0.0;
}

double Distance(const BandPlace& a, const BandPlace& b) {
  return std::hypot(a.u - b.u, a.v - b.v);
}

}  // namespace

struct PatchList::Work {
  const PlaceMap& map;
  double offsetX;
  double offsetY;

  BandPlace AtPixel(double x, double y) const { return map.At(x + 0.5 + offsetX, y + 0.5 + offsetY); }
};

void PatchList::Cover(const PlaceMap& map, const Window& window, double offsetX, double offsetY) {
  patches_.clear();
  exact_.clear();
  Add({map, offsetX, offsetY}, window);
}

void PatchList::Add(const Work& work, const Window& window) {
  Patch patch;
  patch.window = window;
  patch.corners = {work.AtPixel(window.x0, window.y0), work.AtPixel(window.x1, window.y0),
                   work.AtPixel(window.x0, window.y1), work.AtPixel(window.x1, window.y1)};
  if (work.map.GetAffine() || IsStraight(work, patch)) {
    patches_.push_back(patch);
  } else if (window.Width() > kSmallSide || window.Height() > kSmallSide) {
    Divide(work, window);
  } else {
    AddExact(work, window);
  }
}

/// The longer side is halved, or both where neither is much longer.
void PatchList::Divide(const Work& work, const Window& window) {
  const bool isCutAcross = window.Width() > kSmallSide && window.Width() * 2 > window.Height();
  const bool isCutDown = window.Height() > kSmallSide && window.Height() * 2 > window.Width();
  const int middleX = isCutAcross ? window.x0 + window.Width() / 2 - 1 : window.x1;
  const int middleY = isCutDown ? window.y0 + window.Height() / 2 - 1 : window.y1;
  Add(work, {window.x0, middleX, window.y0, middleY});
  if (isCutAcross) Add(work, {middleX + 1, window.x1, window.y0, middleY});
  if (isCutDown) Add(work, {window.x0, middleX, middleY + 1, window.y1});
  if (isCutAcross && isCutDown) Add(work, {middleX + 1, window.x1, middleY + 1, window.y1});
}

void PatchList::AddExact(const Work& work, const Window& window) {
  Patch patch;
  patch.window = window;
  patch.firstPlace = static_cast<std::ptrdiff_t>(exact_.size());
  for (int y = window.y0; y <= window.y1; ++y) {
    for (int x = window.x0; x <= window.x1; ++x) exact_.push_back(work.AtPixel(x, y));
  }
  patches_.push_back(patch);
}

bool PatchList::IsStraight(const Work& work, const Patch& patch) {
  if (!std::all_of(patch.corners.begin(), patch.corners.end(), IsPlace)) return false;
  const Window& window = patch.window;
  const BandPlace &upperLeft = patch.corners[0], &upperRight = patch.corners[1];
  const BandPlace &lowerLeft = patch.corners[2], &lowerRight = patch.corners[3];
  const double across = Distance(upperLeft, upperRight) / std::max(1, window.Width() - 1);
  const double down = Distance(upperLeft, lowerLeft) / std::max(1, window.Height() - 1);
  const double allowed = kMaxError * std::max(1.0, std::min(across, down));
  return std::all_of(std::begin(kTested), std::end(kTested), [&](const Share& share) {
    const BandPlace upper = Between(upperLeft, upperRight, share.x), lower = Between(lowerLeft, lowerRight, share.x);
    const BandPlace exact =
        work.AtPixel(window.x0 + share.x * (window.Width() - 1), window.y0 + share.y * (window.Height() - 1));
    // What is not a number is not straight either.
    return Distance(Between(upper, lower, share.y), exact) <= allowed;
  });
}

void PatchList::PlacesOfRow(const Patch& patch, int y, std::vector<BandPlace>& places) const {
  const int width = patch.window.Width();
  places.resize(static_cast<std::size_t>(width));
  if (patch.firstPlace >= 0) {
    const std::ptrdiff_t skipped = std::ptrdiff_t{y - patch.window.y0} * width;
    std::copy_n(exact_.begin() + patch.firstPlace + skipped, width, places.begin());
    return;
  }
  const double shareY = ShareOf(y, patch.window.y0, patch.window.y1);
  const BandPlace left = Between(patch.corners[0], patch.corners[2], shareY);
  const BandPlace right = Between(patch.corners[1], patch.corners[3], shareY);
  const double step = width > 1 ? 1.0 / (width - 1) : 0.0;
  const double stepU = (right.u - left.u) * step, stepV = (right.v - left.v) * step;
  for (int i = 0; i < width; ++i) {
    places[static_cast<std::size_t>(i)] = {left.u + i * stepU, left.v + i * stepV};
  }
}

Extent PatchList::GetRange() const {
  Extent range;
  const auto grow = [&](const BandPlace& place) {
    if (IsPlace(place)) range.GrowTo(place.u, place.v);
  };
  for (const Patch& patch : patches_) {
    if (patch.firstPlace < 0) std::for_each(patch.corners.begin(), patch.corners.end(), grow);
  }
  std::for_each(exact_.begin(), exact_.end(), grow);
  return range;
}

}  // namespace zrk
