#pragma once

#include "bands/hawk/HawkGrid.h"
#include "bands/hawk/HawkSensor.h"

#include <memory>
#include <optional>

namespace zrk {

/// The ground of a band: heights over a geoid over the ellipsoid. Without a terrain model it is the plain ellipsoid.
struct HawkTerrain {
  std::shared_ptr<HawkGrid> dem;
  std::shared_ptr<HawkGrid> geoid;
};

/// Finds the ground on lines of sight. One thread makes it for its own use, for one point or for many.
class HawkGround {
 public:
  explicit HawkGround(const HawkTerrain& terrain);

  /// A place in degrees and metres.
  struct Place {
    double lon = 0.0;
    double lat = 0.0;
    double height = 0.0;
  };

  /// Up to four passes over an ellipsoid that is raised to the terrain. True where any of them has met it; the place is
  /// that of the last one that did.
  bool FindCompatibly(const SightLine& sight, Place& place) const;
  /// The first place where the line of sight meets the ground. Returns null where it is found, or else a sentence that
  /// tells why not.
  const char* FindExactly(const SightLine& sight, Place& place) const;

  /// The height of the ground in whole metres; 0.0 where it is not known.
  double GetCompatibleHeight(double lon, double lat) const;
  /// The height of the ground. Null, or the sentence that tells why it is not known.
  const char* FindExactHeight(double lon, double lat, double& height) const;
  /// The same for many places. An unknown height becomes NaN.
  void FindExactHeights(const double* lon, const double* lat, int count, double* heights) const;

 private:
  struct March;
  struct Clearance;
  const char* Walk(March& march, Place& place) const;
  const char* CrossCells(March& march, const HawkGrid::Block& block, bool& isFound) const;
  const char* LookForDip(March& march, const Clearance& begin, const Clearance& end, double step, bool& isFound) const;
  const char* Narrow(March& march, Place& place) const;
  const char* FindClearance(const SightLine& sight, double distance, Clearance& clearance) const;
  const char* FindGround(double lon, double lat, HawkGrid::Value& ground) const;
  double FindHighestGeoid(double lon, double lat) const;

  std::optional<HawkGrid::Reader> dem_;
  std::optional<HawkGrid::Reader> geoid_;
};

}  // namespace zrk
