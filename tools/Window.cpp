// A window by pixels has to lie within the image, because a result of another size than was asked for would mislead. A
// box of coordinates has no size in pixels, so that it may reach beyond. A box in degrees is no rectangle in the system
// of the image, so that places all over it are looked up, and the window holds them all.

#include "Window.h"

#include "Job.h"
#include "Notes.h"
#include "Place.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace {

/// Edges are seldom exact in binary. What reaches less than this far into a pixel does not meet it.
constexpr double kTolerance = 1e-6;
/// Places along each side of a box in degrees.
constexpr int kSteps = 32;

/// A range of positions that grows.
struct Range {
  double least = std::numeric_limits<double>::infinity();
  double most = -std::numeric_limits<double>::infinity();

  void Include(double value) {
    least = std::min(least, value);
    most = std::max(most, value);
  }
};

Window TakePixels(const Window& whole, const std::vector<int>& wanted) {
  const bool isInside = 0 <= wanted[0] && wanted[0] <= wanted[1] && wanted[1] <= whole.x1 && 0 <= wanted[2] &&
                        wanted[2] <= wanted[3] && wanted[3] <= whole.y1;
  if (isInside) return {wanted[0], wanted[1], wanted[2], wanted[3]};
  throw BadCommand("the window is not within columns 0 to " + std::to_string(whole.x1) + " and rows 0 to " +
                   std::to_string(whole.y1));
}

void CheckBox(const ZRMBand& band, const std::vector<double>& box) {
  const bool areNumbers = std::ranges::all_of(box, [](double number) { return std::isfinite(number); });
  if (!areNumbers || !(box[0] < box[2]) || !(box[1] < box[3])) {
    throw BadCommand("a box has its west before its east and its south before its north");
  }
  if (band.GetCoordinateKind() != kCoordinateWorld || !Place(band).HasExtent()) {
    throw BadCommand("the image has no place in the world, so that no box can be found in it");
  }
}

/// The positions that a box covers. Places that the system of the band does not have are left out.
void FindPositions(const ZRMBand& band, const WindowRequest& wanted, Range& columns, Range& rows) {
  const Place place(band);
  const std::vector<double>& box = wanted.box;
  const auto way = wanted.isLonLat ? FindWayFromLonLat(band) : nullptr;
  if (wanted.isLonLat && !way) throw BadCommand("no way leads from degrees to the system of the image");
  // Without degrees the corners are enough, also where the image is turned.
  const int steps = wanted.isLonLat ? kSteps : 1;
  for (int i = 0; i <= steps; ++i) {
    for (int j = 0; j <= steps; ++j) {
      double x = std::lerp(box[0], box[2], static_cast<double>(i) / steps);
      double y = std::lerp(box[1], box[3], static_cast<double>(j) / steps);
      if (way && !way->TransformPt(x, y)) continue;
      const auto [column, row] = place.ToPixel(x, y);
      columns.Include(column);
      rows.Include(row);
    }
  }
}

/// The pixels that a range meets, within 0 to `last`; false where it meets none.
bool CutToPixels(const Range& range, int last, int& first, int& end, bool& isCut) {
  if (!(range.most > kTolerance) || !(range.least < last + 1.0 - kTolerance)) return false;
  const double least = std::floor(range.least + kTolerance), most = std::ceil(range.most - kTolerance) - 1.0;
  first = static_cast<int>(std::clamp(least, 0.0, static_cast<double>(last)));
  // A box within one pixel has that pixel.
  end = static_cast<int>(std::clamp(std::max(least, most), 0.0, static_cast<double>(last)));
  isCut = isCut || least < 0.0 || most > last;
  return true;
}

Window TakeBox(const ZRMBand& band, const WindowRequest& wanted) {
  CheckBox(band, wanted.box);
  const Window whole = WholeOf(band);
  Range columns, rows;
  FindPositions(band, wanted, columns, rows);
  Window window;
  bool isCut = false;
  if (!CutToPixels(columns, whole.x1, window.x0, window.x1, isCut) ||
      !CutToPixels(rows, whole.y1, window.y0, window.y1, isCut)) {
    throw BadCommand("the box does not meet the image");
  }
  if (isCut) {
    AddRemark("the box reaches beyond the image; columns " + std::to_string(window.x0) + " to " +
              std::to_string(window.x1) + " and rows " + std::to_string(window.y0) + " to " +
              std::to_string(window.y1) + " are taken");
  }
  return window;
}

}  // namespace

Window WholeOf(const ZRMBand& band) {
  return {0, band.GetXSize() - 1, 0, band.GetYSize() - 1};
}

Window FindWindow(const ZRMBand& band, const WindowRequest& wanted) {
  if (!wanted.box.empty()) return TakeBox(band, wanted);
  return wanted.pixels.empty() ? WholeOf(band) : TakePixels(WholeOf(band), wanted.pixels);
}
