// The map is drawn cell by cell. Each boundary rectangle is a grid of frames, and each frame a box of degrees that
// becomes a box of pixels. Larger rectangles are drawn first, so that smaller ones stay visible.
//
// A rectangle that crosses the date line goes on east of 180 degrees. Frames that lie outside the folder of the table
// count as missing, because they are not looked for.

#include "formats/rpf/CoveragePicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <tuple>

namespace {

/// Cells of at least so many pixels are kept apart by a line.
constexpr int kMinCellWithLine = 4;

/// The size of the smallest box that counts as one, far below that of a pixel of any map.
constexpr double kMinDegrees = 1e-9;

constexpr std::array<std::array<unsigned char, 3>, 5> kPalette = {{
    {255, 255, 255},  // nothing
    {40, 40, 40},     // outline
    {200, 200, 200},  // not listed
    {60, 150, 70},    // there
    {205, 60, 50},    // missing
}};

bool IsPlace(double longitude, double latitude) {
  return std::abs(longitude) <= 360.0 && std::abs(latitude) <= 90.0;  // and numbers
}

}  // namespace

/// Legends and overviews have no place: all their corners are one point.
bool CoveragePicture::FindBox(const tagBoundaryRectangleRecordRPF& boundary, Box& box) {
  if (!IsPlace(boundary.nwLongitude, boundary.nwLatitude) || !IsPlace(boundary.swLongitude, boundary.swLatitude) ||
      !IsPlace(boundary.neLongitude, boundary.neLatitude) || !IsPlace(boundary.seLongitude, boundary.seLatitude)) {
    return false;
  }
  box.west = std::min(boundary.nwLongitude, boundary.swLongitude);
  box.east = std::max(boundary.neLongitude, boundary.seLongitude);
  box.south = std::min(boundary.swLatitude, boundary.seLatitude);
  box.north = std::max(boundary.nwLatitude, boundary.neLatitude);
  // The rectangle crosses the date line.
  if (box.east < box.west) box.east += 360.0;
  return box.east - box.west > kMinDegrees && box.north - box.south > kMinDegrees;
}

/// Frames that lie in a boundary rectangle, in the order of the rectangles. A place that is listed more than once
/// counts as there if one of its frames is.
std::vector<CoveragePicture::Frame> CoveragePicture::FindFrames(const XCIBtoc& toc, XThread& thread) {
  const FrameNumbering numbering = NumberingOf(toc);
  std::vector<Frame> frames;
  const int count = toc.GetFrameRecordSize();
  for (int i = 0; i < count && !XfnIsStopRequested(thread.GetStatePtr()); ++i) {
    const FrameCell cell = CellOf(toc, numbering, i);
    if (cell.boundary < 0) continue;
    const bool isThere = FindFrame(toc, i, false).state == FrameState::kThere;
    frames.push_back({cell, isThere});
    thread.CallbackPercent(100.0 * (i + 1) / count);
  }
  const auto placeOf = [](const Frame& frame) {
    return std::tuple(frame.cell.boundary, frame.cell.row, frame.cell.column);
  };
  std::ranges::sort(frames, {}, [&](const Frame& frame) { return std::tuple(placeOf(frame), !frame.isThere); });
  const auto isSamePlace = [&](const Frame& one, const Frame& other) { return placeOf(one) == placeOf(other); };
  frames.erase(std::unique(frames.begin(), frames.end(), isSamePlace), frames.end());
  return frames;
}

/// One scale serves both directions, and the longer side is as long as was asked for, within the limit.
void CoveragePicture::SetShape(const std::vector<Rectangle>& rectangles, int maxSize) {
  extent_ = rectangles.front().box;
  for (const Rectangle& rectangle : rectangles) {
    extent_.west = std::min(extent_.west, rectangle.box.west);
    extent_.east = std::max(extent_.east, rectangle.box.east);
    extent_.south = std::min(extent_.south, rectangle.box.south);
    extent_.north = std::max(extent_.north, rectangle.box.north);
  }
  const double width = extent_.east - extent_.west, height = extent_.north - extent_.south;
  pixelsPerDegree_ = std::min(maxSize, kMaxSide) / std::max(width, height);
  shape_.width = std::max(static_cast<int>(std::lround(width * pixelsPerDegree_)), 1);
  shape_.height = std::max(static_cast<int>(std::lround(height * pixelsPerDegree_)), 1);
  shape_.channels = 3;
  colours_.assign(static_cast<std::size_t>(shape_.width) * static_cast<std::size_t>(shape_.height), kNothing);
}

