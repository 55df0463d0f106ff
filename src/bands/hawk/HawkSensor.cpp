// The platform's position and its three angles are cubic splines of the image line. The camera looks along its own y
// axis. A column lies beside that axis by its distance from the middle one. A line lies along the flight: the lines are
// spread over a scan of a fixed number of detector cells, whose middle is shifted by a fixed share. Both numbers belong
// to the sensor band, visible or infrared.
//
// The reverse is a search for one number. The pose at a line tells where along the flight a place lies for the camera,
// and the right line is the one that lies there itself. The column follows. The difference of the two changes its sign
// between the first and the last line where the place is in the image. Of many places each is looked for about the line
// of the one before first, and a single place about a line that is guessed, which spares most of the search. A flight
// that turns back may see a place on several lines, and a search from another line may end on another of them. The
// answer would then depend on the place before. What was found that way therefore counts only where no other line sees
// the place, which the motion of the camera tells (`OnceSeen`) once for all places.

#include "bands/hawk/HawkSensor.h"

#include "base/Truncate.h"
#include "math/SplinePiece.h"
#include "XSpline.h"

#include <algorithm>
#include <cmath>

namespace zrk {
namespace {

constexpr double kQuarterTurn = 1.5707963267948966;
constexpr double kMetresPerMillimetre = 1.0 / 1000.0;

/// What is fixed for a sensor band: the detector cells of the whole scan, and by what share its middle is shifted.
struct ScanExtent {
  double cells;
  double shift;
};
constexpr ScanExtent kVisible = {-1964.16, 0.78};
constexpr ScanExtent kInfrared = {-466.944, -0.2};

SpacePoint Apply(const Matrix3& m, const SpacePoint& v) {
  return {m[0] * v.x + m[1] * v.y + m[2] * v.z, m[3] * v.x + m[4] * v.y + m[5] * v.z,
          m[6] * v.x + m[7] * v.y + m[8] * v.z};
}

SpacePoint ApplyTransposed(const Matrix3& m, const SpacePoint& v) {
  return {m[0] * v.x + m[3] * v.y + m[6] * v.z, m[1] * v.x + m[4] * v.y + m[7] * v.z,
          m[2] * v.x + m[5] * v.y + m[8] * v.z};
}

double LengthOf(const SpacePoint& v) {
  return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

SpacePoint Minus(const SpacePoint& a, const SpacePoint& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

/// Whether the ground at a place is turned to a platform, and not away from it on the other side of the earth.
bool IsFacing(const SpacePoint& place, const SpacePoint& platform) {
  const SpacePoint sight = Minus(place, platform);
  const double stretch = 1.0 / (1.0 - kEarthEccentricity2);
  return sight.x * place.x + sight.y * place.y + sight.z * place.z * stretch < 0.0;
}

/// The slopes at the ends continue the change of the slope over the first and the last three samples.
double FirstSlope(const std::vector<double>& y, double h) {
  const double s0 = (y[1] - y[0]) / h, s1 = (y[2] - y[1]) / h;
  return s0 - ((s1 - s0) / h) * h * 0.5;
}

double LastSlope(const std::vector<double>& y, double h) {
  const std::size_t n = y.size();
  const double e0 = (y[n - 1] - y[n - 2]) / h, e1 = (y[n - 2] - y[n - 3]) / h;
  return ((e0 - e1) / h) * h * 0.5 + e0;
}

}  // namespace

HawkSensor::HawkSensor(const HawkDocument& document)
    : origin_{document.originInEcf[0], document.originInEcf[1], document.originInEcf[2]},
      ecfToLsr_(document.rotationEcfToLsr),
      lines_(document.imageLines),
      samples_(document.imageSamples),
      axisColumn_(document.imageSamples / 2),
      focalLength_(document.focalLengthInMm / 1000.0),
      cellSize_(document.detectorCellSizeInMm * kMetresPerMillimetre),
      isFromBelow_(document.originCorner.Find("Lower") >= 0),
      isFromLeft_(document.originCorner.Find("Left") >= 0) {
  const ScanExtent& extent = document.isIR ? kInfrared : kVisible;
  axisLine_ = document.imageLines / 2 * (1.0 - extent.shift);
  cellsPerLine_ = extent.cells / lines_;
  double determinant = 0.0;
  Invert(ecfToLsr_, lsrToEcf_, determinant);
  const auto count = static_cast<std::size_t>(document.gridCount);
  // The last sample lies one line past the image.
  for (std::size_t i = 0; i < count; ++i) {
    times_.push_back(lines_ * static_cast<double>(i) / (document.gridCount - 1));
  }
  timesPerLine_ = (document.gridCount - 1) / lines_;
  knots_.resize(count);
  for (std::size_t part = 0; part < kNumPoseParts; ++part) AddSpline(document.grids[part], part);
  const CameraView view = FindView();
  onceSeen_ = OnceSeen(MotionOfFlight(), view);
  if (!onceSeen_.IsEmpty()) MakeGuess(view.depth);
}

void HawkSensor::AddSpline(const std::vector<double>& samples, std::size_t part) {
  const double h = times_[1] - times_[0];
  std::vector<double> bends(samples.size());
  XfnCalcSplineCoeff(times_.data(), samples.data(), static_cast<int>(samples.size()), FirstSlope(samples, h),
                     LastSlope(samples, h), bends.data());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    knots_[i].value[part] = samples[i];
    knots_[i].bend[part] = bends[i];
  }
}

namespace {

double SumOfSizes(const double (&numbers)[kNumPoseParts], std::size_t begin, std::size_t end) {
  double sum = 0.0;
  for (std::size_t i = begin; i < end; ++i) sum += std::abs(numbers[i]);
  return sum;
}

/// By how much the square of a length of 1 changes, at most, that a matrix is applied to.
double StretchOf(const Matrix3& m) {
  double sum = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      const double product = m[i] * m[j] + m[i + 3] * m[j + 3] + m[i + 6] * m[j + 6];
      sum += (product - (i == j)) * (product - (i == j));
    }
  }
  return std::sqrt(sum);
}

/// How far the ground is along a line of sight, as if the earth were a ball under the platform.
double FindDistance(const SightLine& sight) {
  const SpacePoint &s = sight.origin, &l = sight.direction;
  const double radius = LengthOf(s) - ToGround(s).height;
  const double back = s.x * l.x + s.y * l.y + s.z * l.z;
  return -back - std::sqrt(back * back - (s.x * s.x + s.y * s.y + s.z * s.z - radius * radius));
}

}  // namespace

