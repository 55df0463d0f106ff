// Images become composites of a manager. An image has to lie in the world: in the system that it names, or in that of
// the map where it names none.

#include "MapSources.h"

#include "Dataset.h"
#include "Place.h"
#include "XCoordinateTransformation.h"

#include <algorithm>
#include <cmath>

namespace {

/// Images are decoded as a whole within this share of the percentages.
constexpr int kDecodePercentOfMap = 10;

/// The band of a role, or the one that stands at the role's place where the file names no roles.
ZRMBand* FindColour(const XRSFile& file, XColourRole role, int place) {
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    if (file.GetBandAt(i)->GetColourRole() == role) return file.GetBandAt(i);
  }
  return file.GetBandAt(place);
}

/// The length of the step from a pixel to another in the map; 0 where either has no place there.
double StepBetween(const Place& place, const XCoordinateTransformation& way, const std::array<double, 2>& from,
                   const std::array<double, 2>& to) {
  auto first = place.ToWorld(from[0], from[1]), second = place.ToWorld(to[0], to[1]);
  if (!way.TransformPt(first[0], first[1]) || !way.TransformPt(second[0], second[1])) return 0.0;
  return std::hypot(second[0] - first[0], second[1] - first[1]);
}

/// The smaller side of the pixel in the middle of a band, where projections distort least; 0 where it has no place in
/// the map.
double MeasurePixel(const ZRMBand& band, const XSpatialReference& map) {
  const Place place(band);
  if (map.IsSame(*band.GetSR())) {
    const std::array<double, 2> size = place.GetPixelSize();
    return std::min(std::abs(size[0]), std::abs(size[1]));
  }
  const auto way = XfnCreateCoordTrans(*band.GetSR(), map);
  if (!way) return 0.0;
  const std::array<double, 2> middle{0.5 * band.GetXSize(), 0.5 * band.GetYSize()};
  return std::min(StepBetween(place, *way, middle, {middle[0] + 1.0, middle[1]}),
                  StepBetween(place, *way, middle, {middle[0], middle[1] + 1.0}));
}

}  // namespace

void MapSources::SetSystem(const XSpatialReference& sr) {
  manager_.SetSR(sr);
}

bool MapSources::Add(const std::string& path, XThread& thread, std::string& err) {
  std::unique_ptr<XRSFile> file = OpenRaster(path, thread, err);
  const bool isPlaced = file && TakePlace(*file, err) && Measure(*file->GetBandAt(0), err);
  if (!isPlaced || !DecodeAhead(*file->GetBandAt(0), kDecodePercentOfMap, thread, err)) {
    err = path + ": " + (err.empty() ? "it can't be read" : err);
    return false;
  }
  files_.push_back(std::move(file));
  return Show(*files_.back());
}

bool MapSources::TakePlace(XRSFile& file, std::string& err) {
  const ZRMBand& first = *file.GetBandAt(0);
  if (first.GetCoordinateKind() != kCoordinateWorld) {
    err = "it has no place in the world";
    return false;
  }
  const XSpatialReference* const map = manager_.GetSR();
  if (!first.GetSR()->IsEmpty()) {
    if (!map) manager_.SetSR(*first.GetSR());
    return true;
  }
  const XSpatialReference* const ofUnnamed = unnamed_ ? &*unnamed_ : map;
  if (!ofUnnamed || ofUnnamed->IsEmpty()) {
    err = "it names no system; --srs EPSG:n does";
    return false;
  }
  for (int i = 0; i < file.GetNumOfBands(); ++i) file.GetBandAt(i)->SetSR(*ofUnnamed);
  return true;
}

bool MapSources::Measure(const ZRMBand& band, std::string& err) {
  const double size = MeasurePixel(band, *manager_.GetSR());
  if (!(size > 0.0)) {
    err = "its pixels have no place in the system of the map";
    return false;
  }
  finestPixel_ = finestPixel_ > 0.0 ? std::min(finestPixel_, size) : size;
  return true;
}

bool MapSources::Show(const XRSFile& file) {
  auto composite = std::make_unique<ZRMComposite>();
  composite->SetBand(0, file.GetBandAt(0));
  const bool isColour = !areHeights_ && file.GetNumOfBands() >= 3 && file.GetBandAt(0)->GetColourRole() != kRoleGrey;
  constexpr XColourRole kRoles[] = {kRoleRed, kRoleGreen, kRoleBlue};
  for (int i = 0; isColour && i < 3; ++i) composite->SetBand(i, FindColour(file, kRoles[i], i));
  return manager_.AddZRMComposite(composite.get()) && composite.release() != nullptr;
}
