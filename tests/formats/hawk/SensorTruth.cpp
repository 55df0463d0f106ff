// A flight is laid out in the local frame of its target: the platform stands back from the target against its look, and
// moves along its heading while the sensor scans. The model then goes the other way, from a pixel to the ground, with
// nothing of the library.

#include "SensorTruth.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace {

using Real = SensorTruth::Real;
using Vector = SensorTruth::Vector;

constexpr Real kPi = 3.14159265358979323846264338327950288L;
constexpr Real kMajor = 6378137.0L;
constexpr Real kMinor = 6356752.314245163L;

std::string Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

std::string GridText(const char* name, const std::vector<double>& values) {
  std::string text = std::string("<") + name + "><Parameter><Original><Value><Grid><Matrix rows=\"" +
                     std::to_string(values.size()) + "\" cols=\"1\">\n";
  for (const double value : values) text += "<Row>" + Number(value) + "</Row>\n";
  return text + "</Matrix></Grid></Value></Original></Parameter></" + name + ">\n";
}

}  // namespace

std::string FlownScene::Document() const {
  std::string text = "<?xml version=\"1.0\"?>\n<SIF><Pose><CoordSys><OriginInEcf><Point3D x=\"" + Number(origin[0]) +
                     "\" y=\"" + Number(origin[1]) + "\" z=\"" + Number(origin[2]) +
                     "\"/></OriginInEcf><RotationEcfToLsr><Matrix>\n";
  for (std::size_t i = 0; i < 9; i += 3) {
    text += "<Row>" + Number(rotation[i]) + " " + Number(rotation[i + 1]) + " " + Number(rotation[i + 2]) + "</Row>\n";
  }
  text += "</Matrix></RotationEcfToLsr></CoordSys><PositionInMeters>\n";
  text += GridText("X", grids[0]) + GridText("Y", grids[1]) + GridText("Z", grids[2]);
  text += "</PositionInMeters><AttitudeInRad>\n";
  text += GridText("Omega", grids[3]) + GridText("Phi", grids[4]) + GridText("Kappa", grids[5]);
  text += "</AttitudeInRad></Pose>\n<Image><Size lines=\"" + std::to_string(lines) + "\" samples=\"" +
          std::to_string(samples) + "\"/><OriginCorner>" + corner + "</OriginCorner><Spectrum>" + spectrum +
          "</Spectrum></Image>\n<InteriorData><FocalLengthInMm><Parameter><Original><Value>" + Number(focalLength) +
          "</Value></Original></Parameter></FocalLengthInMm><DetectorCellSizeInMm>" + Number(cellSize) +
          "</DetectorCellSizeInMm></InteriorData></SIF>\n";
  return text;
}

FlownScene SensorFlight::Fly() const {
  FlownScene scene;
  const double east = lon * M_PI / 180.0, north = lat * M_PI / 180.0;
  const double eccentricity = 1.0 - static_cast<double>(kMinor * kMinor / (kMajor * kMajor));
  const double radius = static_cast<double>(kMajor) / std::sqrt(1.0 - eccentricity * std::sin(north) * std::sin(north));
  scene.origin = {radius * std::cos(north) * std::cos(east), radius * std::cos(north) * std::sin(east),
                  radius * (1.0 - eccentricity) * std::sin(north)};
  scene.rotation = {-std::sin(east),
                    std::cos(east),
                    0.0,
                    -std::sin(north) * std::cos(east),
                    -std::sin(north) * std::sin(east),
                    std::cos(north),
                    std::cos(north) * std::cos(east),
                    std::cos(north) * std::sin(east),
                    std::sin(north)};
  scene.lines = 1200;
  scene.samples = 1000;
  scene.spectrum = isInfrared ? "IR" : "VIS";
  scene.cellSize = 0.012;
  // A cell is a metre on the ground, seen along the slanted look.
  const double tilt = aside * M_PI / 180.0, range = height / std::cos(tilt);
  scene.focalLength = range * scene.cellSize;
  // The sensor looks to the right of its heading.
  const double away = -height * std::tan(tilt);
  constexpr int kCount = 41;
  for (int i = 0; i < kCount; ++i) {
    const double along = (i - 0.5 * (kCount - 1)) * 12.0, time = 2.0 * M_PI * i / (kCount - 1);
    scene.grids[0].push_back(away * std::cos(heading) - along * std::sin(heading));
    scene.grids[1].push_back(away * std::sin(heading) + along * std::cos(heading));
    scene.grids[2].push_back(height + shake * 0.4 * std::sin(3.0 * time));
    scene.grids[3].push_back(shake * 1.5 / range * std::sin(4.0 * time));
    scene.grids[4].push_back(-tilt + shake * 2.0 / range * std::sin(5.0 * time + 1.0));
    scene.grids[5].push_back(heading + shake * 1.0 / range * std::cos(3.0 * time));
  }
  return scene;
}

