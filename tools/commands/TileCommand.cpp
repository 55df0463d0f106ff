// zrkio tile: one tile out of a tile store. A PNG shows it, a DDS file has its blocks as a graphics card takes them,
// and a raw file has the bytes as they lie in the store.
//
// Heights make a grey picture from the lowest to the highest of the tile.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Job.h"
#include "Notes.h"
#include "output/DdsHeader.h"
#include "output/OutputFile.h"
#include "output/PngWriter.h"
#include "XPath.h"
#include "XTileStore.h"

#include <algorithm>
#include <cmath>

namespace {

struct TileOptions {
  std::string file;
  std::string output;
  double level = 0;
  double row = 0;
  double col = 0;
};

bool WritePng(const tagXStoreTile& tile, const std::vector<unsigned char>& pixels, OutputFile& output,
              std::string& err) {
  const int channels = tile.heights.empty() ? 4 : 1;
  PngWriter png(output);
  if (!png.Begin({tile.width, tile.height, channels, 8}, err)) return false;
  const std::size_t rowBytes = static_cast<std::size_t>(tile.width) * static_cast<std::size_t>(channels);
  for (int y = 0; y < tile.height; ++y) {
    if (!png.WriteRow(pixels.data() + static_cast<std::size_t>(y) * rowBytes, err)) return false;
  }
  return png.End(err);
}

/// Greys from 0 at the lowest height to 255 at the highest. What is no number is 0. A float does not hold the way
/// between any two others, and so heights are counted in double precision.
std::vector<unsigned char> MakeGreys(const std::vector<float>& heights) {
  double lowest = INFINITY, highest = -INFINITY;
  for (const double height : heights) {
    if (!std::isfinite(height)) continue;
    lowest = std::min(lowest, height);
    highest = std::max(highest, height);
  }
  const double scale = highest > lowest ? 255.0 / (highest - lowest) : 0.0;
  std::vector<unsigned char> greys;
  for (const double height : heights) {
    greys.push_back(std::isfinite(height) ? static_cast<unsigned char>((height - lowest) * scale + 0.5) : 0);
  }
  return greys;
}

bool WriteDds(const tagXStoreTile& tile, OutputFile& output, std::string& err) {
  if (tile.blockType == kDxtNone) {
    err = "heights don't go into a DDS file; write a picture (.png) or the bytes (.raw)";
    return false;
  }
  const auto header = MakeDdsHeader(tile);
  return output.Write(header.data(), header.size(), err) && output.Write(tile.bytes.data(), tile.bytes.size(), err);
}

bool WriteTile(const tagXStoreTile& tile, const std::string& path, OutputFile& output, std::string& err) {
  XString extension = XfnGetFileExt(path);
  extension.MakeLower();
  if (extension == "dds") return WriteDds(tile, output, err);
  if (extension == "png")
    return WritePng(tile, tile.heights.empty() ? tile.rgba : MakeGreys(tile.heights), output, err);
  return output.Write(tile.bytes.data(), tile.bytes.size(), err);
}

int RunTile(const TileOptions& options) {
  tagXStoreTile tile;
  const JobResult result = RunJob(options.file, [&](XThread&, std::string& err) {
    XString why;
    const auto number = [](double value) { return static_cast<int>(value); };
    if (!XfnReadStoreTile(options.file, number(options.level), number(options.row), number(options.col), tile, why)) {
      err = why.GetText();
      return false;
    }
    OutputFile output;
    return output.Open(options.output, options.file, err) && WriteTile(tile, options.output, output, err) &&
           output.Commit(err);
  });
  if (result.isDone && options.output != "-") {
    PrintNote(options.output, std::to_string(tile.width) + " x " + std::to_string(tile.height) +
                                  (tile.heights.empty() ? " pixels, " : " posts, ") +
                                  std::to_string(tile.bytes.size()) + " bytes in the store");
  }
  return result.GetExitStatus();
}

void RequireWhole(const char* name, double value) {
  if (!(std::abs(value) <= 2147483647.0) || value != std::floor(value)) throw UsageError(name, "take whole numbers");
}

const char* const kTileExamples =
    "Examples:\n"
    "  zrkio tile globe.pbi 3 41 92 -o tile.png\n"
    "  zrkio tile globe.pbi 3 41 92 -o tile.dds\n"
    "  zrkio tile world.txi 0 0 5 -o tile.raw\n";

}  // namespace

void AddTileCommand(CommandLine& program) {
  auto options = std::make_shared<TileOptions>();
  Command command = program.AddCommand("tile", "Take one tile out of a tile store", kTileExamples);
  command.AddArgument("FILE", options->file, "A tile store");
  command.AddArgument("LEVEL", options->level, "A level of the store, as zrkio info numbers it");
  command.AddArgument("ROW", options->row, "A row of the level; rows of the globe count from the south");
  command.AddArgument("COL", options->col, "A column of the level, counted from the west");
  command
      .AddOption("-o,--output", "OUT", options->output,
                 "A picture by the extension .png; the blocks for a graphics\n"
                 "card as .dds; the bytes of the store as .raw, .bin, .dat or\n"
                 "without an extension; - for these on standard output.")
      .Require();
  AddQuietOption(command);
  command.SetAction([options] {
    CheckOutputName(options->output, {"png", "dds", "raw", "bin", "dat"},
                    "a PNG (.png), a DDS file (.dds) or raw bytes (.raw, .bin, .dat)");
    RequireWhole("LEVEL", options->level);
    RequireWhole("ROW", options->row);
    RequireWhole("COL", options->col);
    return RunTile(*options);
  });
}
