// A platform on a straight way, which looks to the right. Local axes point east, north and up at the target, on the
// ellipsoid. A turn about the flight direction (phi) leans the look aside, and one about the vertical (kappa) sets the
// heading.
//
// The sensor sweeps its look along the flight while it scans: over the whole image by a fixed number of cells. The
// platform makes up for the rest, so that pixels come out about square. The sweep is not centred on the image, and the
// platform stands back so that the middle line meets the target all the same.

#include "formats/hawk/SimulatedFlight.h"

#include "XEarthCentred.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace {

constexpr double kRadians = std::numbers::pi / 180.0;
constexpr double kCellSize = 0.012;  // in millimetres
/// A sample of the pose for so many lines.
constexpr int kLinesOfSample = 24;
constexpr int kLeastSamples = 9;

struct SimulatedPlatform {
  double height;  ///< in metres
  double aside;   ///< in degrees
  double pixel;   ///< in metres
};
constexpr SimulatedPlatform kAircraft = {9000.0, 52.0, 1.0};
constexpr SimulatedPlatform kSatellite = {620000.0, 15.0, 2.0};

const SimulatedPlatform& PlatformOf(const HawkOptions& options) {
  return options.platform == "satellite" ? kSatellite : kAircraft;
}

/// How far the look is swept along the flight, in cells, and by what share of that beyond the image's middle.
struct SimulatedSweep {
  double cells;
  double shift;
};
SimulatedSweep SweepOf(const HawkOptions& options) {
  return options.isInfrared ? SimulatedSweep{466.944, -0.2} : SimulatedSweep{1964.16, 0.78};
}

/// The shortest text that reads back as the same number, whatever the locale.
std::string ExactText(double value) {
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  return std::string(text, end);
}

std::string ElementOf(const char* name, const std::string& content) {
  return std::string("<") + name + ">" + content + "</" + name + ">\n";
}

std::string ParameterOf(const std::string& value) {
  return ElementOf("Parameter", ElementOf("Original", ElementOf("Value", value)));
}

std::string GridOf(const char* name, const std::vector<double>& values) {
  std::string rows = "<Matrix rows=\"" + std::to_string(values.size()) + "\" cols=\"1\">\n";
  for (const double value : values) rows += ElementOf("Row", ExactText(value));
  return ElementOf(name, ParameterOf(ElementOf("Grid", rows + "</Matrix>\n")));
}

}  // namespace

SimulatedFlight::SimulatedFlight(const HawkOptions& options, double ground)
    : options_(options),
      height_(PlatformOf(options).height),
      aside_(PlatformOf(options).aside),
      pixel_(options.pixelOnGround.value_or(PlatformOf(options).pixel)) {
  const double lon = options.target[0] * kRadians, lat = options.target[1] * kRadians;
  XfnGeoToEcr(lon, lat, 0.0, origin_[0], origin_[1], origin_[2]);
  const double sinLon = std::sin(lon), cosLon = std::cos(lon), sinLat = std::sin(lat), cosLat = std::cos(lat);
  rotation_ = {-sinLon,         cosLon,          0.0,   -sinLat * cosLon, -sinLat * sinLon, cosLat,
               cosLat * cosLon, cosLat * sinLon, sinLat};
  FlyAlong(ground);
}

void SimulatedFlight::FlyAlong(double ground) {
  const double range = (height_ - ground) / std::cos(aside_ * kRadians);
  focalLength_ = range * kCellSize / pixel_;
  const int count = std::max(options_.size[1] / kLinesOfSample + 1, kLeastSamples);
  for (int i = 0; i < count; ++i) SetPose(i, count, range);
}

/// The attitude is shaken by waves of several lengths, none of them shorter than some samples.
void SimulatedFlight::SetPose(int index, int count, double range) {
  const double lines = options_.size[1], line = lines * index / (count - 1);
  const SimulatedSweep sweep = SweepOf(options_);
  const double step = std::max(pixel_ * (1.0 - sweep.cells / lines), 0.1 * pixel_);
  const double along = step * (line - 0.5 * lines) - 0.5 * sweep.cells * sweep.shift * pixel_;
  const double away = -range * std::sin(aside_ * kRadians);
  const double kappa = -options_.heading * kRadians;
  const auto wave = [&](double periods, double phase) {
    const double most = count / 8.0;
    return std::sin(2.0 * std::numbers::pi * std::min(periods, most) * index / (count - 1) + phase);
  };
  const double angle = options_.shake * pixel_ / range;
  grids_[0].push_back(away * std::cos(kappa) - along * std::sin(kappa));
  grids_[1].push_back(away * std::sin(kappa) + along * std::cos(kappa));
  grids_[2].push_back(height_ + 0.2 * options_.shake * pixel_ * wave(2.0, 0.4));
  grids_[3].push_back(angle * (1.2 * wave(2.3, 0.0) + 0.5 * wave(5.1, 1.0)));
  grids_[4].push_back(-aside_ * kRadians + angle * (2.0 * wave(1.7, 2.0) + 0.7 * wave(4.3, 0.5)));
  grids_[5].push_back(kappa + angle * (1.5 * wave(1.1, 3.0) + 0.6 * wave(3.7, 2.5)));
}

std::string SimulatedFlight::GetDocument() const {
  std::string rows;
  for (std::size_t i = 0; i < rotation_.size(); i += 3) {
    rows += ElementOf("Row",
                      ExactText(rotation_[i]) + " " + ExactText(rotation_[i + 1]) + " " + ExactText(rotation_[i + 2]));
  }
  const std::string point = "<Point3D x=\"" + ExactText(origin_[0]) + "\" y=\"" + ExactText(origin_[1]) + "\" z=\"" +
                            ExactText(origin_[2]) + "\"/>\n";
  const std::string frame = ElementOf("OriginInEcf", point) + ElementOf("RotationEcfToLsr", ElementOf("Matrix", rows));
  const std::string positions = GridOf("X", grids_[0]) + GridOf("Y", grids_[1]) + GridOf("Z", grids_[2]);
  const std::string attitudes = GridOf("Omega", grids_[3]) + GridOf("Phi", grids_[4]) + GridOf("Kappa", grids_[5]);
  const std::string size = "<Size lines=\"" + std::to_string(options_.size[1]) + "\" samples=\"" +
                           std::to_string(options_.size[0]) + "\"/>\n";
  return "<?xml version=\"1.0\"?>\n" +
         ElementOf("SIF",
                   ElementOf("Pose", ElementOf("CoordSys", frame) + ElementOf("PositionInMeters", positions) +
                                         ElementOf("AttitudeInRad", attitudes)) +
                       ElementOf("Image", size + ElementOf("OriginCorner", options_.corner) +
                                              ElementOf("Spectrum", options_.isInfrared ? "IR" : "VIS")) +
                       ElementOf("InteriorData", ElementOf("FocalLengthInMm", ParameterOf(ExactText(focalLength_))) +
                                                     ElementOf("DetectorCellSizeInMm", ExactText(kCellSize))));
}
