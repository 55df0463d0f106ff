// zrkio convert: an image, or a window or some channels of it, as a file of a format that has a writer. What the writer
// can take is asked of the table of formats.
//
// The new file is written beside its target and renamed when it is whole. A format that needs a world file gets one,
// which appears together with the image.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/LayerOptions.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "DatasetView.h"
#include "Job.h"
#include "Notes.h"
#include "output/ReplacedRaster.h"
#include "output/Text.h"
#include "output/TiffTarget.h"
#include "Place.h"
#include "Window.h"
#include "WorkReport.h"
#include "WritableFormats.h"
#include "XFormatTable.h"
#include "XPath.h"
#include "XReadPolicy.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <optional>
#include <sstream>

namespace {

/// The share of decoding where an image is decoded as a whole.
constexpr int kConvertDecodePercent = 30;
/// More than an image can have. The writer makes as many as it can.
constexpr int kMaxLevels = 30;

struct ConvertOptions {
  std::string input;
  std::string output;
  WindowRequest window;
  std::vector<int> bands;
  std::optional<int> levels;
  std::optional<double> maxError;
  LayerRequest layers;
  int workers = 0;
};

/// The image, and the part of it that is written.
struct Source {
  std::unique_ptr<XRSFile> file;
  std::unique_ptr<XRSFile> view;  ///< of `file`; null where all its bands are taken as they are
  Window window;

  XRSFile& Chosen() const { return view ? *view : *file; }
};

/// The format of the output, which its extension tells; null with the reason where it can't be written.
const tagXFormat* FindTargetFormat(const std::string& path, std::string& err) {
  const tagXFormat* const format = FindWritableFormat(path);
  if (!format) err = "can't write " + path + ": only " + ListWritableFormats() + " can be written";
  return format;
}

/// Speed is told by samples, which do not depend on how a file is packed.
std::int64_t CountSampleBytes(const XRSFile& file, const Window& window) {
  std::int64_t count = 0;
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    count += std::int64_t{window.Width()} * window.Height() * file.GetBandAt(i)->GetDataSize();
  }
  return count;
}

/// Writers place an image by the corner of its first pixel, also where the format of the input names the centre.
void PlaceByCorner(XRSFile& file) {
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    const Place place(band);
    if (band.GetPixelAnchor() == kPixelCorner || place.IsTurned()) continue;
    band.SetUpperLeft(place.GetTransform()[0], place.GetTransform()[3]);
    band.SetPixelAnchor(kPixelCorner);
  }
}

/// The window has to lie within the first band that is chosen.
bool Open(const ConvertOptions& options, Source& source, XThread& thread, std::string& err) {
  source.file = OpenRaster(options.input, thread, err);
  if (!source.file) return false;
  PlaceByCorner(*source.file);
  if (!options.bands.empty()) {
    source.view = MakeDatasetView(*source.file, options.bands, err);
    if (!source.view) return false;
  }
  source.window = FindWindow(*source.Chosen().GetBandAt(0), options.window);
  return true;
}

/// A compressing writer reports percentages of the whole by itself, so no share of them can be kept for decoding.
bool Save(const Source& source, const ConvertOptions& options, const tagXFormat& format, const std::string& path,
          XThread& thread, std::string& err) {
  if (!options.maxError && !DecodeAhead(*source.file->GetBandAt(0), kConvertDecodePercent, thread, err)) return false;
  const Window& w = source.window;
  const tagXSaveOptions what{w.x0,
                             w.x1,
                             w.y0,
                             w.y1,
                             options.levels.value_or(kMaxLevels),
                             options.maxError,
                             MakeLayerOptions(options.layers, options.levels)};
  XString reason;
  XfnForgetLastReadError();
  if (XfnSaveFile(&source.Chosen(), path, format.id, what, reason, &thread)) return true;
  // Why a read failed says more than that one did.
  err = WhyNotRead(reason.IsEmpty() ? std::string("the ") + format.writer->noun + " can't be made"
                                    : reason.AsStdString());
  return false;
}

bool WriteAlone(const Source& source, const ConvertOptions& options, const tagXFormat& format, XThread& thread,
                std::string& err) {
  TargetFile target;
  return target.Begin(options.output, options.input, err) &&
         Save(source, options, format, target.GetUnfinishedPath(), thread, err) && target.Commit(err);
}

/// Samples of other types would come out as unsigned numbers that mean nothing. `numbers` are those of the bands in the
/// image; there are none where all bands are taken.
bool HasSamplesFor(const tagXFormatWriter& writer, const XRSFile& file, const std::vector<int>& numbers,
                   std::string& err) {
  for (int i = 0; i < file.GetNumOfBands() && !writer.takesAllTypes; ++i) {
    const int dataType = file.GetBandAt(i)->GetDataType();
    if (dataType >= kPint08 && dataType <= kReal64) continue;
    const int number = numbers.empty() ? i + 1 : numbers[static_cast<std::size_t>(i)];
    err = std::string("only integer and real samples can be written to a ") + writer.noun + ", and band " +
          std::to_string(number) + " has others";
    return false;
  }
  return true;
}

