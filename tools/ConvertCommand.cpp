// zrkio convert: an image, or a window of it, as a native raster.

#include "Commands.h"
#include "Dataset.h"
#include "Job.h"
#include "SharedOptions.h"
#include "TargetFile.h"
#include "Text.h"
#include "Window.h"
#include "WorkReport.h"
#include "XPath.h"
#include "XRSFileIO.h"

#include <cmath>
#include <cstdio>
#include <optional>

namespace {

/// The share of decoding where an image is decoded as a whole.
constexpr int kDecodePercent = 30;
/// More than an image can have; it is written with as many as it can.
constexpr int kMostLevels = 30;

constexpr int kUncompressed = 100;
constexpr int kFirstWriterFlag = 0;
constexpr int kSecondWriterFlag = 1;

struct Options {
  std::string input;
  std::string output;
  std::vector<int> window;
  int levels = kMostLevels;
  std::optional<double> maxError;
  int workers = 0;
};

bool HasNativeExtension(const std::string& path, std::string& err) {
  XString extension = XfnGetFileExt(path);
  extension.MakeLower();
  if (extension == "zrm") return true;
  err = "can't write " + path + ": only native rasters (.zrm) can be written";
  return false;
}

std::int64_t CountSampleBytes(const XRSFile& file, const Window& window) {
  std::int64_t count = 0;
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    count += std::int64_t{window.Width()} * window.Height() * file.GetBandAt(i)->GetDataSize();
  }
  return count;
}

/// The compressing writer takes the percentages into its own hands, so that no share of them can be kept from it.
bool Save(XRSFile& file, const Window& w, const Options& options, const std::string& path, XThread& thread,
          std::string& err) {
  XString reason;
  int isSaved = 0;
  if (options.maxError) {
    isSaved = XRSFileIO::SaveFileZRMComp(&file, path, options.levels, w.x0, w.x1, w.y0, w.y1, *options.maxError, reason,
                                         &thread, kFirstWriterFlag);
  } else if (DecodeAhead(*file.GetBandAt(0), kDecodePercent, thread, err)) {
    isSaved = XRSFileIO::SaveFileZRM(&file, path, options.levels, w.x0, w.x1, w.y0, w.y1, reason, &thread,
                                     kUncompressed, kFirstWriterFlag, kSecondWriterFlag);
  }
  if (!isSaved && err.empty()) err = reason.IsEmpty() ? "the native raster can't be made" : reason.AsStdString();
  return isSaved != 0;
}

bool Convert(const Options& options, XThread& thread, WorkReport& report, std::string& err) {
  if (!HasNativeExtension(options.output, err)) return false;
  const std::unique_ptr<XRSFile> file = OpenRaster(options.input, thread, err);
  Window window;
  if (!file || !FindWindow(*file->GetBandAt(0), options.window, window, err)) return false;
  TargetFile target;
  if (!target.Begin(options.output, options.input, err)) return false;
  report = WorkReport(CountSampleBytes(*file, window));
  if (!Save(*file, window, options, target.GetUnfinishedPath(), thread, err) || !target.Commit(err)) return false;
  report.Finish(options.output);
  return true;
}

int Run(const Options& options) {
  UseWorkers(options.workers);
  WorkReport report;
  const JobResult result =
      RunJob(options.input, [&](XThread& thread, std::string& err) { return Convert(options, thread, report, err); });
  if (!result.isDone) return 1;
  std::fprintf(stderr, "%s: %s\n", Printable(options.output).c_str(), report.GetText().c_str());
  return 0;
}

const char* const kExamples =
    "Examples:\n"
    "  zrkio convert earth.jpg earth.zrm\n"
    "  zrkio convert earth.jpg small.zrm --max-error 2\n"
    "  zrkio convert earth.jpg africa.zrm --window 896,1279,192,575\n";

}  // namespace

void AddConvertCommand(CLI::App& program, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = program.add_subcommand("convert", "Write an image as a native raster");
  command->footer(kExamples);
  command->add_option("IN", options->input, "A raster file")->required()->type_name("");
  command->add_option("OUT.zrm", options->output, "The native raster to write")->required()->type_name("");
  AddWindowOption(*command, options->window);
  command
      ->add_option("--levels", options->levels,
                   "How many reduced levels are written, at most; unless given,\n"
                   "as many as there can be")
      ->check(CLI::Range(0, kMostLevels).description(""))
      ->type_name("N");
  command
      ->add_option("--max-error", options->maxError,
                   "Compress, no sample being off by more than this; 0 is\n"
                   "lossless. Unless given, samples are kept as they are.")
      ->type_name("E");
  AddWorkersOption(*command, options->workers);
  command->callback([options, &status] {
    if (options->maxError && !(*options->maxError >= 0.0 && std::isfinite(*options->maxError))) {
      throw CLI::ValidationError("--max-error", "takes a number from 0 on");
    }
    status = Run(*options);
  });
}
