// zrkio info: what files are, for people or for machines. Every file is described into JSON first, and the text is
// printed from that, so that both say the same.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "Dataset.h"
#include "DescribeDataset.h"
#include "Job.h"
#include "output/PrintInfo.h"

#include <cstdio>
#include <vector>

namespace {

/// The share of decoding in computing statistics.
constexpr int kDecodePercent = 70;

struct Options {
  std::vector<std::string> files;
  bool json = false;
  bool stats = false;
  bool verbose = false;
};

/// Statistics come from the coarsest level. Channels whose statistics are known are left alone.
bool ComputeStatistics(XRSFile& file, XThread& thread, std::string& err) {
  const int numBands = file.GetNumOfBands();
  for (int i = 0; i < numBands; ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    if (thread.GetState() != XThread::kStateRun) return false;
    if (band.GetBandMean() != kNotSet) continue;
    if (!DecodeAhead(band, kDecodePercent, thread, err)) return false;
    if (!band.CalcStatistics(1)) {
      err = "the statistics can't be computed";
      return false;
    }
    thread.CallbackPercent(100.0 * (i + 1) / numBands);
  }
  return true;
}

/// A file whose statistics failed is described all the same. The description is null where the file can't be opened.
DatasetInfo DescribeFile(const Options& options, const std::string& path, JobResult& result) {
  DatasetInfo info;
  result = RunJob(path, [&](XThread& thread, std::string& err) {
    const std::unique_ptr<XRSFile> file = OpenDataset(path, thread, err);
    if (!file) return false;
    const bool isDone = !options.stats || ComputeStatistics(*file, thread, err);
    info = DescribeDataset(*file, path, options.verbose);
    return isDone;
  });
  return info;
}

int Run(const Options& options) {
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

const char* const kExamples =
    "Examples:\n"
    "  zrkio info earth.jpg roads.shp\n"
    "  zrkio info --stats --json earth.jpg\n"
    "  zrkio info --verbose scene.tif\n";

}  // namespace

void AddInfoCommand(CommandLine& program) {
  auto options = std::make_shared<Options>();
  Command command = program.AddCommand("info", "Tell what files are", kExamples);
  command.AddArgument("FILE", options->files, "Raster or vector files");
  command.AddFlag("--json", options->json, "Print an array of objects for machines");
  command.AddFlag("--stats", options->stats, "Compute statistics of every channel");
  command.AddFlag("--verbose", options->verbose,
                  "Tell also of the further images of a TIFF file, and what\n"
                  "libtiff has to say of it");
  command.SetAction([options] { return Run(*options); });
}
