// zrkio view: a quick look at an image as a PNG. Formats whose files are no rasters may bring a picture of their own,
// and are asked before the file is opened as a raster.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "FormatTools.h"
#include "Job.h"
#include "LevelFile.h"
#include "Notes.h"
#include "output/InputFiles.h"
#include "output/OutputFile.h"
#include "output/Text.h"
#include "picture/ClassColours.h"
#include "picture/PlaceMarks.h"
#include "picture/QuickLook.h"

#include <climits>
#include <cstdio>

namespace {

struct ViewOptions {
  std::string file;
  std::string output;
  int maxSize = 1024;
  WindowRequest window;
  std::vector<int> bands;
  Look look;
  bool isLitByNormals = false;
  std::string names;
  bool noLevels = false;
};

/// What was made: a picture, and the places that are marked on it.
struct Seen {
  PngShape shape;
  PlaceMarks marks;
};

/// The bands that were asked for. Unless any were, an image of three bands or more is shown in colour by its first
/// three; other images, and heights, are shown by the first.
bool ChooseBands(const XRSFile& file, const ViewOptions& options, std::vector<ZRMBand*>& bands, std::string& err) {
  std::vector<int> wanted = options.bands;
  const bool isColour = file.GetNumOfBands() >= 3 && !options.look.isShaded;
  if (wanted.empty()) wanted = isColour ? std::vector<int>{1, 2, 3} : std::vector<int>{1};
  for (const int number : wanted) {
    ZRMBand* band = FindBand(file, number, err);
    if (!band) return false;
    bands.push_back(band);
  }
  const int width = bands.front()->GetXSize(), height = bands.front()->GetYSize();
  // Bands of a file may differ in size, and a picture has one size.
  for (const ZRMBand* band : bands) {
    if (band->GetXSize() == width && band->GetYSize() == height) continue;
    err = "the bands are not of one size";
    return false;
  }
  if (width > 0 && height > 0) return true;
  err = "the image has no pixels";
  return false;
}

/// Classes are shown in their colours, unless their band was asked for by its number.
bool ShowsClasses(const ViewOptions& options, const std::vector<ZRMBand*>& bands) {
  return options.bands.empty() && !options.look.isShaded && bands.size() == 1 && ClassColours::AreKnown(*bands.front());
}

/// The picture gets its name only when all of it is written.
bool View(const ViewOptions& options, XThread& thread, Seen& seen, std::string& err) {
  const std::unique_ptr<XRSFile> file = OpenRaster(options.file, thread, err);
  std::vector<ZRMBand*> bands;
  if (!file || !ChooseBands(*file, options, bands, err)) return false;
  if (options.noLevels) DetachLevelFile(*file);
  const bool showsClasses = ShowsClasses(options, bands);
  if (showsClasses) bands = {bands.front(), bands.front(), bands.front()};
  const Window window = FindWindow(*bands.front(), options.window);
  seen.shape = FitPicture(window.Width(), window.Height(), options.maxSize);
  seen.shape.channels = static_cast<int>(bands.size());
  const bool hasNames = !options.names.empty();
  if (hasNames && !seen.marks.Find(*bands.front(), window, seen.shape, options.names, err)) return false;
  if (hasNames && WouldReplaceInput(options.output, options.names, err)) return false;
  OutputFile output;
  if (!output.Open(options.output, options.file, err)) return false;
  PngWriter png(output);
  const PlaceMarks* const marks = hasNames ? &seen.marks : nullptr;
  return WriteQuickLook({bands, window, options.look, marks, showsClasses}, seen.shape, png, thread, err) &&
         output.Commit(err);
}

/// A format answers nothing for a file that is not its own; then the next one is asked.
bool ViewAny(const ViewOptions& options, XThread& thread, Seen& seen, std::string& err) {
  const bool hasWindow = !options.window.pixels.empty() || !options.window.box.empty();
  const ViewRequest request{options.file,           options.output,         options.maxSize,
                            !options.bands.empty(), options.look.isShaded,  hasWindow,
                            !options.names.empty(), options.isLitByNormals, options.look.zFactor};
  for (const FormatTools* tools : AllFormatTools()) {
    if (!tools->view) continue;
    if (const std::optional<bool> isViewed = tools->view(request, thread, seen.shape, err)) return *isViewed;
  }
  return View(options, thread, seen, err);
}

/// The list that the numbers on the picture lead to.
void PrintMarks(const PlaceMarks& marks) {
  std::size_t number = 0;
  for (const PlaceMark& mark : marks.GetMarks()) {
    std::printf("%3zu  %s  %.10g, %.10g\n", ++number, Printable(mark.place.name.AsStdString()).c_str(),
                mark.place.first, mark.place.second);
  }
}

/// The size is told on stderr, because the picture itself may go to standard output.
int RunView(const ViewOptions& options) {
  Seen seen;
  const JobResult result =
      RunJob(options.file, [&](XThread& thread, std::string& err) { return ViewAny(options, thread, seen, err); });
  if (result.isDone && options.output != "-") {
    PrintNote(options.output, std::to_string(seen.shape.width) + " x " + std::to_string(seen.shape.height) + " pixels");
    PrintMarks(seen.marks);
  }
  return result.GetExitStatus();
}

const char* const kViewExamples =
    "Examples:\n"
    "  zrkio view earth.jpg -o earth.png\n"
    "  zrkio view earth.jpg -o small.png --max-size 300\n"
    "  zrkio view earth.jpg -o blue.png --bands 3\n"
    "  zrkio view scene.tif -o town.png --bbox 11.4,48.1,11.7,48.2 --lonlat\n"
    "  zrkio view n35e138.dt1 -o hills.png --hillshade\n"
    "  zrkio view globe.pbe -o light.png --hillshade --stored-normals\n"
    "  zrkio view earth.tif -o alps.png --bbox 5,43,17,49 --names cities.pbp\n"
    "  zrkio view A.TOC -o coverage.png\n"
    "\n"
    "Of a table of contents of raster maps the picture shows where its frames lie, north\n"
    "up: green where the file is there, red where it is missing, grey where none is\n"
    "listed. It is as large as --max-size allows, up to 8192 pixels.\n";

/// A factor for heights means nothing without the shading, and neither do normals.
void AddHillshadeOptions(Command& command, Look& look, bool& isLitByNormals) {
  const Option hillshade = command.AddFlag("--hillshade", look.isShaded,
                                           "Shade one band of heights by light from the north-west, 45\n"
                                           "degrees above the horizon");
  command
      .AddOption("--z-factor", "FACTOR", look.zFactor,
                 "What heights are multiplied by, 1 unless given: above it to\n"
                 "exaggerate, 0.3048 for heights in feet over metres")
      .SetRange(1e-6, 1e6)
      .Need(hillshade);
  command
      .AddFlag("--stored-normals", isLitByNormals,
               "Shade by the normals that an elevation store keeps, and by\n"
               "no heights; of the whole store")
      .Need(hillshade);
}

}  // namespace

