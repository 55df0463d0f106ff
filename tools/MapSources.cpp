// Opens the inputs of exports and pyramids, and makes a composite of each for one manager. The first input lies on top.
// An image has to lie in the world: in its own system, or in the system of the map if it names none.

#include "MapSources.h"

#include "Dataset.h"
#include "Place.h"
#include "SourceKey.h"
#include "XCoordinateTransformation.h"
#include "XFormatTable.h"

#include <algorithm>
#include <cmath>

namespace {

/// Images are decoded as a whole within this share of the percentages.
constexpr int kDecodePercentOfMap = 10;

/// Null where no band has the role.
ZRMBand* FindRole(const XRSFile& file, XColourRole role) {
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    if (file.GetBandAt(i)->GetColourRole() == role) return file.GetBandAt(i);
  }
  return nullptr;
}

/// The part of that name among notes and theirs; null without one.
const tagXNote* FindNote(const std::vector<tagXNote>& notes, const char* name) {
  for (const tagXNote& each : notes) {
    const tagXNote* const found = each.name == name ? &each : FindNote(each.parts, name);
    if (found) return found;
  }
  return nullptr;
}

/// The largest sample of a band whose format tells of components with fewer bits than their type has; otherwise 0.
double FindLargestSample(const XRSFile& file, const ZRMBand& band) {
  const tagXFormatNotes notes = XfnDescribeFormat(file.GetBandAt(0), false);
  const tagXNote* const components = FindNote(notes.values, "components");
  for (int i = 0; components && i < file.GetNumOfBands(); ++i) {
    const auto place = static_cast<std::size_t>(i);
    if (file.GetBandAt(i) != &band || place >= components->parts.size()) continue;
    const tagXNote* const bits = FindNote(components->parts[place].parts, "bits");
    return bits ? std::ldexp(1.0, static_cast<int>(bits->number)) - 1.0 : 0.0;
  }
  return 0.0;
}

/// The band of a role, or the one that stands at the role's place where the file names no roles.
ZRMBand* FindColour(const XRSFile& file, XColourRole role, int place) {
  ZRMBand* const band = FindRole(file, role);
  return band ? band : file.GetBandAt(place);
}

using Step = std::array<double, 2>;

/// The shortest way in the map that belongs to a way of one pixel, whatever its direction, when those across and down
/// are known: the smaller singular value of both.
double ShortestStep(const Step& across, const Step& down) {
  const double squares = across[0] * across[0] + across[1] * across[1] + down[0] * down[0] + down[1] * down[1];
  const double area = std::abs(across[0] * down[1] - across[1] * down[0]);
  const double root = std::sqrt(std::max(0.0, squares * squares - 4.0 * area * area));
  return area / std::sqrt(0.5 * (squares + root));
}

/// The shortest step of a pixel in the map, near the middle of a band, where projections distort least; 0 where that
/// has no place in the map. The middle itself may be a pole, which has no longitude. Steps in degrees go the short way
/// around the earth.
double MeasureStep(const Place& place, const XCoordinateTransformation& way, const ZRMBand& band, bool isCircling) {
  const double column = 0.375 * band.GetXSize(), row = 0.5 * band.GetYSize();
  Step from = place.ToWorld(column, row), across = place.ToWorld(column + 1.0, row),
       down = place.ToWorld(column, row + 1.0);
  for (Step* const each : {&from, &across, &down}) {
    if (!way.TransformPt((*each)[0], (*each)[1])) return 0.0;
  }
  for (Step* const each : {&across, &down}) {
    (*each)[0] -= from[0];
    (*each)[1] -= from[1];
    if (isCircling) (*each)[0] -= 360.0 * std::round((*each)[0] / 360.0);
  }
  const double step = ShortestStep(across, down);
  return std::isfinite(step) ? step : 0.0;
}

/// The smaller side of a pixel of a band in the map; 0 where it has no place there.
double MeasurePixel(const ZRMBand& band, const XSpatialReference& map) {
  const Place place(band);
  if (map.IsSame(*band.GetSR())) {
    const std::array<double, 2> size = place.GetPixelSize();
    return std::min(std::abs(size[0]), std::abs(size[1]));
  }
  const auto way = XfnCreateCoordTrans(*band.GetSR(), map);
  return way ? MeasureStep(place, *way, band, map.IsGeographic() != 0) : 0.0;
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
  key_ += DescribeSource(path, *files_.back());
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
  ZRMBand* const opacity = areHeights_ ? nullptr : FindRole(file, kRoleAlpha);
  if (opacity) composite->SetOpacityBand(opacity, FindLargestSample(file, *opacity));
  return manager_.AddZRMComposite(composite.get()) && composite.release() != nullptr;
}
