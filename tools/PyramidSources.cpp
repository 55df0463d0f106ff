// The inputs of a pyramid: opened, placed in a system, and made composites of. An input without a system has no place
// on the globe unless the user names one for it.

#include "PyramidSources.h"

#include "Dataset.h"
#include "Place.h"
#include "XCoordinateTransformation.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace {

constexpr int kLonLatCode = 4326;
/// The share of decoding where images are decoded as a whole.
constexpr int kDecodeShare = 20;

/// The bands that are shown as red, green and blue: those that the file says are, or its first three. An image of fewer
/// is shown by its first.
std::vector<ZRMBand*> ChooseColours(const XRSFile& file) {
  std::vector<ZRMBand*> chosen;
  for (const XColourRole role : {kRoleRed, kRoleGreen, kRoleBlue}) {
    for (int i = 0; i < file.GetNumOfBands(); ++i) {
      if (file.GetBandAt(i)->GetColourRole() != role) continue;
      chosen.push_back(file.GetBandAt(i));
      break;
    }
  }
  if (chosen.size() == 3) return chosen;
  chosen.clear();
  const bool isGrey = file.GetBandAt(0)->GetColourRole() == kRoleGrey;
  const int count = file.GetNumOfBands() >= 3 && !isGrey ? 3 : 1;
  for (int i = 0; i < count; ++i) chosen.push_back(file.GetBandAt(i));
  return chosen;
}

std::string DescribeFile(const std::string& path) {
  std::error_code failure;
  const auto size = std::filesystem::file_size(path, failure);
  const auto time = std::filesystem::last_write_time(path, failure).time_since_epoch().count();
  return path + "|" + std::to_string(size) + "|" + std::to_string(time) + "\n";
}

}  // namespace

PyramidSources::PyramidSources(bool areHeights, const XSpatialReference* system)
    : areHeights_(areHeights), system_(system) {
  lonLat_.importFromEPSG(kLonLatCode);
  manager_.SetSR(lonLat_);
}

bool PyramidSources::Open(const std::vector<std::string>& paths, XThread& thread, std::string& err) {
  for (const std::string& path : paths) {
    if (Add(path, thread, err)) continue;
    // Of several inputs the failing one is named.
    if (paths.size() > 1) err = path + ": " + (err.empty() ? "can't be read" : err);
    return false;
  }
  return true;
}

bool PyramidSources::Add(const std::string& path, XThread& thread, std::string& err) {
  std::unique_ptr<XRSFile> file = OpenRaster(path, thread, err);
  if (!file || !Place(*file, err) || !Measure(*file->GetBandAt(0), err)) return false;
  if (!DecodeAhead(*file->GetBandAt(0), kDecodeShare, thread, err)) return false;
  key_ += DescribeFile(path);
  if (!Compose(*file)) {
    err = "can't be shown";
    return false;
  }
  files_.push_back(std::move(file));
  return true;
}

/// The system that was named is for inputs that have a place and no system.
bool PyramidSources::Place(XRSFile& file, std::string& err) const {
  const ZRMBand& first = *file.GetBandAt(0);
  if (!first.GetSR()->IsEmpty()) return true;
  if (first.GetCoordinateKind() != kCoordinateWorld) {
    err = "the file tells no place on the globe";
    return false;
  }
  if (!system_) {
    err = "the file names no system of coordinates; --srs EPSG:n does";
    return false;
  }
  for (int i = 0; i < file.GetNumOfBands(); ++i) file.GetBandAt(i)->SetSR(*system_);
  return true;
}

/// The pixel in the middle of the image stands for all of them.
bool PyramidSources::Measure(ZRMBand& band, std::string& err) {
  const ::Place place(band);
  const std::unique_ptr<XCoordinateTransformation> toLonLat = XfnCreateCoordTrans(*band.GetSR(), lonLat_);
  const double column = band.GetXSize() / 2.0, row = band.GetYSize() / 2.0;
  auto middle = place.ToWorld(column, row), right = place.ToWorld(column + 1, row),
       below = place.ToWorld(column, row + 1);
  for (auto* const each : {&middle, &right, &below}) {
    if (toLonLat && toLonLat->TransformPt((*each)[0], (*each)[1])) continue;
    err = "no way leads from its system to longitude and latitude";
    return false;
  }
  const double size = std::min(std::hypot(right[0] - middle[0], right[1] - middle[1]),
                               std::hypot(below[0] - middle[0], below[1] - middle[1]));
  if (!(size > 0.0)) {
    err = "its pixels have no size";
    return false;
  }
  finestPixel_ = finestPixel_ > 0.0 ? std::min(finestPixel_, size) : size;
  return true;
}

bool PyramidSources::Compose(const XRSFile& file) {
  auto composite = std::make_unique<ZRMComposite>();
  const std::vector<ZRMBand*> bands = areHeights_ ? std::vector<ZRMBand*>{file.GetBandAt(0)} : ChooseColours(file);
  for (std::size_t i = 0; i < bands.size(); ++i) {
    if (!composite->SetBand(static_cast<int>(i), bands[i])) return false;
  }
  return manager_.AddZRMComposite(composite.get()) && composite.release();
}
