// Places of a file of names on a picture. The file is asked for the box of longitude and latitude that the window
// covers, as far as that can be told from points spread over the window. What lies in the window itself is then found
// place by place, through the system of the image.
//
// A mark is drawn from a small stamp: a dot, and digits of three by five cells of two pixels each.

#include "picture/PlaceMarks.h"

#include "Notes.h"
#include "Place.h"
#include "XPBPReader.h"
#include "XSpatialReference.h"
#include "ZRMBand.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>

namespace {

constexpr tagXPlaceBox kWorld{-360.0, -90.0, 360.0, 90.0};

/// The longitudes and latitudes that points of the window have, widened by what may lie between them. All of the world
/// where a point has none, or where the longitudes are so far apart that they may go round it.
tagXPlaceBox FindBoxOf(const ZRMBand& band, const Window& window, const XCoordinateTransformation& toLonLat) {
  constexpr int kSteps = 32;
  const Place place(band);
  tagXPlaceBox box{360.0, 90.0, -360.0, -90.0};
  for (int i = 0; i <= kSteps; ++i) {
    for (int j = 0; j <= kSteps; ++j) {
      auto [x, y] = place.ToWorld(window.x0 + window.Width() * (j / double{kSteps}),
                                  window.y0 + window.Height() * (i / double{kSteps}));
      if (!toLonLat.TransformPt(x, y)) return kWorld;
      box = {std::min(box.west, x), std::min(box.south, y), std::max(box.east, x), std::max(box.north, y)};
    }
  }
  constexpr double kMaxWidth = 150.0;
  if (box.east - box.west > kMaxWidth || std::abs(box.west) > 180.0 || std::abs(box.east) > 180.0) return kWorld;
  const double margin = std::max(box.east - box.west, box.north - box.south) / kSteps;
  return {box.west - margin, box.south - margin, box.east + margin, box.north + margin};
}

/// The pixel of the picture that a place lies in; nothing for a place outside of the window.
class PictureOf {
 public:
  PictureOf(const ZRMBand& band, const Window& window, const PngShape& shape,
            const XCoordinateTransformation& fromLonLat)
      : place_(band), window_(window), shape_(shape), fromLonLat_(fromLonLat) {}

  /// Some images count longitudes to 360, and so a place is tried on both sides.
  std::optional<PlaceMark> Find(const tagXPlace& named) const {
    for (const double turn : {0.0, 360.0, -360.0}) {
      if (const std::optional<PlaceMark> mark = FindAt(named, named.first + turn)) return mark;
    }
    return std::nullopt;
  }

 private:
  std::optional<PlaceMark> FindAt(const tagXPlace& named, double longitude) const {
    double x = longitude, y = named.second;
    if (!fromLonLat_.TransformPt(x, y)) return std::nullopt;
    const auto [column, row] = place_.ToPixel(x, y);
    const double across = (column - window_.x0) / window_.Width(), down = (row - window_.y0) / window_.Height();
    if (!(across >= 0.0 && across < 1.0 && down >= 0.0 && down < 1.0)) return std::nullopt;
    return PlaceMark{static_cast<int>(across * shape_.width), static_cast<int>(down * shape_.height), named};
  }

