#include "Place.h"

#include "ZRMBand.h"

#include <cmath>

Place::Place(const ZRMBand& band) {
  band.GetGeoTransform(transform_.data());
}

std::array<double, 2> Place::ToWorld(double column, double row) const {
  const std::array<double, 6>& t = transform_;
  return {t[0] + column * t[1] + row * t[2], t[3] + column * t[4] + row * t[5]};
}

double Place::GetDeterminant() const {
  return transform_[1] * transform_[5] - transform_[2] * transform_[4];
}

/// Without rotation each axis has a division of its own, so that whole pixels come out whole.
std::array<double, 2> Place::ToPixel(double x, double y) const {
  const std::array<double, 6>& t = transform_;
  const double east = x - t[0], north = y - t[3];
  if (!IsTurned()) return {east / t[1], north / t[5]};
  const double determinant = GetDeterminant();
  return {(east * t[5] - north * t[2]) / determinant, (north * t[1] - east * t[4]) / determinant};
}

bool Place::HasExtent() const {
  const double determinant = GetDeterminant();
  return std::isfinite(determinant) && determinant != 0.0;
}

bool Place::IsTurned() const {
  return transform_[2] != 0.0 || transform_[4] != 0.0;
}

std::array<double, 2> Place::GetPixelSize() const {
  const std::array<double, 6>& t = transform_;
  if (!IsTurned()) return {t[1], -t[5]};
  return {std::hypot(t[1], t[4]), std::hypot(t[2], t[5])};
}

std::unique_ptr<XCoordinateTransformation> FindWayFromLonLat(const ZRMBand& band) {
  XSpatialReference wgs84;
  if (band.GetSR()->IsEmpty() || !wgs84.SetWellKnownGeogCS("WGS84")) return nullptr;
  return XfnCreateCoordTrans(wgs84, *band.GetSR());
}