/// Second derivatives change evenly within a piece, so that the greater one at both ends bounds all of them. They bound
/// how much rates change, and those how much values do. Angles that are off turn a vector by no more than their sum.
CameraMotion HawkSensor::MotionOver(std::size_t piece, double begin, double end) const {
  const double first = times_[piece], last = times_[piece + 1], half = 0.5 * (end - begin);
  const SplinePiece atBegin(first, last, begin), atEnd(first, last, end), middle(first, last, begin + half);
  double values[kNumPoseParts], rates[kNumPoseParts], slacks[kNumPoseParts], angleSlack = 0.0;
  for (std::size_t i = 0; i < kNumPoseParts; ++i) {
    const double v0 = knots_[piece].value[i], v1 = knots_[piece + 1].value[i];
    const double b0 = knots_[piece].bend[i], b1 = knots_[piece + 1].bend[i];
    values[i] = middle.Value(v0, v1, b0, b1);
    rates[i] = middle.Slope(last - first, v0, v1, b0, b1);
    slacks[i] = std::max(std::abs(atBegin.Bend(b0, b1)), std::abs(atEnd.Bend(b0, b1))) * half;
    if (i >= 3) angleSlack += (std::abs(rates[i]) + slacks[i]) * half;
  }
  const Angle omega = Angle::OfRadians(values[3] - kQuarterTurn), phi = Angle::OfRadians(values[4]);
  const SpacePoint turned = {-rates[5] * phi.sine, rates[4], rates[5] * phi.cosine};
  const auto slackOf = [&](std::size_t i) {
    const double slack = SumOfSizes(slacks, i, i + 3);
    return slack + (SumOfSizes(rates, i, i + 3) + slack) * angleSlack;
  };
  return {end - begin,
          {rates[3] + turned.x, omega.cosine * turned.y + omega.sine * turned.z,
           omega.cosine * turned.z - omega.sine * turned.y},
          slackOf(3),
          ApplyTransposed(LocalTurnOf(values), {rates[0], rates[1], rates[2]}),
          slackOf(0)};
}

/// The whole flight with the widest margin, in stretches that are short beside the pieces of its splines.
std::vector<CameraMotion> HawkSensor::MotionOfFlight() const {
  constexpr std::size_t kStretches = 512;
  const std::size_t numPieces = times_.size() - 1, numParts = kStretches / numPieces + 1;
  std::vector<CameraMotion> flight;
  for (std::size_t piece = 0; piece < numPieces; ++piece) {
    const double begin = piece == 0 ? -GetWidestMargin() : times_[piece];
    const double end = piece + 1 == numPieces ? lines_ + GetWidestMargin() : times_[piece + 1];
    const double part = (end - begin) / static_cast<double>(numParts);
    for (std::size_t i = 0; i < numParts; ++i) {
      const double from = begin + part * static_cast<double>(i);
      flight.push_back(MotionOver(piece, from, from + part));
    }
  }
  return flight;
}