  Place place_;
  Window window_;
  PngShape shape_;
  const XCoordinateTransformation& fromLonLat_;
};

/// The marks of those places in a box that lie in the picture. Places beyond the greatest number are left out.
bool FindMarks(const std::string& file, const tagXPlaceBox& box, const PictureOf& picture,
               std::vector<PlaceMark>& marks, XString& why) {
  XPBPReader reader;
  std::vector<int> numbers;
  if (!reader.Open(file, why) || !reader.FindInBox(box, numbers, why)) return false;
  for (const int number : numbers) {
    tagXPlace place;
    if (!reader.ReadPlace(number, place, why)) return false;
    const std::optional<PlaceMark> mark = picture.Find(place);
    if (!mark) continue;
    if (marks.size() == PlaceMarks::kMaxMarks) {
      AddRemark("only the first " + std::to_string(PlaceMarks::kMaxMarks) + " places are marked");
      break;
    }
    marks.push_back(*mark);
  }
  return true;
}

/// Five rows of three cells: an octal digit is a row, the uppermost first.
constexpr std::array<int, 10> kDigits = {075557, 026227, 071747, 071717, 055711,
                                         074717, 074757, 071222, 075757, 075717};

constexpr int kCell = 2;
constexpr int kDigitWidth = 3, kDigitHeight = 5;
constexpr int kRadius = 3;
constexpr int kGap = 3;  // between the dot and the number

/// Whether the dot of a mark covers a pixel, told by its distance from the middle of the dot.
bool IsInDot(int dx, int dy) {
  return dx * dx + dy * dy <= kRadius * kRadius + 1;
}

/// Whether a digit of the number covers a pixel.
bool IsInNumber(const std::string& number, int dx, int dy) {
  const int x = dx - kRadius - kGap, y = dy + kDigitHeight * kCell / 2;
  constexpr int kAdvance = (kDigitWidth + 1) * kCell;
  if (x < 0 || y < 0 || y >= kDigitHeight * kCell) return false;
  const auto index = static_cast<std::size_t>(x / kAdvance);
  const int column = x % kAdvance / kCell, row = y / kCell;
  if (index >= number.size() || column >= kDigitWidth) return false;
  const int cell = row * kDigitWidth + column;
  return kDigits[static_cast<std::size_t>(number[index] - '0')] >> (kDigitWidth * kDigitHeight - 1 - cell) & 1;
}

bool IsBright(const std::string& number, int dx, int dy) {
  return IsInDot(dx, dy) || IsInNumber(number, dx, dy);
}

/// What is not covered itself and touches what is.
bool IsRim(const std::string& number, int dx, int dy) {
  for (int y = -1; y <= 1; ++y) {
    for (int x = -1; x <= 1; ++x) {
      if (IsBright(number, dx + x, dy + y)) return true;
    }
  }
  return false;
}

void PaintPixel(const PngShape& shape, bool isBright, unsigned char* pixel) {
  constexpr std::array<unsigned char, 3> kYellow = {255, 220, 0};
  for (int c = 0; c < shape.channels; ++c) {
    const unsigned char bright = shape.channels >= 3 && c < 3 ? kYellow[static_cast<std::size_t>(c)] : 255;
    pixel[c] = isBright ? bright : 0;
  }
}

}  // namespace

bool PlaceMarks::Find(const ZRMBand& band, const Window& window, const PngShape& shape, const std::string& file,
                      std::string& err) {
  XSpatialReference wgs84;
  const auto fromLonLat = FindWayFromLonLat(band);
  const auto toLonLat =
      fromLonLat && wgs84.SetWellKnownGeogCS("WGS84") ? XfnCreateCoordTrans(*band.GetSR(), wgs84) : nullptr;
  if (!toLonLat || !Place(band).HasExtent()) {
    err = "the image has no place on earth, and so no place can be marked";
    return false;
  }
  const PictureOf picture(band, window, shape, *fromLonLat);
  XString why;
  if (FindMarks(file, FindBoxOf(band, window, *toLonLat), picture, marks_, why)) return true;
  err = file + ": " + why.AsStdString();
  return false;
}

/// All dots and numbers are painted over all rims, so that marks close to each other stay readable.
void PlaceMarks::Paint(int y, const PngShape& shape, unsigned char* row) const {
  constexpr int kReach = kDigitHeight * kCell / 2 + 1;
  constexpr int kWidth = kRadius + kGap + 3 * (kDigitWidth + 1) * kCell;
  for (const bool isBright : {false, true}) {
    for (std::size_t i = 0; i < marks_.size(); ++i) {
      const int dy = y - marks_[i].y;
      if (std::abs(dy) > kReach) continue;
      const std::string number = std::to_string(i + 1);
      const int begin = std::max(marks_[i].x - kRadius - 1, 0), end = std::min(marks_[i].x + kWidth, shape.width);
      for (int x = begin; x < end; ++x) {
        const int dx = x - marks_[i].x;
        const bool isPainted = isBright ? IsBright(number, dx, dy) : IsRim(number, dx, dy);
        if (isPainted) PaintPixel(shape, isBright, row + std::ptrdiff_t{x} * shape.channels);
      }
    }
  }
}
