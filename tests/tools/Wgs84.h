#pragma once

#include <memory>
#include <utility>

#include <ogr_spatialref.h>

/// Longitude and latitude on WGS 84 of a place in a system, as OGR alone finds them.
inline std::pair<double, double> LonLatByOgr(int epsg, double x, double y) {
  OGRSpatialReference from, to;
  from.importFromEPSG(epsg);
  to.importFromEPSG(4326);
  from.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  to.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  const std::unique_ptr<OGRCoordinateTransformation> transformation(OGRCreateCoordinateTransformation(&from, &to));
  transformation->Transform(1, &x, &y);
  return {x, y};
}
