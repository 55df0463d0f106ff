#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

/// A flight of a scanning sensor as its document tells it. The local frame is east, north, up at a target on the
/// ellipsoid, which the image shows.
struct FlownScene {
  std::array<double, 3> origin{};
  std::array<double, 9> rotation{};          ///< from the earth-centred frame to the local one, row by row
  std::array<std::vector<double>, 6> grids;  ///< X, Y, Z, omega, phi, kappa
  int lines = 0;
  int samples = 0;
  std::string corner = "Upper Right";
  std::string spectrum = "VIS";
  double focalLength = 0.0;  ///< in millimetres, as the next
  double cellSize = 0.0;

  std::string Document() const;
};

/// How a scene is flown.
struct SensorFlight {
  double lon = 11.0;  ///< of the target, in degrees
  double lat = 47.5;
  double height = 9000.0;  ///< of the platform
  double aside = 52.0;     ///< the angle of the look against the vertical, in degrees
  double heading = 0.35;   ///< in radians, from north to west
  double shake = 1.0;      ///< of the attitude: 0 for a flight without any
  bool isInfrared = false;

  static SensorFlight Aircraft() { return {}; }
  static SensorFlight Satellite() { return {.height = 620000.0, .aside = 12.0}; }

  FlownScene Fly() const;
};

/// The independent model of the sensor: long double, a spline by elimination in a full matrix, and the ellipsoid as a
/// sphere in scaled coordinates.
class SensorTruth {
 public:
  using Real = long double;
  using Vector = std::array<Real, 3>;

  /// The height of the ground in metres at a longitude and latitude in degrees.
  using Ground = std::function<Real(Real lon, Real lat)>;
  struct Place {
    Real lon, lat, height;
    Vector point;
  };

  explicit SensorTruth(const FlownScene& scene);

  /// The place on the ellipsoid raised four times at most, until ground and height agree to a metre.
  Place LocateByPasses(Real x, Real y, const Ground& ground) const;
  /// The place where the line of sight first meets the ground, coming down from `top` metres. It goes in small steps
  /// and then halves the last one.
  Place LocateByMarching(Real x, Real y, const Ground& ground, Real top) const;

  static Place PlaceOf(const Vector& point);

 private:
  struct Ray {
    Vector start;
    Vector direction;
    Vector At(Real t) const;
  };
  Ray RayOf(Real x, Real y) const;
  std::array<Real, 6> PoseAt(Real line) const;
  static Real Cut(const Ray& ray, Real height);

  FlownScene scene_;
  std::array<Real, 9> toEarth_{};
  std::vector<Real> times_;
  std::array<std::vector<Real>, 6> curvatures_;
};
