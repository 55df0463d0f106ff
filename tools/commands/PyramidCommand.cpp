// zrkio pyramid: rasters laid over each other as a pyramid of the globe, of pictures or of heights as the output's name
// says.
//
// The order of work: inputs are opened, levels and extent are chosen, the size is told, and the disk is asked for room.
// Then the library makes the tiles, and gives the file its name when all of it is there. What was begun stays beside it
// until then, so that --resume and --shard can go on with it.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Job.h"
#include "MapSources.h"
#include "Notes.h"
#include "output/ResumableFile.h"
#include "output/Text.h"
#include "PyramidExtent.h"
#include "WorkReport.h"
#include "XBlockCache.h"
#include "XGlobeExport.h"
#include "XPath.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <optional>

namespace {

constexpr int kLonLatCode = 4326;
constexpr int kMaxShards = 65536;
constexpr int kMaxLevel = 30;
/// Memory for decoded blocks of the inputs: less than a window of the largest picture would take, so that an export of
/// any size stays small.
constexpr std::int64_t kBlockCacheBytes = std::int64_t{64} << 20;

struct PyramidOptions {
  std::vector<std::string> inputs;
  std::string output;
  std::string levels;
  std::vector<double> bounds;
  std::string background = "000000";
  bool normals = false;
  std::string srs;
  int workers = 0;
  bool resume = false;
  std::string shard;
};

/// The options as numbers, and what follows from the name of the output.
struct Order {
  tagXGlobeExport what;
  tagXGlobeShare share;
  std::optional<LevelSpan> levels;
  std::optional<LonLatBox> box;
  XSpatialReference system;  ///< of inputs that name none; empty where it was not given
  bool isShared = false;
};

/// Two whole numbers with a mark between them, and nothing else.
std::optional<std::pair<int, int>> ReadPair(const std::string& text, char mark) {
  std::pair<int, int> pair;
  const char* const end = text.data() + text.size();
  const auto [middle, firstError] = std::from_chars(text.data(), end, pair.first);
  if (firstError != std::errc() || middle == end || *middle != mark) return std::nullopt;
  const auto [stop, lastError] = std::from_chars(middle + 1, end, pair.second);
  if (lastError != std::errc() || stop != end) return std::nullopt;
  return pair;
}

void ReadKind(const PyramidOptions& options, Order& order) {
  XString extension = XfnGetFileExt(options.output);
  extension.MakeLower();
  order.what.isElevation = extension == "pbe";
  if (!order.what.isElevation && !(extension == "pbi")) {
    throw UsageError("-o", "takes a name in .pbi for pictures or in .pbe for heights");
  }
  if (options.normals && !order.what.isElevation) throw UsageError("--normals", "belongs to heights, not to pictures");
  order.what.withNormals = options.normals;
}

void ReadLevels(const PyramidOptions& options, Order& order) {
  if (options.levels.empty()) return;
  const auto pair = ReadPair(options.levels, '-');
  if (!pair || pair->first < 0 || pair->second > kMaxLevel || pair->first > pair->second) {
    throw UsageError("--levels", "takes two levels of 0 to 30 as 0-4, the coarser one first");
  }
  if (!order.what.isElevation && pair->second - pair->first >= kMaxPictureLevels) {
    throw UsageError("--levels", "a pyramid of pictures has nine levels at most");
  }
  order.levels = LevelSpan{pair->first, pair->second};
}

void ReadBounds(const PyramidOptions& options, Order& order) {
  if (options.bounds.empty()) return;
  const LonLatBox box{options.bounds[0], options.bounds[1], options.bounds[2], options.bounds[3]};
  const bool isOnGlobe = box.west >= -180.0 && box.east <= 180.0 && box.south >= -90.0 && box.north <= 90.0;
  if (!isOnGlobe || !(box.west < box.east) || !(box.south < box.north)) {
    throw UsageError("--bounds", "takes west, south, east and north in degrees, within -180,-90,180,90");
  }
  order.box = box;
}

/// Colours are written as people write them, red first, and kept blue first.
void ReadBackground(const PyramidOptions& options, Order& order) {
  unsigned colour = 0;
  const char* const end = options.background.data() + options.background.size();
  const auto [stop, error] = std::from_chars(options.background.data(), end, colour, 16);
  if (error != std::errc() || stop != end || options.background.size() != 6) {
    throw UsageError("--background", "takes red, green and blue as six digits, such as 0A1E3C");
  }
  order.what.backColor = (colour & 0xFF) << 16 | (colour & 0xFF00) | colour >> 16;
}

void ReadShare(const PyramidOptions& options, Order& order) {
  order.share.resumes = options.resume;
  if (options.shard.empty()) return;
  const auto pair = ReadPair(options.shard, '/');
  if (!pair || pair->first < 1 || pair->first > pair->second || pair->second > kMaxShards) {
    throw UsageError("--shard", "takes a part and the number of parts as 2/8");
  }
  order.share.shard = pair->first;
  order.share.numShards = pair->second;
  order.isShared = pair->second > 1;
  order.share.resumes = true;  // a part that is started again goes on, also where it is the only one
}

Order ReadOrder(const PyramidOptions& options) {
  Order order;
  ReadKind(options, order);
  ReadLevels(options, order);
  ReadBounds(options, order);
  ReadBackground(options, order);
  ReadShare(options, order);
  if (!options.srs.empty() && !ReadSystem(options.srs, order.system)) {
    throw UsageError("--srs", "takes EPSG:n or WKT that is understood");
  }
  return order;
}

/// The extent and the levels that were not given are those of the inputs.
bool ChooseExtent(Order& order, MapSources& sources, std::string& err) {
  LonLatBox box;
  if (order.box) {
    box = *order.box;
  } else {
    LonLatBox all;
    if (!sources.GetManager().CalcTotalRange(all.west, all.east, all.south, all.north)) {
      err = "the inputs have no place on the globe";
      return false;
    }
    box = CutToGlobe(all, order.what.isElevation ? sources.GetFinestPixel() / 2 : 0.0);
  }
  if (!(box.west < box.east) || !(box.south < box.north)) {
    err = "the inputs have no place on the globe";
    return false;
  }
  SetExtent(box, order.levels ? *order.levels : ChooseLevels(box, sources.GetFinestPixel(), order.what.isElevation),
            order.what);
  return true;
}

/// What an export that was begun has to agree in, besides levels and extent, which the file itself tells.
std::string MakeKey(const Order& order, const PyramidOptions& options, const MapSources& sources) {
  return sources.GetKey() + "background " + std::to_string(order.what.backColor) + " srs " + options.srs;
}

std::string CountedTiles(std::int64_t count) {
  return std::to_string(count) + (count == 1 ? " tile" : " tiles");
}

/// The work of one call, and what is told of it at the end.
class PyramidJob {
 public:
  PyramidJob(const PyramidOptions& options, Order order)
      : options_(options), order_(std::move(order)), sources_(order_.what.isElevation) {}