namespace {

Vector Times(const std::array<Real, 9>& m, const Vector& v) {
  return {m[0] * v[0] + m[1] * v[1] + m[2] * v[2], m[3] * v[0] + m[4] * v[1] + m[5] * v[2],
          m[6] * v[0] + m[7] * v[1] + m[8] * v[2]};
}

/// Gauss and Jordan with the largest pivot. The matrix has its right sides behind its columns.
void Eliminate(std::vector<std::vector<Real>>& rows) {
  const std::size_t size = rows.size();
  for (std::size_t i = 0; i < size; ++i) {
    std::size_t pivot = i;
    for (std::size_t j = i + 1; j < size; ++j) {
      if (std::fabs(rows[j][i]) > std::fabs(rows[pivot][i])) pivot = j;
    }
    std::swap(rows[i], rows[pivot]);
    const Real factor = rows[i][i];
    for (Real& value : rows[i]) value /= factor;
    for (std::size_t j = 0; j < size; ++j) {
      const Real share = rows[j][i];
      for (std::size_t k = i; j != i && k < rows[j].size(); ++k) rows[j][k] -= share * rows[i][k];
    }
  }
}

/// The second derivatives of the spline with the slopes of parabolas at its ends.
std::vector<Real> CurvaturesOf(const std::vector<Real>& t, const std::vector<double>& values) {
  const std::size_t n = values.size(), last = n - 1;
  const Real h = t[1] - t[0];
  const auto slope = [&](std::size_t i) { return (Real(values[i + 1]) - values[i]) / h; };
  const Real first = slope(0) - (slope(1) - slope(0)) / 2;
  const Real end = slope(last - 1) + (slope(last - 1) - slope(last - 2)) / 2;
  std::vector<std::vector<Real>> rows(n, std::vector<Real>(n + 1));
  const auto chord = [&](std::size_t i) { return (Real(values[i + 1]) - values[i]) / (t[i + 1] - t[i]); };
  rows[0][0] = (t[1] - t[0]) / 3, rows[0][1] = (t[1] - t[0]) / 6, rows[0][n] = chord(0) - first;
  rows[last][last] = (t[last] - t[last - 1]) / 3, rows[last][last - 1] = (t[last] - t[last - 1]) / 6;
  rows[last][n] = end - chord(last - 1);
  for (std::size_t i = 1; i < last; ++i) {
    rows[i][i - 1] = (t[i] - t[i - 1]) / 6;
    rows[i][i] = (t[i + 1] - t[i - 1]) / 3;
    rows[i][i + 1] = (t[i + 1] - t[i]) / 6;
    rows[i][n] = chord(i) - chord(i - 1);
  }
  Eliminate(rows);
  std::vector<Real> curvatures;
  for (const std::vector<Real>& row : rows) curvatures.push_back(row[n]);
  return curvatures;
}

std::array<Real, 9> InverseOf(const std::array<double, 9>& matrix) {
  std::vector<std::vector<Real>> rows(3, std::vector<Real>(6));
  for (std::size_t i = 0; i < 9; ++i) rows[i / 3][i % 3] = matrix[i];
  for (std::size_t i = 0; i < 3; ++i) rows[i][3 + i] = 1;
  Eliminate(rows);
  std::array<Real, 9> inverse{};
  for (std::size_t i = 0; i < 9; ++i) inverse[i] = rows[i / 3][3 + i % 3];
  return inverse;
}

Vector TurnAboutX(Real angle, const Vector& v) {
  return {v[0], std::cos(angle) * v[1] - std::sin(angle) * v[2], std::sin(angle) * v[1] + std::cos(angle) * v[2]};
}
Vector TurnAboutY(Real angle, const Vector& v) {
  return {std::cos(angle) * v[0] + std::sin(angle) * v[2], v[1], std::cos(angle) * v[2] - std::sin(angle) * v[0]};
}
Vector TurnAboutZ(Real angle, const Vector& v) {
  return {std::cos(angle) * v[0] - std::sin(angle) * v[1], std::sin(angle) * v[0] + std::cos(angle) * v[1], v[2]};
}

}  // namespace

SensorTruth::SensorTruth(const FlownScene& scene) : scene_(scene), toEarth_(InverseOf(scene.rotation)) {
  const int count = static_cast<int>(scene.grids[0].size());
  for (int i = 0; i < count; ++i) times_.push_back(static_cast<double>(scene.lines) * i / (count - 1));
  for (std::size_t i = 0; i < 6; ++i) curvatures_[i] = CurvaturesOf(times_, scene.grids[i]);
}