/// Of a null value that the file has no place for is told, since it says which samples mean nothing.
void RemarkOnNullValues(const tagXFormatWriter& writer, const XRSFile& file) {
  for (int i = 0; i < file.GetNumOfBands() && !writer.keepsNullValues; ++i) {
    const double value = file.GetBandAt(i)->GetNullValue();
    if (value == kNotSet) continue;
    std::ostringstream text;
    text << "the null value, " << value << ", is not kept in a " << writer.noun;
    return AddRemark(text.str());
  }
}

/// Image and world file are made by one target, which keeps them together.
bool WriteWithWorldFile(const Source& source, const ConvertOptions& options, const tagXFormat& format, XThread& thread,
                        std::string& err) {
  TiffTarget target;
  const ZRMBand& first = *source.Chosen().GetBandAt(0);
  return target.Begin(options.output, options.input, first, err) &&
         Save(source, options, format, target.GetUnfinishedPath(), thread, err) &&
         target.TellPlace(first, source.window, err) && target.Commit(err);
}

bool Convert(const ConvertOptions& options, XThread& thread, WorkReport& report, std::string& err) {
  Source source;
  const tagXFormat* const format = FindTargetFormat(options.output, err);
  if (!format || !Open(options, source, thread, err)) return false;
  report = WorkReport(CountSampleBytes(source.Chosen(), source.window));
  // Types are looked at before the target is begun, so that a refusal leaves nothing behind.
  if (!HasSamplesFor(*format->writer, source.Chosen(), options.bands, err)) return false;
  // The row tells whether a world file belongs to the format.
  const auto write = format->writer->worldFile ? &WriteWithWorldFile : &WriteAlone;
  const ReplacedRaster replaced(options.output);
  if (!write(source, options, *format, thread, err)) return false;
  RemarkOnNullValues(*format->writer, source.Chosen());
  replaced.RemoveLevelFile();
  report.Finish(options.output);
  return true;
}

int RunConvert(const ConvertOptions& options) {
  UseWorkers(options.workers);
  WorkReport report;
  const JobResult result =
      RunJob(options.input, [&](XThread& thread, std::string& err) { return Convert(options, thread, report, err); });
  if (result.isDone) PrintNote(options.output, report.GetText());
  return result.GetExitStatus();
}

const char* const kConvertExamples =
    "Examples:\n"
    "  zrkio convert earth.jpg earth.zrm\n"
    "  zrkio convert earth.jpg small.zrm --max-error 2\n"
    "  zrkio convert earth.jpg africa.tif --window 896,1279,192,575\n"
    "  zrkio convert earth.jpg turned.tif --bands 3,2,1\n"
    "  zrkio convert earth.jpg small.jp2 --rates 0.5,1,2\n";

void AddWriterOptions(Command& command, ConvertOptions& options) {
  command
      .AddOption("--levels", "N", options.levels,
                 TitleWritableFormats(&tagXFormatWriter::takesLevels) +
                     ": how many reduced\n"
                     "levels are written, at most; unless given, as many as serve")
      .SetRange(0, kMaxLevels);
  command.AddOption("--max-error", "E", options.maxError,
                    TitleWritableFormats(&tagXFormatWriter::takesMaxError) +
                        ": compress, no sample being off by more than\n"
                        "this; 0 is lossless. Unless given, samples are kept as they\n"
                        "are.");
  AddLayerOptions(command, options.layers);
}

/// Refuses an option that was given where the writer of the output does not take it.
void CheckTaken(const char* name, bool isGiven, const tagXFormatWriter& writer, bool tagXFormatWriter::*takes) {
  if (!isGiven || writer.*takes) return;
  throw UsageError(name, "belongs to " + ListWritableFormats(takes) + ", not to " + writer.plural);
}

/// The output's extension tells what options make sense, so a wrong one is refused before anything is opened.
void CheckConvertUsage(const ConvertOptions& options) {
  if (options.maxError && !(*options.maxError >= 0.0 && std::isfinite(*options.maxError))) {
    throw UsageError("--max-error", "takes a number from 0 on");
  }
  const tagXFormat* const format = FindWritableFormat(options.output);
  if (!format) return;
  CheckTaken("--levels", options.levels.has_value(), *format->writer, &tagXFormatWriter::takesLevels);
  CheckTaken("--max-error", options.maxError.has_value(), *format->writer, &tagXFormatWriter::takesMaxError);
  CheckLayerOptions(options.layers, *format->writer);
}

}  // namespace

void AddConvertCommand(CommandLine& program) {
  auto options = std::make_shared<ConvertOptions>();
  Command command = program.AddCommand("convert", "Write an image as " + NameWritableFiles(), kConvertExamples);
  command.AddArgument("IN", options->input, "A raster file");
  command.AddArgument("OUT", options->output, "The file to write, by its extension: " + ListWritableExtensions());
  AddWindowOptions(command, options->window);
  command
      .AddOption("--bands", "BANDS", options->bands,
                 "The channels, counted from 1, in the order in which they are\n"
                 "written; all unless given")
      .TakeOneWord()
      .SetRange(1, INT_MAX);
  AddWriterOptions(command, *options);
  AddWorkersOption(command, options->workers);
  AddQuietOption(command);
  command.SetAction([options] {
    CheckConvertUsage(*options);
    return RunConvert(*options);
  });
}
