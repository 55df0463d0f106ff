// zrkio bounds: where the corners of rasters are. Tie points that a file lists come first, because its tags alone tell
// them and no pixel has to be looked for. Otherwise the dataset is opened and its corners are worked out.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Corners.h"
#include "Dataset.h"
#include "Job.h"
#include "XFormatTable.h"
#include "XRSFileIO.h"

#include <array>
#include <cstdio>

namespace {

struct BoundsOptions {
  std::vector<std::string> files;
  bool json = false;
};

/// Places that a file lists.
struct TiePoints {
  Points points;
  bool isLonLat = false;  ///< on WGS 84; otherwise as the file has them
};

/// Up to four places that a file lists beside its pixels. Formats whose row does not say so are not asked, because only
/// the dataset tells which corner is which.
TiePoints ReadTiePoints(const std::string& path) {
  std::array<double, 4> x{}, y{};
  TiePoints found;
  const tagXFormat* const format = XfnFindFormatOfFile(path);
  if (!format || !format->listsTiePoints) return found;
  if (!XRSFileIO::GetGeoBounding(path, x.data(), y.data(), found.isLonLat)) return found;
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (x[i] != kNotSet && y[i] != kNotSet) found.points.push_back({x[i], y[i]});
  }
  return found;
}

/// Points are told once: in degrees, or as the file has them.
Json DescribeTiePoints(const TiePoints& found) {
  const Json json = DescribePoints(found.points);
  return {{"source", "tiePoints"},
          {"corners", found.isLonLat ? Json() : json},
          {"lonLat", found.isLonLat ? json : Json()},
          {"system", nullptr}};
}

Json DescribeCorners(const ZRMBand& band) {
  const bool hasPlace = band.GetCoordinateKind() == kCoordinateWorld;
  const Points corners = CornersOf(band);
  return {{"source", "dataset"},
          {"corners", hasPlace ? DescribePoints(corners) : Json()},
          {"lonLat", hasPlace ? DescribeLonLat(corners, *band.GetSR()) : Json()},
          {"system", hasPlace ? DescribeSystem(*band.GetSR()) : Json()}};
}

/// A file is opened as a dataset only where it lists nothing.
bool FindBounds(const std::string& path, Json& json, XThread& thread, std::string& err) {
  if (const TiePoints found = ReadTiePoints(path); !found.points.empty()) {
    json.update(DescribeTiePoints(found));
    return true;
  }
  const std::unique_ptr<XRSFile> file = OpenRaster(path, thread, err);
  if (file) json.update(DescribeCorners(*file->GetBandAt(0)));
  return file != nullptr;
}

/// Tie points have no fixed order, so they are numbered and not named as corners.
void PrintTiePoints(const Json& json) {
  std::printf("  source      tie points that the file lists\n");
  if (json["lonLat"].is_null()) PrintSystem(nullptr, "  ");
  PrintPoints({"point 1", "point 2", "point 3", "point 4"}, json["corners"], json["lonLat"]);
}

void PrintBoundsText(const Json& json) {
  std::printf("%s\n", GetText(json["file"]).c_str());
  if (json["source"] == "tiePoints") {
    PrintTiePoints(json);
    return;
  }
  std::printf("  source      dataset; the file lists no corners\n");
  PrintCorners(json["corners"], json["lonLat"]);
  if (!json["corners"].is_null()) PrintSystem(json["system"], "  ");
}

/// A stop ends the whole run, and a failure only the file at hand.
int RunBounds(const BoundsOptions& options) {
  int status = 0;
  Json all = Json::array();
  for (const std::string& path : options.files) {
    Json json = {{"file", path}};
    const JobResult result =
        RunJob(path, [&](XThread& thread, std::string& err) { return FindBounds(path, json, thread, err); });
    if (!result.isDone) status = 1;
    if (result.wasStopped) break;
    if (!result.isDone) json["error"] = result.reason;
    if (result.isDone && !options.json) PrintBoundsText(json);
    all.push_back(std::move(json));
  }
  if (options.json) std::printf("%s\n", Serialize(all).c_str());
  return status;
}

const char* const kBoundsExamples =
    "Examples:\n"
    "  zrkio bounds scene.tif\n"
    "  zrkio bounds --json scene.tif earth.jpg\n";

}  // namespace

void AddBoundsCommand(CommandLine& program) {
  auto options = std::make_shared<BoundsOptions>();
  Command command = program.AddCommand("bounds", "Tell where the corners of rasters are", kBoundsExamples);
  command.AddArgument("FILE", options->files, "Raster files");
  command.AddFlag("--json", options->json, "Print an array of objects for machines");
  AddQuietOption(command);
  command.SetAction([options] { return RunBounds(*options); });
}
