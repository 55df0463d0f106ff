// zrkio view: a quick look at an image as a PNG.

#include "Commands.h"
#include "Dataset.h"
#include "Job.h"
#include "LevelFile.h"
#include "OutputFile.h"
#include "QuickLook.h"
#include "SharedOptions.h"
#include "Text.h"

#include <climits>
#include <cstdio>

namespace {

struct Options {
  std::string file;
  std::string output;
  int maxSize = 1024;
  std::vector<int> bands;
  bool noLevels = false;
};

/// The bands asked for; unless any are, the first three of an image that has them, otherwise the first.
bool ChooseBands(const XRSFile& file, std::vector<int> wanted, std::vector<ZRMBand*>& bands, std::string& err) {
  if (wanted.empty()) wanted = file.GetNumOfBands() >= 3 ? std::vector<int>{1, 2, 3} : std::vector<int>{1};
  for (const int number : wanted) {
    ZRMBand* band = FindBand(file, number, err);
    if (!band) return false;
    bands.push_back(band);
  }
  const int width = bands.front()->GetXSize(), height = bands.front()->GetYSize();
  for (const ZRMBand* band : bands) {
    if (band->GetXSize() == width && band->GetYSize() == height) continue;
    err = "the bands are not of one size";
    return false;
  }
  if (width > 0 && height > 0) return true;
  err = "the image has no pixels";
  return false;
}

bool View(const Options& options, XThread& thread, PngShape& shape, std::string& err) {
  const std::unique_ptr<XRSFile> file = OpenRaster(options.file, thread, err);
  std::vector<ZRMBand*> bands;
  if (!file || !ChooseBands(*file, options.bands, bands, err)) return false;
  if (options.noLevels) DetachLevelFile(*file);
  shape = FitPicture(bands.front()->GetXSize(), bands.front()->GetYSize(), options.maxSize);
  shape.channels = static_cast<int>(bands.size());
  OutputFile output;
  if (!output.Open(options.output, options.file, err)) return false;
  PngWriter png(output);
  return WriteQuickLook(bands, shape, png, thread, err) && output.Commit(err);
}

int Run(const Options& options) {
  PngShape shape;
  const JobResult result =
      RunJob(options.file, [&](XThread& thread, std::string& err) { return View(options, thread, shape, err); });
  if (!result.isDone) return 1;
  if (options.output != "-") {
    std::fprintf(stderr, "%s: %d x %d pixels\n", Printable(options.output).c_str(), shape.width, shape.height);
  }
  return 0;
}

const char* const kExamples =
    "Examples:\n"
    "  zrkio view earth.jpg -o earth.png\n"
    "  zrkio view earth.jpg -o small.png --max-size 300\n"
    "  zrkio view earth.jpg -o blue.png --bands 3\n";

}  // namespace

void AddViewCommand(CLI::App& program, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = program.add_subcommand("view", "Make a quick-look picture");
  command->footer(kExamples);
  command->add_option("FILE", options->file, "A raster file")->required()->type_name("");
  command->add_option("-o,--output", options->output, "The PNG file to write; - for standard output")
      ->required()
      ->type_name("OUT.png");
  command
      ->add_option("--max-size", options->maxSize,
                   "The longer side of the picture at most, 1024 unless given;\n"
                   "the image is never enlarged")
      ->check(CLI::Range(1, 100000).description(""))
      ->type_name("PIXELS");
  command
      ->add_option("--bands", options->bands,
                   "Three channels for red, green and blue, or one for a grey\n"
                   "picture, counted from 1; unless given the first three, or\n"
                   "the first where there are fewer")
      ->delimiter(',')
      ->check(CLI::Range(1, INT_MAX).description(""))
      ->type_name("R,G,B");
  AddNoLevelsOption(*command, options->noLevels);
  command->callback([options, &status] {
    if (!options->bands.empty() && options->bands.size() != 1 && options->bands.size() != 3) {
      throw CLI::ValidationError("--bands", "takes one number or three");
    }
    status = Run(*options);
  });
}
