// zrkio export: images laid over each other as a map in tiles, for programs that take maps in such files. The map has
// one projected system. Inputs in other systems are warped to it on the way.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Interrupt.h"
#include "Job.h"
#include "MapSources.h"
#include "Notes.h"
#include "output/InputFiles.h"
#include "output/TargetFile.h"
#include "WorkReport.h"
#include "XExportL0.h"
#include "XExportLXY.h"
#include "XReadPolicy.h"

#include <unistd.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

namespace {

constexpr int kDefaultTile = 256;
constexpr int kMaxMapLevel = 27;
constexpr int kMaxMapTile = 4096;
/// A pixel that is larger by less than this counts as being as fine.
constexpr double kAlmostAsFine = 1.0 + 1e-6;

struct ExportOptions {
  std::string kind;
  std::vector<std::string> inputs;
  std::string output;
  std::string system;
  std::optional<double> pixel;
  std::vector<double> bounds;
  int tile = kDefaultTile;
  std::optional<int> level;
  bool areHeights = false;
  int workers = 0;

  bool IsTree() const { return kind == "lxy"; }
};

/// West, south, east and north in the map.
struct MapBox {
  double west = 0.0;
  double south = 0.0;
  double east = 0.0;
  double north = 0.0;
};

bool OpenSources(const ExportOptions& options, MapSources& sources, XThread& thread, std::string& err) {
  XSpatialReference system;
  if (!options.system.empty() && ReadSystem(options.system, system)) sources.SetSystem(system);
  for (const std::string& input : options.inputs) {
    // An image would be read while its own file is replaced.
    if (WouldReplaceInput(options.output, input, err) || !sources.Add(input, thread, err)) return false;
  }
  return true;
}

bool FindBox(const ExportOptions& options, const ZRMCompManager& manager, MapBox& box, std::string& err) {
  if (!options.bounds.empty()) {
    box = {options.bounds[0], options.bounds[1], options.bounds[2], options.bounds[3]};
    return true;
  }
  if (manager.CalcTotalRange(box.west, box.east, box.south, box.north)) return true;
  err = "the images have no place in the system of the map";
  return false;
}

/// The first level whose pixels are as fine as the finest input's.
int ChooseLevel(const ExportOptions& options, const MapBox& box, double finestPixel) {
  if (options.level) return *options.level;
  int level = 0;
  const double extent = std::max(box.east - box.west, box.north - box.south);
  while (level < kMaxMapLevel && extent / std::ldexp(options.tile, level) > finestPixel * kAlmostAsFine) ++level;
  return level;
}

std::string ReasonOf(const XString& err) {
  return err.IsEmpty() ? "the map can't be made" : err.AsStdString();
}

/// An image and its report take their names together, the report first.
class ReportedFile {
 public:
  ReportedFile() : file_("", ".info") {}
  ~ReportedFile() {
    if (!report_.empty()) ::unlink(report_.c_str());
  }
  ReportedFile(const ReportedFile&) = delete;
  ReportedFile& operator=(const ReportedFile&) = delete;

  bool Begin(const ExportOptions& options, std::string& err) {
    if (!file_.Begin(options.output, options.inputs.front(), err)) return false;
    target_ = FollowLinks(options.output) + ".info";
    report_ = GetPath() + ".info";
    return true;
  }
  std::string GetPath() const { return file_.GetUnfinishedPath(); }
  /// A signal may not come between the two names.
  bool Commit(std::string& err) {
    const SignalsHeldBack held;
    if (::rename(report_.c_str(), target_.c_str()) != 0) {
      err = CannotWrite(target_);
      return false;
    }
    report_.clear();
    return file_.Commit(err);
  }