/// A box has at least one pixel within the picture, so that nothing vanishes on a small map.
CoveragePicture::Pixels CoveragePicture::PixelsOf(const Box& box) const {
  const auto place = [this](double degrees, int size) {
    return std::clamp(static_cast<int>(std::lround(degrees * pixelsPerDegree_)), 0, size);
  };
  Pixels pixels;
  pixels.x0 = std::min(place(box.west - extent_.west, shape_.width), shape_.width - 1);
  pixels.x1 = std::max(place(box.east - extent_.west, shape_.width), pixels.x0 + 1);
  pixels.y0 = std::min(place(extent_.north - box.north, shape_.height), shape_.height - 1);
  pixels.y1 = std::max(place(extent_.north - box.south, shape_.height), pixels.y0 + 1);
  return pixels;
}

void CoveragePicture::Fill(const Pixels& pixels, Colour colour) {
  for (int y = pixels.y0; y < pixels.y1; ++y) {
    const auto row = colours_.begin() + static_cast<std::ptrdiff_t>(y) * shape_.width;
    std::fill(row + pixels.x0, row + pixels.x1, static_cast<unsigned char>(colour));
  }
}

/// Frames outside the grid of their rectangle are left out.
void CoveragePicture::DrawFrames(const XCIBtoc& toc, const Rectangle& rectangle, const std::vector<Frame>& frames) {
  const tagBoundaryRectangleRecordRPF& boundary = *toc.GetBoundaryRecAt(rectangle.boundary);
  const Box& box = rectangle.box;
  const double rows = boundary.numFramesNorthSouth, columns = boundary.numFramesEastWest;
  const double width = (box.east - box.west) / columns, height = (box.north - box.south) / rows;
  const auto boundaryOf = [](const Frame& frame) { return frame.cell.boundary; };
  // Bounds and not a range of all that are equal, which clang 14 can't compile.
  const auto last = std::ranges::upper_bound(frames, rectangle.boundary, {}, boundaryOf);
  for (auto at = std::ranges::lower_bound(frames, rectangle.boundary, {}, boundaryOf); at != last; ++at) {
    const Frame& frame = *at;
    const auto row = static_cast<double>(frame.cell.row), column = static_cast<double>(frame.cell.column);
    if (row < 0 || row >= rows || column < 0 || column >= columns) continue;
    Pixels pixels = PixelsOf({box.west + column * width, box.west + (column + 1) * width,
                              box.north - (row + 1) * height, box.north - row * height});
    if (pixels.x1 - pixels.x0 >= kMinCellWithLine && pixels.y1 - pixels.y0 >= kMinCellWithLine) {
      Fill(pixels, kOutline);
      pixels = {pixels.x0 + 1, pixels.x1 - 1, pixels.y0 + 1, pixels.y1 - 1};
    }
    Fill(pixels, frame.isThere ? kThere : kMissing);
  }
}

/// Larger rectangles come first, so that smaller ones are drawn over them.
bool CoveragePicture::Draw(const XCIBtoc& toc, int maxSize, XThread& thread, std::string& err) {
  std::vector<Rectangle> rectangles;
  for (int i = 0; i < toc.GetBoundaryRecSize(); ++i) {
    Box box;
    if (FindBox(*toc.GetBoundaryRecAt(i), box)) rectangles.push_back({i, box});
  }
  if (rectangles.empty()) {
    err = "no boundary rectangle has a place";
    return false;
  }
  const std::vector<Frame> frames = FindFrames(toc, thread);
  SetShape(rectangles, maxSize);
  std::ranges::stable_sort(rectangles, std::greater<>(), [](const Rectangle& each) { return each.box.Area(); });
  for (const Rectangle& rectangle : rectangles) {
    if (XfnIsStopRequested(thread.GetStatePtr())) return false;
    Fill(PixelsOf(rectangle.box), kNotListed);
    DrawFrames(toc, rectangle, frames);
  }
  return true;
}

/// The picture holds one byte a pixel, which the palette turns into colours row by row.
bool CoveragePicture::Write(PngWriter& png, std::string& err) const {
  if (!png.Begin(shape_, err)) return false;
  const auto width = static_cast<std::size_t>(shape_.width);
  std::vector<unsigned char> row(3 * width);
  for (std::size_t first = 0; first < colours_.size(); first += width) {
    for (std::size_t x = 0; x < width; ++x) std::ranges::copy(kPalette[colours_[first + x]], &row[3 * x]);
    if (!png.WriteRow(row.data(), err)) return false;
  }
  return png.End(err);
}
