// How places are found in a PBP file. Both tables are searched by halves, and each step reads an entry of the table and
// the coordinates that it leads to.
//
// A box is a range of ranks in each table. The shorter of the two is gone through, and each place of it is held against
// the box. Where even that is a good part of the file, the records are read one behind the other, which is quicker than
// to jump between them.
//
// The nearest places are found by latitude: no place is nearer than its latitude is. The search begins at the latitude
// that is asked for and goes both ways in the second table, always on the nearer side. It ends when the next latitude
// is farther away than the places that are already known. Poles and the line where longitudes jump need no care of
// their own, because distances are those on the sphere.

#include "writers/names/PlaceSearch.h"

#include "writers/names/PbpFile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace zrk {

namespace {

constexpr double kEarthRadius = 6371008.8;
constexpr double kDegreesPerRadian = 180.0 / std::numbers::pi;

struct RankRange {
  std::int64_t begin = 0;
  std::int64_t end = 0;
  std::int64_t Count() const { return std::max<std::int64_t>(end - begin, 0); }
};

/// How many ranks in front have coordinates below a value, or up to it. What is not a number stands last and is
/// neither.
template <class IsInFront>
std::int64_t CountInFront(const PbpFile& file, PbpAxis axis, IsInFront isInFront) {
  std::int64_t begin = 0, end = file.GetCount();
  while (begin < end) {
    const std::int64_t middle = begin + (end - begin) / 2;
    if (isInFront(file.ReadCoordinate(axis, middle))) {
      begin = middle + 1;
    } else {
      end = middle;
    }
  }
  return begin;
}

std::int64_t CountBelow(const PbpFile& file, PbpAxis axis, double value) {
  return CountInFront(file, axis, [value](double coordinate) { return coordinate < value; });
}

std::int64_t CountUpTo(const PbpFile& file, PbpAxis axis, double value) {
  return CountInFront(file, axis, [value](double coordinate) { return coordinate <= value; });
}

bool IsWithin(const tagXPlaceBox& box, const PbpPoint& point) {
  if (!(point.second >= box.south && point.second <= box.north)) return false;
  if (box.west <= box.east) return point.first >= box.west && point.first <= box.east;
  return point.first >= box.west || point.first <= box.east;
}

/// Ranks of one table whose places may lie in a box.
struct Candidates {
  PbpAxis axis;
  std::vector<RankRange> ranges;
  std::int64_t Count() const {
    std::int64_t count = 0;
    for (const RankRange& range : ranges) count += range.Count();
    return count;
  }
};

/// A box across the line where longitudes jump is a range at each end of the table.
Candidates FindCandidates(const PbpFile& file, const tagXPlaceBox& box) {
  const std::int64_t west = CountBelow(file, PbpAxis::kFirst, box.west);
  const std::int64_t east = CountUpTo(file, PbpAxis::kFirst, box.east);
  Candidates byFirst{PbpAxis::kFirst, {{west, east}}};
  if (box.west > box.east) byFirst.ranges = {{0, east}, {west, file.GetCount()}};
  const Candidates bySecond{
      PbpAxis::kSecond,
      {{CountBelow(file, PbpAxis::kSecond, box.south), CountUpTo(file, PbpAxis::kSecond, box.north)}}};
  return byFirst.Count() <= bySecond.Count() ? byFirst : bySecond;
}

/// Reads a table block by block and calls `visit` for each number.
template <class Visit>
void VisitNumbers(const PbpFile& file, PbpAxis axis, const RankRange& range, Visit visit) {
  constexpr std::int64_t kMaxBlock = 4096;
  std::vector<std::int32_t> block;
  for (std::int64_t rank = range.begin; rank < range.end; rank += kMaxBlock) {
    block.resize(static_cast<std::size_t>(std::min(kMaxBlock, range.end - rank)));
    file.ReadTable(axis, rank, block);
    for (const std::int32_t number : block) visit(number);
  }
}

std::vector<int> PickFromTable(const PbpFile& file, const Candidates& candidates, const tagXPlaceBox& box) {
  std::vector<int> numbers;
  for (const RankRange& range : candidates.ranges) {
    VisitNumbers(file, candidates.axis, range, [&](std::int32_t number) {
      file.RequireNumber(number);
      if (IsWithin(box, file.ReadPoint(number))) numbers.push_back(number);
    });
  }
  // A damaged table may name a place twice.
  std::ranges::sort(numbers);
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

std::vector<int> PickFromRecords(const PbpFile& file, const tagXPlaceBox& box) {
  constexpr int kMaxBlock = 4096;
  std::vector<int> numbers;
  std::vector<tagPName> block;
  const int count = file.GetCount();
  for (int begin = 0; begin < count; begin += static_cast<int>(block.size())) {
    block.resize(static_cast<std::size_t>(std::min(kMaxBlock, count - begin)));
    file.ReadRecords(begin, block);
    for (std::size_t i = 0; i < block.size(); ++i) {
      if (IsWithin(box, {block[i].first, block[i].second})) numbers.push_back(begin + static_cast<int>(i));
    }
  }
  return numbers;
}

/// Half a turn and more beyond the usual range is allowed, since some count longitudes to 360.
bool IsOnEarth(const PbpPoint& point) {
  return std::abs(point.first) <= 360.0 && std::abs(point.second) <= 90.0;
}

/// A place that was met, by its angle from the place that is asked for.
struct Neighbour {
  double angle;
  int number;
  bool operator<(const Neighbour& other) const {
    return angle != other.angle ? angle < other.angle : number < other.number;
  }
};

/// Keeps the nearest neighbours that it is shown, as a heap with the farthest in front.
class NearestFew {
 public:
  explicit NearestFew(std::size_t count) : count_(count) {}

  void Show(const Neighbour& neighbour) {
    if (IsFull() && !(neighbour < heap_.front())) return;
    if (IsFull()) {
      std::pop_heap(heap_.begin(), heap_.end());
      heap_.pop_back();
    }
    heap_.push_back(neighbour);
    std::push_heap(heap_.begin(), heap_.end());
  }
  /// Whether a place at this angle or farther can be none of them. Angles are rounded, and so a little is allowed for.
  bool IsTooFar(double angle) const {
    constexpr double kRounding = 1e-9;
    return IsFull() && angle > heap_.front().angle + kRounding;
  }
  std::vector<Neighbour> TakeSorted() {
    std::sort(heap_.begin(), heap_.end());
    return std::move(heap_);
  }

 private:
  bool IsFull() const { return heap_.size() == count_; }

  std::size_t count_;
  std::vector<Neighbour> heap_;
};

/// The way through the second table from a latitude on, to both sides, the nearer first.
class LatitudeWalk {
 public:
  LatitudeWalk(const PbpFile& file, double latitude)
      : file_(file), latitude_(latitude), above_(CountBelow(file, PbpAxis::kSecond, latitude)), below_(above_ - 1) {
    ReadAbove();
    ReadBelow();
  }

  bool HasMore() const { return hasAbove_ || hasBelow_; }
  /// How far the next latitude is, in degrees.
  double GetGap() const { return TakesAbove() ? GapOf(atAbove_) : GapOf(atBelow_); }
  /// The next place and its number.
  PbpPoint Take(int& number) {
    const bool takesAbove = TakesAbove();
    const PbpPoint point = takesAbove ? atAbove_ : atBelow_;
    number = takesAbove ? numberAbove_ : numberBelow_;
    if (takesAbove) {
      ++above_;
      ReadAbove();
    } else {
      --below_;
      ReadBelow();
    }
    return point;
  }

 private:
  double GapOf(const PbpPoint& point) const { return std::abs(point.second - latitude_); }
  bool TakesAbove() const { return hasAbove_ && (!hasBelow_ || GapOf(atAbove_) <= GapOf(atBelow_)); }
  /// What is not a number stands at the end of the table and ends the way up.
  void ReadAbove() {
    hasAbove_ = above_ < file_.GetCount();
    if (!hasAbove_) return;
    numberAbove_ = file_.ReadNumber(PbpAxis::kSecond, above_);
    atAbove_ = file_.ReadPoint(numberAbove_);
    hasAbove_ = !std::isnan(atAbove_.second);
  }
  void ReadBelow() {
    hasBelow_ = below_ >= 0;
    if (!hasBelow_) return;
    numberBelow_ = file_.ReadNumber(PbpAxis::kSecond, below_);
    atBelow_ = file_.ReadPoint(numberBelow_);
    hasBelow_ = !std::isnan(atBelow_.second);
  }

  const PbpFile& file_;
  double latitude_;
  std::int64_t above_, below_;  // the next ranks
  PbpPoint atAbove_, atBelow_;
  int numberAbove_ = 0, numberBelow_ = 0;
  bool hasAbove_ = false, hasBelow_ = false;
};

}  // namespace

/// The haversine form keeps its digits for places that are near to each other.
double FindAngle(double longitude, double latitude, double otherLongitude, double otherLatitude) {
  const auto squaredSine = [](double degrees) {
    const double sine = std::sin(degrees / kDegreesPerRadian);
    return sine * sine;
  };
  const double haversine = squaredSine((otherLatitude - latitude) / 2.0) +
                           std::cos(latitude / kDegreesPerRadian) * std::cos(otherLatitude / kDegreesPerRadian) *
                               squaredSine((otherLongitude - longitude) / 2.0);
  return 2.0 * std::asin(std::sqrt(std::clamp(haversine, 0.0, 1.0))) * kDegreesPerRadian;
}

std::vector<int> FindPlacesInBox(const PbpFile& file, const tagXPlaceBox& box) {
  const Candidates candidates = FindCandidates(file, box);
  // A jump to a record costs as much as some dozens of records in a row.
  constexpr std::int64_t kJump = 32;
  const bool isMuch = candidates.Count() > file.GetCount() / kJump;
  return isMuch ? PickFromRecords(file, box) : PickFromTable(file, candidates, box);
}

std::vector<tagXPlace> FindNearestPlaces(const PbpFile& file, double longitude, double latitude, int count) {
  NearestFew nearest(static_cast<std::size_t>(count));
  for (LatitudeWalk walk(file, latitude); walk.HasMore() && !nearest.IsTooFar(walk.GetGap());) {
    int number = 0;
    const PbpPoint point = walk.Take(number);
    if (!IsOnEarth(point)) continue;
    nearest.Show({FindAngle(longitude, latitude, point.first, point.second), number});
  }
  std::vector<tagXPlace> places;
  for (const Neighbour& neighbour : nearest.TakeSorted()) {
    places.push_back(file.ReadPlace(neighbour.number));
    places.back().distance = neighbour.angle / kDegreesPerRadian * kEarthRadius;
  }
  return places;
}

}  // namespace zrk