/// The view is a quarter wider than the image, so that places beside it need no second search.
CameraView HawkSensor::FindView() const {
  constexpr double kWider = 1.25;
  const double stretch = StretchOf(lsrToEcf_), margin = GetWidestMargin();
  const double longer = std::sqrt(1.0 + stretch) / focalLength_;
  const double along = std::max(std::abs(AlongOf(-margin)), std::abs(AlongOf(lines_ + margin)));
  return {kWider * (axisColumn_ + margin) * cellSize_ * longer, along * longer,
          -cellsPerLine_ * cellSize_ / focalLength_, stretch, FindDistance(SightOf(axisColumn_, 0.5 * lines_))};
}

void HawkSensor::Flip(double& column, double& line) const {
  if (isFromBelow_) line = (lines_ - 1.0) - line;
  if (isFromLeft_) column = (samples_ - 1.0) - column;
}

/// Samples are evenly spread, so that the piece is known but for a rounding.
void HawkSensor::Evaluate(double line, double (&parts)[kNumPoseParts]) const {
  const std::size_t last = times_.size() - 2;
  auto piece = static_cast<std::size_t>(
      std::clamp(std::isnan(line) ? 0.0 : line * timesPerLine_, 0.0, static_cast<double>(last)));
  if (piece > 0 && times_[piece] > line) --piece;
  if (piece < last && times_[piece + 1] <= line) ++piece;
  const SplinePiece spline(times_[piece], times_[piece + 1], line);
  const Knot &begin = knots_[piece], &end = knots_[piece + 1];
  for (std::size_t i = 0; i < kNumPoseParts; ++i) {
    parts[i] = spline.Value(begin.value[i], end.value[i], begin.bend[i], end.bend[i]);
  }
}

/// The turns about x, y and z one after the other, from the camera to the local frame.
Matrix3 HawkSensor::LocalTurnOf(const double (&parts)[kNumPoseParts]) const {
  const Angle omega = Angle::OfRadians(parts[3] - kQuarterTurn);
  const Angle phi = Angle::OfRadians(parts[4]);
  const Angle kappa = Angle::OfRadians(parts[5]);
  const double sinSin = phi.sine * omega.sine, sinCos = phi.sine * omega.cosine;
  return {kappa.cosine * phi.cosine,
          kappa.cosine * sinSin - kappa.sine * omega.cosine,
          kappa.cosine * sinCos + kappa.sine * omega.sine,
          kappa.sine * phi.cosine,
          kappa.sine * sinSin + kappa.cosine * omega.cosine,
          kappa.sine * sinCos - kappa.cosine * omega.sine,
          -phi.sine,
          phi.cosine * omega.sine,
          phi.cosine * omega.cosine};
}

SpacePoint HawkSensor::PositionOf(const double (&parts)[kNumPoseParts]) const {
  const SpacePoint local = Apply(lsrToEcf_, {parts[0], parts[1], parts[2]});
  return {origin_.x + local.x, origin_.y + local.y, origin_.z + local.z};
}

/// Where a line lies along the flight, in metres in the plane of the detector.
double HawkSensor::AlongOf(double line) const {
  return (line - axisLine_) * cellsPerLine_ * cellSize_;
}

SightLine HawkSensor::SightOf(double column, double line) const {
  double parts[kNumPoseParts];
  Evaluate(line, parts);
  const Matrix3 turn = LocalTurnOf(parts);
  // A rotation that is not exactly one stretches the camera's axis, and the focal length is that of the earth's frame.
  const SpacePoint axis = Apply(lsrToEcf_, Apply(turn, {0.0, 1.0, 0.0}));
  const double focal = focalLength_ / LengthOf(axis);
  const SpacePoint inCamera = {-(column - axisColumn_) * cellSize_, focal, -AlongOf(line)};
  const SpacePoint sight = Apply(lsrToEcf_, Apply(turn, inCamera));
  const double scale = 1.0 / LengthOf(sight);
  return {PositionOf(parts), {sight.x * scale, sight.y * scale, sight.z * scale}};
}

HawkSensor::Seen HawkSensor::Look(const SpacePoint& place, double line) const {
  double parts[kNumPoseParts];
  Evaluate(line, parts);
  const Matrix3 turn = LocalTurnOf(parts);
  const SpacePoint origin = PositionOf(parts);
  const SpacePoint inCamera = ApplyTransposed(turn, Apply(ecfToLsr_, Minus(place, origin)));
  const SpacePoint axis = Apply(lsrToEcf_, Apply(turn, {0.0, 1.0, 0.0}));
  const double scale = -focalLength_ / (LengthOf(axis) * inCamera.y);
  return {inCamera.x * scale, inCamera.z * scale, inCamera.y, inCamera.x / inCamera.y, origin};
}

