// zrkio view: a quick look at an image as a PNG.

#include "Commands.h"
#include "Dataset.h"
#include "OutputFile.h"
#include "Progress.h"
#include "QuickLook.h"

#include <cstdio>

namespace {

struct Options {
  std::string file;
  std::string output;
  int maxSize = 1024;
  std::vector<int> bands;
};

/// The bands asked for; unless any are, the first three of an image that has them, otherwise the first.
bool ChooseBands(const XRSFile& file, std::vector<int> wanted, std::vector<ZRMBand*>& bands, std::string& err) {
  if (wanted.empty()) wanted = file.GetNumOfBands() >= 3 ? std::vector<int>{1, 2, 3} : std::vector<int>{1};
  for (const int number : wanted) {
    ZRMBand* band = file.GetBandAt(number - 1);
    if (!band) {
      err = "there is no band " + std::to_string(number) + ", only 1 to " + std::to_string(file.GetNumOfBands());
      return false;
    }
    bands.push_back(band);
  }
  return true;
}

bool View(const Options& options, Job& job, PngImage& image, std::string& err) {
  const std::unique_ptr<XRSFile> file = OpenRaster(options.file, job.GetThread(), err);
  std::vector<ZRMBand*> bands;
  OutputFile output;
  return file && ChooseBands(*file, options.bands, bands, err) && output.Open(options.output, err) &&
         MakeQuickLook(bands, options.maxSize, job.GetThread(), image, err) && WritePng(image, output, err) &&
         output.Commit(err);
}

int Run(const Options& options) {
  std::string err;
  PngImage image;
  bool isDone = false;
  {
    Job job(options.file);
    isDone = View(options, job, image, err);
  }
  if (!isDone) {
    PrintFailure(options.file, err);
    return 1;
  }
  if (options.output != "-") {
    std::fprintf(stderr, "%s: %d x %d pixels\n", options.output.c_str(), image.width, image.height);
  }
  return 0;
}

}  // namespace

void AddViewCommand(CLI::App& program, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = program.add_subcommand("view", "Make a quick-look picture");
  command->add_option("FILE", options->file, "A raster file")->required();
  command->add_option("-o,--output", options->output, "The PNG file to write; - for standard output")->required();
  command->add_option("--max-size", options->maxSize, "The longer side of the picture at most; it is never enlarged")
      ->capture_default_str()
      ->check(CLI::Range(1, 16384));
  command
      ->add_option("--bands", options->bands,
                   "r,g,b or one number, from 1; the first three unless given, or the first where there are fewer")
      ->delimiter(',')
      ->check(CLI::PositiveNumber);
  command->callback([options, &status] {
    if (!options->bands.empty() && options->bands.size() != 1 && options->bands.size() != 3) {
      throw CLI::ValidationError("--bands", "takes one number or three");
    }
    status = Run(*options);
  });
}
