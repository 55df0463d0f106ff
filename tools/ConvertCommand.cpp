// zrkio convert: an image, or a window or some channels of it, as a native raster or a TIFF file.

#include "Commands.h"
#include "Dataset.h"
#include "DatasetView.h"
#include "Job.h"
#include "SharedOptions.h"
#include "Text.h"
#include "TiffTarget.h"
#include "Window.h"
#include "WorkReport.h"
#include "XPath.h"
#include "XRSFileIO.h"

#include <climits>
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

const char* const kNotForTiff = "belongs to native rasters (.zrm), not to TIFF files";

struct Options {
  std::string input;
  std::string output;
  std::vector<int> window;
  std::vector<int> bands;
  std::optional<int> levels;
  std::optional<double> maxError;
  int workers = 0;
};

/// What is converted.
struct Source {
  std::unique_ptr<XRSFile> file;
  std::unique_ptr<XRSFile> view;  ///< of `file`; null where all its bands are taken as they are
  Window window;

  XRSFile& Chosen() const { return view ? *view : *file; }
};

int FormatOf(const std::string& path) {
  return XRSFileIO::GetIDFromExt(XfnGetFileExt(path));
}

bool CanWrite(const std::string& path, std::string& err) {
  if (FormatOf(path) == kFormatZRM || FormatOf(path) == kFormatTIF) return true;
  err = "can't write " + path + ": only native rasters (.zrm) and TIFF files (.tif, .tiff) can be written";
  return false;
}

std::int64_t CountSampleBytes(const XRSFile& file, const Window& window) {
  std::int64_t count = 0;
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    count += std::int64_t{window.Width()} * window.Height() * file.GetBandAt(i)->GetDataSize();
  }
  return count;
}

bool Open(const Options& options, Source& source, XThread& thread, std::string& err) {
  source.file = OpenRaster(options.input, thread, err);
  if (!source.file) return false;
  if (!options.bands.empty()) {
    source.view = MakeDatasetView(*source.file, options.bands, err);
    if (!source.view) return false;
  }
  return FindWindow(*source.Chosen().GetBandAt(0), options.window, source.window, err);
}

bool Explain(int isSaved, const XString& reason, const char* otherwise, std::string& err) {
  if (!isSaved && err.empty()) err = reason.IsEmpty() ? otherwise : reason.AsStdString();
  return isSaved != 0;
}

/// The compressing writer takes the percentages into its own hands, so that no share of them can be kept from it.
bool SaveNative(const Source& source, const Options& options, const std::string& path, XThread& thread,
                std::string& err) {
  const Window& w = source.window;
  const int levels = options.levels.value_or(kMostLevels);
  XString reason;
  int isSaved = 0;
  if (options.maxError) {
    isSaved = XRSFileIO::SaveFileZRMComp(&source.Chosen(), path, levels, w.x0, w.x1, w.y0, w.y1, *options.maxError,
                                         reason, &thread, kFirstWriterFlag);
  } else if (DecodeAhead(*source.file->GetBandAt(0), kDecodePercent, thread, err)) {
    isSaved = XRSFileIO::SaveFileZRM(&source.Chosen(), path, levels, w.x0, w.x1, w.y0, w.y1, reason, &thread,
                                     kUncompressed, kFirstWriterFlag, kSecondWriterFlag);
  }
  return Explain(isSaved, reason, "the native raster can't be made", err);
}

bool SaveTiff(const Source& source, const std::string& path, XThread& thread, std::string& err) {
  const Window& w = source.window;
  XString reason;
  const int isSaved = DecodeAhead(*source.file->GetBandAt(0), kDecodePercent, thread, err) &&
                      XRSFileIO::SaveFileTiff(&source.Chosen(), path, w.x0, w.x1, w.y0, w.y1, reason, &thread);
  return Explain(isSaved, reason, "the TIFF file can't be made", err);
}

bool WriteNative(const Source& source, const Options& options, XThread& thread, std::string& err) {
  TargetFile target;
  return target.Begin(options.output, options.input, err) &&
         SaveNative(source, options, target.GetUnfinishedPath(), thread, err) && target.Commit(err);
}

/// Samples of other types would come out as unsigned numbers that mean nothing. `numbers` are those of the bands in the
/// image, empty for all.
bool HasTiffSamples(const XRSFile& file, const std::vector<int>& numbers, std::string& err) {
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    const int dataType = file.GetBandAt(i)->GetDataType();
    if (dataType >= kPint08 && dataType <= kReal64) continue;
    const int number = numbers.empty() ? i + 1 : numbers[static_cast<std::size_t>(i)];
    err = "only integer and real samples can be written to a TIFF file, and band " + std::to_string(number) +
          " has others";
    return false;
  }
  return true;
}

bool WriteTiff(const Source& source, const Options& options, XThread& thread, std::string& err) {
  TiffTarget target;
  const ZRMBand& first = *source.Chosen().GetBandAt(0);
  return HasTiffSamples(source.Chosen(), options.bands, err) &&
         target.Begin(options.output, options.input, first, err) &&
         SaveTiff(source, target.GetUnfinishedPath(), thread, err) && target.TellPlace(first, source.window, err) &&
         target.Commit(err);
}

bool Convert(const Options& options, XThread& thread, WorkReport& report, std::string& err) {
  Source source;
  if (!CanWrite(options.output, err) || !Open(options, source, thread, err)) return false;
  report = WorkReport(CountSampleBytes(source.Chosen(), source.window));
  const auto write = FormatOf(options.output) == kFormatTIF ? &WriteTiff : &WriteNative;
  if (!write(source, options, thread, err)) return false;
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
    "  zrkio convert earth.jpg africa.tif --window 896,1279,192,575\n"
    "  zrkio convert earth.jpg turned.tif --bands 3,2,1\n";

void AddNativeOptions(CLI::App& command, Options& options) {
  command
      .add_option("--levels", options.levels,
                  "Native rasters: how many reduced levels are written, at\n"
                  "most; unless given, as many as there can be")
      ->check(CLI::Range(0, kMostLevels).description(""))
      ->type_name("N");
  command
      .add_option("--max-error", options.maxError,
                  "Native rasters: compress, no sample being off by more than\n"
                  "this; 0 is lossless. Unless given, samples are kept as they\n"
                  "are.")
      ->type_name("E");
}

void CheckUsage(const Options& options) {
  if (options.maxError && !(*options.maxError >= 0.0 && std::isfinite(*options.maxError))) {
    throw CLI::ValidationError("--max-error", "takes a number from 0 on");
  }
  if (FormatOf(options.output) != kFormatTIF) return;
  if (options.levels) throw CLI::ValidationError("--levels", kNotForTiff);
  if (options.maxError) throw CLI::ValidationError("--max-error", kNotForTiff);
}

}  // namespace

void AddConvertCommand(CLI::App& program, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = program.add_subcommand("convert", "Write an image as a native raster or a TIFF file");
  command->footer(kExamples);
  command->add_option("IN", options->input, "A raster file")->required()->type_name("");
  command->add_option("OUT", options->output, "The file to write, by its extension: zrm, or tif or tiff")
      ->required()
      ->type_name("");
  AddWindowOption(*command, options->window);
  command
      ->add_option("--bands", options->bands,
                   "The channels, counted from 1, in the order in which they are\n"
                   "written; all unless given")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::Range(1, INT_MAX).description(""))
      ->type_name("BANDS");
  AddNativeOptions(*command, *options);
  AddWorkersOption(*command, options->workers);
  command->callback([options, &status] {
    CheckUsage(*options);
    status = Run(*options);
  });
}