/// How far the place lies along the flight from where the line does, in lines.
double HawkSensor::MissOf(const SpacePoint& place, double line, Seen& seen) const {
  seen = Look(place, line);
  return (AlongOf(line) - seen.along) / (cellsPerLine_ * cellSize_);
}

namespace {

/// How near a line has to come, in lines.
constexpr double kNearLine = 1e-6;

}  // namespace

/// What the pose in the middle of the flight tells of places around the one that it sees there.
void HawkSensor::MakeGuess(double depth) {
  const double middle = 0.5 * lines_, reach = 0.01 * depth;
  Seen seen{};
  guessPlace_ = SightOf(axisColumn_, middle).At(depth);
  guessSlope_ = (MissOf(guessPlace_, lines_, seen) - MissOf(guessPlace_, 0.0, seen)) / lines_;
  const auto rateAlong = [&](double SpacePoint::*axis) {
    SpacePoint before = guessPlace_, behind = guessPlace_;
    before.*axis -= reach;
    behind.*axis += reach;
    return (MissOf(before, middle, seen) - MissOf(behind, middle, seen)) / (2.0 * reach * guessSlope_);
  };
  guessRate_ = {rateAlong(&SpacePoint::x), rateAlong(&SpacePoint::y), rateAlong(&SpacePoint::z)};
}

HawkSensor::Trace HawkSensor::GuessOf(const SpacePoint& place) const {
  const SpacePoint way = Minus(place, guessPlace_);
  const double lines = way.x * guessRate_.x + way.y * guessRate_.y + way.z * guessRate_.z;
  return {true, std::clamp(0.5 * lines_ + lines, 0.0, lines_), guessSlope_};
}

/// The secant from the line where the last place was found, or from a guess. It needs a step or two where places lie
/// near to each other, and gives up where they don't, or where another line may see the place as well.
bool HawkSensor::FollowLine(const SpacePoint& place, double margin, Trace& trace, Seen& seen) const {
  constexpr int kMaxSteps = 6;
  if (onceSeen_.IsEmpty() || margin > GetWidestMargin()) return false;
  const Trace begin = trace.isSet ? trace : GuessOf(place);
  double line = begin.line, slope = begin.slope;
  double miss = MissOf(place, line, seen);
  for (int i = 0; i < kMaxSteps && std::abs(miss) > kNearLine; ++i) {
    const double next = line - miss / slope;
    if (!(next >= -margin && next <= lines_ - 1.0 + margin)) return false;
    const double missThere = MissOf(place, next, seen);
    slope = (missThere - miss) / (next - line);
    line = next;
    miss = missThere;
  }
  const bool isWithin = line >= -margin && line <= lines_ - 1.0 + margin;
  if (!isWithin || !(std::abs(miss) <= kNearLine) || !onceSeen_.Has(seen.depth, seen.tangent)) return false;
  trace = {true, line, slope};
  return true;
}

/// The secant between two lines of different sign, where the end that stays is made lighter each time: it comes near
/// within a few steps, and never leaves the two.
bool HawkSensor::SearchLine(const SpacePoint& place, double margin, Trace& trace, Seen& seen) const {
  constexpr int kMaxSteps = 60;
  double low = -margin, high = lines_ - 1.0 + margin;
  double atLow = MissOf(place, low, seen);
  const bool isInFront = seen.depth > 0.0;
  double atHigh = MissOf(place, high, seen);
  if (!isInFront || !(seen.depth > 0.0) || !(atLow * atHigh <= 0.0)) return false;
  const double slope = (atHigh - atLow) / (high - low);
  double found = atLow == 0.0 ? low : high;
  double miss = atLow == 0.0 ? 0.0 : atHigh;
  for (int i = 0; i < kMaxSteps && std::abs(miss) > kNearLine; ++i) {
    found = low + (high - low) * atLow / (atLow - atHigh);
    miss = MissOf(place, found, seen);
    if (miss * atHigh < 0.0) {
      low = high;
      atLow = atHigh;
    } else {
      atLow *= 0.5;
    }
    high = found;
    atHigh = miss;
  }
  if (!(std::abs(miss) <= kNearLine)) return false;
  seen = Look(place, found);
  trace = {true, found, slope};
  return true;
}

bool HawkSensor::FindPixel(const SpacePoint& place, double margin, Trace& trace, double& column, double& line) const {
  Seen seen{};
  if (!FollowLine(place, margin, trace, seen) && !SearchLine(place, margin, trace, seen)) return false;
  if (!IsFacing(place, seen.origin)) return false;
  const double across = seen.across / cellSize_ + axisColumn_;
  if (!(across >= -margin && across <= samples_ - 1.0 + margin)) return false;
  column = across;
  line = trace.line;
  return true;
}

}  // namespace zrk