 private:
  TargetFile file_;
  std::string target_;
  std::string report_;  // the unfinished one; empty where none was asked for
};

/// Speed is told by the samples of the map. A map of more samples than a disk holds is refused elsewhere.
std::int64_t CountMapBytes(const ExportOptions& options, MapSources& sources, const MapBox& box, double pixel) {
  const ZRMBand& first = *sources.GetManager().GetZRMCompositeAt(0)->GetBand(0);
  const int pixelBytes = options.areHeights ? first.GetDataSize() : 3;
  constexpr double kMaxSamples = 1e17;
  const double numSamples = (box.east - box.west) / pixel * ((box.north - box.south) / pixel);
  return numSamples > 0.0 ? static_cast<std::int64_t>(std::min(numSamples, kMaxSamples)) * pixelBytes : 0;
}

bool ExportImage(const ExportOptions& options, MapSources& sources, const MapBox& box, XThread& thread,
                 std::string& err) {
  ReportedFile target;
  if (!target.Begin(options, err)) return false;
  const auto save = options.areHeights ? &XfnExport2L0Data_DEM : &XfnExport2L0Data_Image;
  const double pixel = options.pixel.value_or(sources.GetFinestPixel());
  WorkReport report(CountMapBytes(options, sources, box, pixel));
  XString reason;
  if (!save(target.GetPath(), &sources.GetManager(), pixel, pixel, box.west, box.south, box.east, box.north,
            options.tile, 0, reason, &thread)) {
    err = ReasonOf(reason);
    return false;
  }
  if (!target.Commit(err)) return false;
  report.Finish(options.output);
  PrintNote(options.output, report.GetText());
  return true;
}

bool ExportTree(const ExportOptions& options, MapSources& sources, const MapBox& box, XThread& thread,
                std::string& err) {
  const auto save = options.areHeights ? &XfnExport2LXYDem : &XfnExport2LXYTexture;
  const int level = ChooseLevel(options, box, sources.GetFinestPixel());
  XString reason;
  if (save(options.output, &sources.GetManager(), level, options.tile, box.west, box.south, box.east, box.north, reason,
           &thread)) {
    return true;
  }
  err = ReasonOf(reason);
  return false;
}

bool Export(const ExportOptions& options, XThread& thread, std::string& err) {
  MapSources sources(options.areHeights);
  MapBox box;
  if (!OpenSources(options, sources, thread, err) || !FindBox(options, sources.GetManager(), box, err)) {
    return false;
  }
  const auto save = options.IsTree() ? &ExportTree : &ExportImage;
  return save(options, sources, box, thread, err);
}

int RunExport(const ExportOptions& options) {
  UseWorkers(options.workers);
  const auto work = [&](XThread& thread, std::string& err) { return Export(options, thread, err); };
  return RunJob(options.output, work).GetExitStatus();
}

void CheckExportUsage(const ExportOptions& options) {
  XSpatialReference system;
  if (options.kind != "l0" && options.kind != "lxy") throw UsageError("KIND", "is l0 or lxy");
  if (!options.system.empty() && !ReadSystem(options.system, system)) {
    throw UsageError("--srs", "takes a system as EPSG:n or WKT");
  }
  if (options.pixel && !(*options.pixel > 0.0 && std::isfinite(*options.pixel))) {
    throw UsageError("--pixel", "takes a size above 0");
  }
  const std::vector<double>& box = options.bounds;
  if (!box.empty() && !(box[0] < box[2] && box[1] < box[3])) throw UsageError("--bounds", "takes W,S,E,N with an area");
  if (options.pixel && options.IsTree()) throw UsageError("--pixel", "belongs to l0; lxy takes --level");
  if (options.level && !options.IsTree()) throw UsageError("--level", "belongs to lxy; l0 takes --pixel");
}

const char* const kExportExamples =
    "Examples:\n"
    "  zrkio export l0 town.tif -o town.l0\n"
    "  zrkio export l0 n48e011.dt2 -o heights.l0 --dem --srs EPSG:32632 --pixel 30\n"
    "  zrkio export lxy roads.tif town.tif -o map/town.xml --tile 512\n"
    "  zrkio export lxy earth.tif -o map/earth.xml --srs EPSG:3857 --level 4\n";

}  // namespace

void AddExportCommand(CommandLine& program) {
  auto options = std::make_shared<ExportOptions>();
  Command command =
      program.AddCommand("export", "Write images laid over each other as the tiles of a map", kExportExamples);
  command.AddArgument("KIND", options->kind, "l0 for one file of tiles, lxy for a tree of small files");
  command.AddArgument("IN", options->inputs, "Raster files, the first on top");
  command
      .AddOption("-o,--output", "OUT", options->output,
                 "The file to write. Of l0 a report stands beside it as OUT.info;\n"
                 "of lxy it is the index, and tiles lie in folders beside it.")
      .Require();
  command.AddOption("--srs", "EPSG:n", options->system,
                    "The projected system of the map, and of inputs that name none;\n"
                    "that of the first input unless given");
  command.AddOption("--pixel", "SIZE", options->pixel, "l0: the pixel size; the finest input's unless given");
  command.AddOption("--bounds", "W,S,E,N", options->bounds, "The edges in the map; those of the inputs unless given")
      .SetCount(4);
  command.AddOption("--tile", "T", options->tile, "Pixels on the side of a tile; 256 unless given")
      .SetRange(1, kMaxMapTile);
  command
      .AddOption("--level", "N", options->level,
                 "lxy: the last level; unless given, the first as fine as the\nfinest input")
      .SetRange(0, kMaxMapLevel);
  command.AddFlag("--dem", options->areHeights, "Write heights, from the first band of each input");
  AddWorkersOption(command, options->workers);
  AddQuietOption(command);
  command.SetAction([options] {
    CheckExportUsage(*options);
    return RunExport(*options);
  });
}