  /// Opens the inputs and plans the file. Comes first.
  bool MakePlan(XThread& thread, std::string& err);
  bool MakeTiles(XThread& thread, std::string& err);

  std::string DescribePlan() const;
  std::string DescribeWork() const;
  /// The tiles that this call is to make.
  std::int64_t CountTiles() const { return plan_.numTiles / order_.share.numShards; }

 private:
  bool OpenSources(XThread& thread, std::string& err);

  using Clock = std::chrono::steady_clock;

  const PyramidOptions& options_;
  Order order_;
  MapSources sources_;
  ResumableFile file_;
  tagXGlobePlan plan_;
  tagXGlobeState state_;
  double seconds_ = 0.0;
};

bool PyramidJob::OpenSources(XThread& thread, std::string& err) {
  XSpatialReference lonLat;
  lonLat.importFromEPSG(kLonLatCode);
  sources_.SetSystem(lonLat);
  sources_.SetUnnamedSystem(order_.system);
  return std::all_of(options_.inputs.begin(), options_.inputs.end(),
                     [&](const std::string& input) { return sources_.Add(input, thread, err); });
}

bool PyramidJob::MakePlan(XThread& thread, std::string& err) {
  if (!file_.Begin(options_.output, options_.inputs, err)) return false;
  if (!OpenSources(thread, err) || !ChooseExtent(order_, sources_, err)) return false;
  XString sentence;
  if (XfnPlanGlobeExport(order_.what, plan_, sentence)) {
    return (order_.isShared && file_.MayBeWhole(plan_.fileBytes)) || file_.HasRoom(plan_.fileBytes, err);
  }
  err = WithoutCapital(sentence.AsStdString());
  return false;
}

bool PyramidJob::MakeTiles(XThread& thread, std::string& err) {
  order_.share.key = MakeKey(order_, options_, sources_);
  order_.share.target = file_.GetTargetPath();
  const auto start = Clock::now();
  XString sentence;
  const bool isGood = XfnContinueGlobeExport(file_.GetUnfinishedPath(), &sources_.GetManager(), order_.what,
                                             order_.share, state_, sentence, &thread);
  seconds_ = std::chrono::duration<double>(Clock::now() - start).count();
  if (isGood) return true;
  err = WithoutCapital(sentence.AsStdString());
  if (state_.numDone > 0 && !order_.isShared) {
    AddRemark(std::to_string(state_.numDone) + " of " + std::to_string(state_.numTiles) +
              " tiles are kept beside it; --resume goes on with them");
  }
  return false;
}

std::string PyramidJob::DescribePlan() const {
  const tagXGlobeExport& what = order_.what;
  const std::string levels = what.minLevel == what.maxLevel
                                 ? "level " + std::to_string(what.minLevel)
                                 : "levels " + std::to_string(what.minLevel) + " to " + std::to_string(what.maxLevel);
  return levels + ", " + CountedTiles(plan_.numTiles) + ", " + FormatBytes(plan_.fileBytes);
}

std::string PyramidJob::DescribeWork() const {
  char speed[64];
  std::snprintf(speed, sizeof speed, " in %.2f s, %.0f a second", seconds_,
                static_cast<double>(state_.numMade) / std::max(seconds_, 1e-6));
  if (state_.isComplete && state_.numMade == 0) return "there already, with all its tiles";
  std::string text = CountedTiles(state_.numMade) + speed;
  if (state_.isComplete) return text;
  text += "; " + std::to_string(state_.numDone) + " of " + std::to_string(state_.numTiles) + " are done";
  if (state_.waitingLevel >= 0) {
    text += ", and level " + std::to_string(state_.waitingLevel) + " waits for other shards";
  }
  return text;
}

/// The size is told between two jobs, when no bar is in the way.
int RunPyramid(const PyramidOptions& options, Order order) {
  UseWorkers(options.workers);
  XfnSetBlockCacheBytes(kBlockCacheBytes);
  PyramidJob job(options, std::move(order));
  const JobResult planned =
      RunJob(options.output, [&](XThread& thread, std::string& err) { return job.MakePlan(thread, err); });
  if (!planned.isDone) return planned.GetExitStatus();
  PrintNote(options.output, job.DescribePlan());
  const Pace pace{"tiles", job.CountTiles()};
  const JobResult made = RunJob(
      options.output, [&](XThread& thread, std::string& err) { return job.MakeTiles(thread, err); }, &pace);
  if (made.isDone) PrintNote(options.output, job.DescribeWork());
  return made.GetExitStatus();
}

const char* const kPyramidExamples =
    "Examples:\n"
    "  zrkio pyramid earth.tif -o earth.pbi\n"
    "  zrkio pyramid city.tif earth.tif -o earth.pbi --levels 0-8 --background 0A1E3C\n"
    "  zrkio pyramid dem.tif -o dem.pbe --normals\n"
    "  zrkio pyramid earth.tif -o earth.pbi --resume\n"
    "  zrkio pyramid earth.tif -o earth.pbi --shard 2/8\n";

void AddSourceOptions(Command& command, PyramidOptions& options) {
  command.AddOption("--levels", "A-B", options.levels,
                    "Levels of the global grid; unless given, up to the finest\n"
                    "resolution of the inputs");
  command
      .AddOption("--bounds", "W,S,E,N", options.bounds,
                 "The extent in degrees, which goes outward to whole tiles of\n"
                 "the first level; that of the inputs unless given")
      .SetCount(4);
  command.AddOption("--background", "RRGGBB", options.background,
                    "Pictures: the colour of what no input covers; black unless\n"
                    "given");
  command.AddFlag("--normals", options.normals, "Heights: store the normal of the surface at each post");
  command.AddOption("--srs", "SRS", options.srs, "The system of inputs that name none, as EPSG:n or WKT");
}

}  // namespace

void AddPyramidCommand(CommandLine& program) {
  auto options = std::make_shared<PyramidOptions>();
  Command command = program.AddCommand("pyramid", "Write rasters as a pyramid of the globe, of pictures or heights",
                                       kPyramidExamples);
  command.AddArgument("IN", options->inputs, "Raster files, laid over each other, the first on top");
  command
      .AddOption("-o,--output", "OUT", options->output, "The file to write, in .pbi for pictures or .pbe for heights")
      .Require();
  AddSourceOptions(command, *options);
  AddWorkersOption(command, options->workers);
  const Option resume =
      command.AddFlag("--resume", options->resume, "Go on with what an interrupted export has left beside OUT");
  command
      .AddOption("--shard", "K/N", options->shard,
                 "Make part K of N of the same file, as other processes make\n"
                 "theirs; levels wait until the finer one is complete")
      .Exclude(resume);
  AddQuietOption(command);
  command.SetAction([options] { return RunPyramid(*options, ReadOrder(*options)); });
}
