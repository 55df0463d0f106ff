// zrkio hawk ortho: the image of a scanning sensor as a map. The map is a band over the image, which the writer of TIFF
// files reads block by block, so that memory stays small and a stop is heard soon.

#include "CommandLine.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "formats/hawk/HawkActions.h"
#include "formats/hawk/SensorFile.h"
#include "Job.h"
#include "Notes.h"
#include "output/InputFiles.h"
#include "output/Json.h"
#include "output/ReplacedRaster.h"
#include "output/TiffTarget.h"
#include "WorkReport.h"
#include "WritableFormats.h"
#include "XFormatTable.h"
#include "XReadPolicy.h"
#include "ZRMBandOrtho.h"

#include <cmath>
#include <cstdio>

namespace {

/// The map goes before the image that it is made of.
struct HawkMap {
  SensorFile sensor;
  tagXOrthoGrid grid;
  XRSFile file;
};

bool MakeMap(const HawkOptions& options, HawkMap& map, XThread& thread, std::string& err) {
  if (!map.sensor.Open(options.File(), options, thread, err)) return false;
  if (!options.system.empty()) ReadSystem(options.system, map.grid.sr);
  map.grid.pixelSize = options.pixel.value_or(0.0);
  auto band = std::make_unique<ZRMBandOrtho>();
  const XOrthoMethod method = options.method == "nearest" ? kOrthoNearest : kOrthoBilinear;
  XString reason;
  const bool isMade =
      XfnPlanOrtho(map.sensor.band, map.grid, reason) && band->SetSource(map.sensor.band, map.grid, method, reason);
  if (isMade) map.file.AddBand(band.release());
  if (!isMade) err = reason.AsStdString();
  return isMade;
}

bool SaveMap(HawkMap& map, const std::string& path, XThread& thread, std::string& err) {
  const tagXFormat* const format = FindWritableFormat("map.tif");
  const tagXSaveOptions what{0, map.grid.xSize - 1, 0, map.grid.ySize - 1};
  XString reason;
  XfnForgetLastReadError();
  if (XfnSaveFile(&map.file, path, format->id, what, reason, &thread)) return true;
  err = WhyNotRead(reason.IsEmpty() ? std::string("the map can't be written") : reason.AsStdString());
  return false;
}

Json DescribeMap(const HawkOptions& options, const tagXOrthoGrid& grid) {
  return {{"file", options.File()},
          {"output", options.output},
          {"width", grid.xSize},
          {"height", grid.ySize},
          {"upperLeft", {grid.west, grid.north}},
          {"pixelSize", grid.pixelSize},
          {"system", grid.sr.GetName().GetText()},
          {"epsg", grid.sr.GetEPSG()}};
}

bool WriteMap(const HawkOptions& options, Json& json, WorkReport& report, XThread& thread, std::string& err) {
  // Terrain would be read while its own file is replaced.
  for (const std::string& input : {options.dem, options.geoid}) {
    if (!input.empty() && WouldReplaceInput(options.output, input, err)) return false;
  }
  HawkMap map;
  if (!MakeMap(options, map, thread, err)) return false;
  const ZRMBand& band = *map.file.GetBandAt(0);
  report = WorkReport(std::int64_t{map.grid.xSize} * map.grid.ySize * band.GetDataSize());
  const ReplacedRaster replaced(options.output);
  TiffTarget target;
  const bool isDone = target.Begin(options.output, options.File(), band, err) &&
                      SaveMap(map, target.GetUnfinishedPath(), thread, err) &&
                      target.TellPlace(band, {0, map.grid.xSize - 1, 0, map.grid.ySize - 1}, err) && target.Commit(err);
  if (!isDone) return false;
  replaced.RemoveLevelFile();
  report.Finish(options.output);
  json = DescribeMap(options, map.grid);
  return true;
}

void CheckOrthoUsage(const HawkOptions& options) {
  XSpatialReference system;
  if (!options.system.empty() && !ReadSystem(options.system, system)) {
    throw UsageError("--srs", "takes a system as EPSG:n or WKT");
  }
  if (options.pixel && !(*options.pixel > 0.0 && std::isfinite(*options.pixel))) {
    throw UsageError("--pixel", "takes a size above 0");
  }
  if (options.method != "nearest" && options.method != "bilinear") {
    throw UsageError("--method", "is nearest or bilinear");
  }
  CheckOutputName(options.output, {"tif", "tiff"}, "a TIFF file");
}

}  // namespace

int WriteHawkOrtho(const HawkOptions& options) {
  CheckOrthoUsage(options);
  UseWorkers(options.workers);
  Json json;
  WorkReport report;
  const JobResult result = RunJob(
      options.File(), [&](XThread& thread, std::string& err) { return WriteMap(options, json, report, thread, err); });
  if (result.isDone) PrintNote(options.output, report.GetText());
  if (options.json && !result.wasStopped) {
    if (!result.isDone) json = {{"file", options.File()}, {"error", result.reason}};
    std::printf("%s\n", Serialize(json).c_str());
  }
  return result.GetExitStatus();
}