std::array<Real, 6> SensorTruth::PoseAt(Real line) const {
  std::size_t i = 0;
  while (i + 2 < times_.size() && times_[i + 1] <= line) ++i;
  const Real h = times_[i + 1] - times_[i], b = (line - times_[i]) / h, a = 1 - b;
  std::array<Real, 6> pose{};
  for (std::size_t k = 0; k < 6; ++k) {
    const std::vector<double>& y = scene_.grids[k];
    const std::vector<Real>& m = curvatures_[k];
    pose[k] = a * y[i] + b * y[i + 1] + ((a * a * a - a) * m[i] + (b * b * b - b) * m[i + 1]) * h * h / 6;
  }
  return pose;
}

Vector SensorTruth::Ray::At(Real t) const {
  return {start[0] + t * direction[0], start[1] + t * direction[1], start[2] + t * direction[2]};
}

SensorTruth::Ray SensorTruth::RayOf(Real x, Real y) const {
  if (scene_.corner.find("Lower") != std::string::npos) y = scene_.lines - 1 - y;
  if (scene_.corner.find("Left") != std::string::npos) x = scene_.samples - 1 - x;
  const std::array<Real, 6> pose = PoseAt(y);
  const bool isInfrared = scene_.spectrum == "IR";
  const Real extent = isInfrared ? -466.944L : -1964.16L, shift = isInfrared ? -0.2L : 0.78L;
  const int halfSamples = scene_.samples / 2, halfLines = scene_.lines / 2;
  const Real dx = (x - halfSamples) * scene_.cellSize / 1000;
  const Real dz = (y - halfLines * (1 - shift)) * (extent / scene_.lines) * scene_.cellSize / 1000;
  const Vector look = {-dx, scene_.focalLength / 1000, -dz};
  const Vector turned = TurnAboutZ(pose[5], TurnAboutY(pose[4], TurnAboutX(pose[3] - kPi / 2, look)));
  Ray ray{Times(toEarth_, {pose[0], pose[1], pose[2]}), Times(toEarth_, turned)};
  for (std::size_t i = 0; i < 3; ++i) ray.start[i] += scene_.origin[i];
  const Real length = std::sqrt(ray.direction[0] * ray.direction[0] + ray.direction[1] * ray.direction[1] +
                                ray.direction[2] * ray.direction[2]);
  for (Real& each : ray.direction) each /= length;
  return ray;
}

/// Divided by its axes the ellipsoid is a sphere of radius 1.
Real SensorTruth::Cut(const Ray& ray, Real height) {
  const std::array<Real, 3> axes = {kMajor + height, kMajor + height, kMinor + height};
  Real ss = 0, sd = 0, dd = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    const Real s = ray.start[i] / axes[i], d = ray.direction[i] / axes[i];
    ss += s * s, sd += s * d, dd += d * d;
  }
  const Real root = sd * sd - dd * (ss - 1);
  return (-sd - std::sqrt(root)) / dd;
}

SensorTruth::Place SensorTruth::PlaceOf(const Vector& point) {
  const Real e2 = 1 - kMinor * kMinor / (kMajor * kMajor);
  const Real p = std::hypot(point[0], point[1]);
  Real lat = std::atan2(point[2], p * (1 - e2)), normal = 0;
  for (int i = 0; i < 12; ++i) {
    normal = kMajor / std::sqrt(1 - e2 * std::sin(lat) * std::sin(lat));
    lat = std::atan2(point[2] + e2 * normal * std::sin(lat), p);
  }
  normal = kMajor / std::sqrt(1 - e2 * std::sin(lat) * std::sin(lat));
  const Real height =
      p * std::cos(lat) + point[2] * std::sin(lat) - kMajor * kMajor / normal;  // along the normal, also at the poles
  return {std::atan2(point[1], point[0]) * 180 / kPi, lat * 180 / kPi, height, point};
}

SensorTruth::Place SensorTruth::LocateByPasses(Real x, Real y, const Ground& ground) const {
  const Ray ray = RayOf(x, y);
  Real raised = 0;
  for (int pass = 1;; ++pass) {
    const Place place = PlaceOf(ray.At(Cut(ray, raised)));
    raised = ground(place.lon, place.lat);
    if (std::fabs(place.height - raised) < 1 || pass == 4) return place;
  }
}

SensorTruth::Place SensorTruth::LocateByMarching(Real x, Real y, const Ground& ground, Real top) const {
  const Ray ray = RayOf(x, y);
  const auto isBelow = [&](Real t) {
    const Place place = PlaceOf(ray.At(t));
    return place.height <= ground(place.lon, place.lat);
  };
  constexpr Real kStep = 2;
  Real t = Cut(ray, top);
  while (!isBelow(t)) t += kStep;
  Real above = t - kStep, below = t;
  for (int i = 0; i < 40; ++i) {
    const Real middle = (above + below) / 2;
    (isBelow(middle) ? below : above) = middle;
  }
  return PlaceOf(ray.At(below));
}
