// zrkio info: what files are, for people or for machines. Every file is described into JSON first, and the text is
// printed from that, so that both say the same.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "DescribeDataset.h"
#include "Job.h"
#include "output/PrintInfo.h"
#include "Statistics.h"

#include <cstdio>
#include <vector>

namespace {

struct InfoOptions {
  std::vector<std::string> files;
  bool json = false;
  bool stats = false;
  bool approximate = false;
  bool verbose = false;
  bool boxes = false;
};

/// A file whose statistics failed is described all the same. The description is null where the file can't be opened.
DatasetInfo DescribeFile(const InfoOptions& options, const std::string& path, JobResult& result) {
  DatasetInfo info;
  result = RunJob(path, [&](XThread& thread, std::string& err) {
    const std::unique_ptr<XRSFile> file = OpenDataset(path, thread, err);
    if (!file) return false;
    const auto compute = options.approximate ? &ComputeQuickStatistics : &ComputeExactStatistics;
    std::vector<StatisticsSource> sources;
    const bool isDone = !options.stats || compute(*file, thread, sources, err);
    info = DescribeDataset(*file, path, options.verbose || options.boxes, sources);
    return isDone;
  });
  return info;
}

/// Statistics of all pixels are the only work that threads can share.
int RunInfo(const InfoOptions& options) {
  UseWorkers(0);
  int status = 0;
  Json all = Json::array();
  for (const std::string& path : options.files) {
    JobResult result;
    DatasetInfo info = DescribeFile(options, path, result);
    Json& json = info.json;
    if (!result.isDone) status = 1;
    if (result.wasStopped) break;
    // People are told of each file as soon as it is known, machines of all in one array.
    if (!json.is_null() && !options.json) PrintInfo(info);
    // Machines get an object for each file, also for one that failed.
    if (json.is_null()) json = {{"file", path}};
    if (!result.isDone) json["error"] = result.reason;
    all.push_back(std::move(json));
  }
  if (options.json) std::printf("%s\n", Serialize(all).c_str());
  return status;
}

const char* const kInfoExamples =
    "Examples:\n"
    "  zrkio info earth.jpg roads.shp\n"
    "  zrkio info --stats --json earth.jpg\n"
    "  zrkio info --verbose scene.tif\n"
    "  zrkio info --boxes scene.jp2\n";

}  // namespace

void AddInfoCommand(CommandLine& program) {
  auto options = std::make_shared<InfoOptions>();
  Command command = program.AddCommand("info", "Tell what files are", kInfoExamples);
  command.AddArgument("FILE", options->files, "Raster or vector files");
  command.AddFlag("--json", options->json, "Print an array of objects for machines");
  const Option stats = command.AddFlag("--stats", options->stats, "Compute statistics of all pixels of every channel");
  command
      .AddFlag("--approximate", options->approximate,
               "With --stats: take statistics that are stored, and compute\n"
               "others from a reduced level, which is quick")
      .Need(stats);
  command.AddFlag("--verbose", options->verbose,
                  "Tell also of the further images of a TIFF file, and what\n"
                  "libtiff has to say of it");
  command.AddFlag("--boxes", options->boxes,
                  "Tell also of all boxes of a JPEG 2000 file, with GML and\n"
                  "other texts; included in --verbose");
  AddQuietOption(command);
  command.SetAction([options] { return RunInfo(*options); });
}