void AddViewCommand(CommandLine& program) {
  auto options = std::make_shared<ViewOptions>();
  Command command = program.AddCommand("view", "Make a quick-look picture", kViewExamples);
  command.AddArgument("FILE", options->file, "A raster file, or a table of contents");
  command.AddOption("-o,--output", "OUT.png", options->output, "The PNG file to write; - for standard output")
      .Require();
  command
      .AddOption("--max-size", "PIXELS", options->maxSize,
                 "The longer side of the picture at most, 1024 unless given;\n"
                 "the image is never enlarged")
      .SetRange(1, 100000);
  command
      .AddOption("--bands", "R,G,B", options->bands,
                 "Three channels for red, green and blue, or one for a grey\n"
                 "picture, counted from 1; unless given the first three, or\n"
                 "the first where there are fewer")
      .SetRange(1, INT_MAX);
  AddWindowOptions(command, options->window);
  AddHillshadeOptions(command, options->look, options->isLitByNormals);
  command.AddOption("--names", "FILE.pbp", options->names,
                    "Mark the places of a file of names, and list them; not\n"
                    "of a table of contents");
  AddNoLevelsOption(command, options->noLevels);
  AddQuietOption(command);
  command.SetAction([options] {
    CheckOutputName(options->output, {"png"}, "a PNG (.png)");
    if (!options->bands.empty() && options->bands.size() != 1 && options->bands.size() != 3) {
      throw UsageError("--bands", "takes one number or three");
    }
    if (options->look.isShaded && options->bands.size() > 1) {
      throw UsageError("--hillshade", "takes one band");
    }
    return RunView(*options);
  });
}
