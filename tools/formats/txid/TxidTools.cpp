// Tile stores: a subcommand that makes one of any image.

#include "CommandLine.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "FormatTools.h"
#include "Job.h"
#include "Notes.h"
#include "WorkReport.h"
#include "XRSFile2TXID.h"

#include <memory>

namespace {

struct Options {
  std::string action;
  std::string input;
  std::string base;
  int tileSize = 256;
};

/// The name of both files without their extensions, which may be given with one.
std::string BaseOf(const std::string& path) {
  const bool hasExtension = path.ends_with(".txi") || path.ends_with(".TXI");
  return hasExtension ? path.substr(0, path.size() - 4) : path;
}

std::int64_t CountSampleBytes(const XRSFile& file) {
  std::int64_t count = 0;
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    count += std::int64_t{file.GetBandAt(i)->GetXSize()} * file.GetBandAt(i)->GetYSize();
  }
  return count;
}

bool Make(const Options& options, XThread& thread, std::string& note, std::string& err) {
  const std::unique_ptr<XRSFile> file = OpenRaster(options.input, thread, err);
  if (!file) return false;
  WorkReport report(CountSampleBytes(*file));
  XRSFile2TXID store;
  store.SetXRSFile(file.get());
  store.SetTileSize(options.tileSize);
  XString reason;
  if (!store.Save(options.base, reason, &thread)) {
    err = reason.AsStdString();
    return false;
  }
  report.Finish(options.base + ".txd");
  note = std::to_string(store.GetNumTilesWritten()) + " of " + std::to_string(store.GetNumTiles()) + " tiles, " +
         report.GetText();
  return true;
}

int Run(Options options) {
  if (options.action != "make") throw UsageError("ACTION", "must be \"make\", which writes a tile store");
  if (options.tileSize % 4 != 0) throw UsageError("--tile", "takes a multiple of 4");
  options.base = BaseOf(options.base);
  std::string note;
  const JobResult result =
      RunJob(options.input, [&](XThread& thread, std::string& err) { return Make(options, thread, note, err); });
  if (result.isDone) PrintNote(options.base + ".txi", note);
  return result.GetExitStatus();
}

const char* const kExamples =
    "Examples:\n"
    "  zrkio txid make earth.jpg -o earth\n"
    "  zrkio txid make scene.tif -o scene --tile 512\n"
    "  zrkio view earth.txi -o earth.png\n";

void AddTxidCommand(CommandLine& program) {
  auto options = std::make_shared<Options>();
  Command command = program.AddCommand("txid", "Make a TXID tile store of an image", kExamples);
  command.AddArgument("ACTION", options->action, "make: write a store");
  command.AddArgument("IN", options->input, "A raster file in longitude and latitude, or without a place");
  command.AddOption("-o,--output", "BASE", options->base, "The store to write: BASE.txi and BASE.txd").Require();
  constexpr int kLeast = 4, kMost = 4096;
  command.AddOption("--tile", "N", options->tileSize, "Side of a tile in pixels, a multiple of 4; 256 unless given")
      .SetRange(kLeast, kMost);
  AddQuietOption(command);
  command.SetAction([options] { return Run(*options); });
}

}  // namespace

extern const FormatTools kTxidTools;
const FormatTools kTxidTools = {&AddTxidCommand, nullptr};
