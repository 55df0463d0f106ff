// zrkio read: samples of one channel as they are, into a file or onto the terminal. Nothing is scaled. A PNG takes
// samples of 8 and 16 bits without a sign; raw files take all.
//
// Samples pass through strip by strip, so that a large window needs little memory.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "Job.h"
#include "LevelFile.h"
#include "Notes.h"
#include "output/OutputFile.h"
#include "output/SampleSink.h"
#include "Strips.h"
#include "XPath.h"

#include <climits>
#include <cstdio>

namespace {

constexpr int kMaxTableSamples = 32;  // each way
/// The share of decoding where an image is decoded as a whole.
constexpr int kReadDecodePercent = 70;

struct ReadOptions {
  std::string file;
  int band = 1;
  int level = 0;
  WindowRequest window;
  std::string output;
  bool noLevels = false;
};

/// What has come out of the band.
struct Shape {
  int width = 0;
  int height = 0;
  const char* dataType = "";
};

bool HasPngExtension(const std::string& path) {
  XString extension = XfnGetFileExt(path);
  extension.MakeLower();
  return extension == "png";
}

/// A table is held in memory until its widest number is known, so it is for small windows.
std::unique_ptr<SampleSink> MakeTable(const ZRMBand& band, const Window& window, std::string& err) {
  if (window.Width() <= kMaxTableSamples && window.Height() <= kMaxTableSamples) {
    return MakeTableSink(band.GetDataType(), stdout);
  }
  err = "a table on the terminal is for windows of up to 32 x 32 pixels; give -o to write a file";
  return nullptr;
}

/// The type is looked at before the output is opened, so that a refusal leaves no trace.
std::unique_ptr<SampleSink> MakeFileSink(const ZRMBand& band, const ReadOptions& options, OutputFile& output,
                                         std::string& err) {
  const bool isPng = HasPngExtension(options.output);
  if (isPng && band.GetDataType() != kPint08 && band.GetDataType() != kPint16) {
    err = std::string("samples of type ") + XfnGetDataTypeString(band.GetDataType()) +
          " don't go into a PNG as they are; write them raw, or make a picture with zrkio view";
    return nullptr;
  }
  if (!output.Open(options.output, options.file, err)) return nullptr;
  return isPng ? MakePngSink(output, 8 * band.GetDataSize()) : MakeRawSink(output);
}

/// Some bands answer a level at full size, so the sink learns the size from the first strip.
bool ReadStrips(StripReader& strips, SampleSink& sink, XThread& thread, std::string& err) {
  for (bool isFirst = true; strips.HasMore(); isFirst = false) {
    const tagXArr2* strip = strips.ReadNext(thread, err);
    if (!strip || (isFirst && !sink.Begin(strips.GetWidth(), strips.GetHeight(), err))) return false;
    if (!sink.Take(*strip, err)) return false;
    thread.CallbackPercent(100.0 * strips.GetShareDone());
  }
  return sink.End(err);
}

bool Read(const ReadOptions& options, XThread& thread, Shape& shape, std::string& err) {
  const std::unique_ptr<XRSFile> file = OpenRaster(options.file, thread, err);
  ZRMBand* band = file ? FindBand(*file, options.band, err) : nullptr;
  if (!band) return false;
  const Window window = FindWindow(*band, options.window);
  // Without level data the image itself answers the level.
  if (options.noLevels) DetachLevelFile(*file);
  OutputFile output;
  const std::unique_ptr<SampleSink> sink =
      options.output.empty() ? MakeTable(*band, window, err) : MakeFileSink(*band, options, output, err);
  if (!sink) return false;
  StripReader strips(*band, options.level, window);
  // Level data spares the decode.
  if (strips.ReadsImage() && !DecodeAhead(*band, kReadDecodePercent, thread, err)) return false;
  if (!ReadStrips(strips, *sink, thread, err)) return false;
  shape = {strips.GetWidth(), strips.GetHeight(), XfnGetDataTypeString(band->GetDataType())};
  return options.output.empty() || output.Commit(err);
}

int RunRead(const ReadOptions& options) {
  Shape shape;
  const JobResult result =
      RunJob(options.file, [&](XThread& thread, std::string& err) { return Read(options, thread, shape, err); });
  if (result.isDone && !options.output.empty()) {
    PrintNote(options.output == "-" ? "standard output" : options.output,
              std::to_string(shape.width) + " x " + std::to_string(shape.height) + " samples " + shape.dataType);
  }
  return result.GetExitStatus();
}

const char* const kReadExamples =
    "Examples:\n"
    "  zrkio read earth.jpg --window 100,107,200,203\n"
    "  zrkio read earth.jpg --band 2 --window 0,511,0,511 -o green.png\n"
    "  zrkio read earth.jpg --band 3 -o blue.raw\n"
    "  zrkio read scene.tif --bbox 11.2,48.1,11.3,48.2 --lonlat -o part.raw\n";

}  // namespace

void AddReadCommand(CommandLine& program) {
  auto options = std::make_shared<ReadOptions>();
  Command command = program.AddCommand("read", "Read samples of one channel", kReadExamples);
  command.AddArgument("FILE", options->file, "A raster file");
  command.AddOption("--band", "N", options->band, "The channel, counted from 1; the first unless given")
      .SetRange(1, INT_MAX);
  command
      .AddOption("--level", "L", options->level,
                 "A reduction of 2^L, 0 to 30; 0 unless given. Of the image\n"
                 "itself every 2^L-th pixel is taken.")
      .SetRange(0, 30);
  AddWindowOptions(command, options->window);
  command.AddOption("-o,--output", "OUT", options->output,
                    "A PNG by its extension; raw samples as .raw, .bin, .dat or\n"
                    "without an extension; - for raw samples on standard\n"
                    "output. Unless given, a small window is printed as a table.");
  AddNoLevelsOption(command, options->noLevels);
  AddQuietOption(command);
  command.SetAction([options] {
    CheckOutputName(options->output, {"png", "raw", "bin", "dat"}, "a PNG (.png) or raw samples (.raw, .bin, .dat)");
    return RunRead(*options);
  });
}
