#pragma once

#include "bands/hawk/HawkGround.h"

namespace zrk {

// What counts as no height, below the deepest trenches, in metres; and as none of the geoid, in centimetres.
inline constexpr double kLowestTerrain = -12000.0;
inline constexpr double kLowestGeoid = -20000.0;

/// The terrain model and the geoid of the installation, as far as they are there. They are opened at the first call,
/// and shared from then on.
HawkTerrain GetInstalledTerrain();

}  // namespace zrk
