#include "formats/hawk/SensorFile.h"

#include "Dataset.h"

namespace {

/// Heights are found by longitude and latitude, so that a model in another system is refused by the band.
bool SetHeights(XSensorModel& model, int (XSensorModel::*set)(XRSFile*), const std::string& path, XThread& thread,
                std::string& err) {
  if (path.empty()) return true;
  std::unique_ptr<XRSFile> heights = OpenRaster(path, thread, err);
  if (!heights) {
    err = path + ": " + err;
    return false;
  }
  if ((model.*set)(heights.release())) return true;
  err = path + ": heights have to lie in longitude and latitude, in rows from west to east";
  return false;
}

}  // namespace

bool SensorFile::Open(const std::string& path, const HawkOptions& options, XThread& thread, std::string& err) {
  file = OpenRaster(path, thread, err);
  if (!file) return false;
  band = file->GetBandAt(0);
  model = XfnFindSensorModel(band);
  if (!model) {
    err = "the image has no sensor model";
    return false;
  }
  return SetHeights(*model, &XSensorModel::SetDemFile, options.dem, thread, err) &&
         SetHeights(*model, &XSensorModel::SetGeoidFile, options.geoid, thread, err);
}
