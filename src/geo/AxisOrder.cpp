#include "geo/AxisOrder.h"

#include "geo/GdalScope.h"

#include <ogr_spatialref.h>
#include <exception>

namespace zrk {

bool HasNorthFirst(int epsg) {
  const QuietGdal quiet;
  try {
    SwitchNetworkOff();
    OGRSpatialReference system;
    if (system.importFromEPSGA(epsg) != OGRERR_NONE) return false;
    return system.EPSGTreatsAsLatLong() || system.EPSGTreatsAsNorthingEasting();
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace zrk
