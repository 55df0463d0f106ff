// Scanning sensors: a subcommand that goes from pixels to the ground and back, makes maps and simulates flights, and
// one that makes the geoid that such images are placed by. Each action is a source of its own; here stand their
// options.

#include "CommandLine.h"
#include "commands/SharedOptions.h"
#include "formats/hawk/HawkActions.h"
#include "FormatTools.h"

#include <algorithm>
#include <memory>

namespace {

/// An option, its name, and the actions that take it.
struct HawkOption {
  Option option;
  const char* name;
  std::vector<std::string> actions;
};

/// Options that belong to another action are refused and not passed over.
void CheckHawkOptions(const HawkOptions& options, const std::vector<HawkOption>& handles) {
  for (const HawkOption& handle : handles) {
    const bool isTaken = std::ranges::find(handle.actions, options.action) != handle.actions.end();
    if (handle.option.IsGiven() && !isTaken) {
      throw UsageError(handle.name, "belongs to \"hawk " + handle.actions.front() + "\"");
    }
  }
}

void RequireWords(const HawkOptions& options, std::size_t count, const char* words) {
  if (options.words.size() != count) throw UsageError("hawk " + options.action, std::string("takes ") + words);
}

void RequireOutput(const HawkOptions& options) {
  if (options.output.empty()) throw UsageError("-o", "is required");
}

int RunHawk(const HawkOptions& options) {
  constexpr std::size_t kPlaceWords = 3;
  if (options.action == "locate") RequireWords(options, kPlaceWords, "FILE X Y");
  if (options.action == "find") RequireWords(options, kPlaceWords, "FILE LON LAT");
  if (options.action == "locate" || options.action == "find") return LocateHawk(options);
  if (options.action != "footprint" && options.action != "ortho" && options.action != "simulate") {
    throw UsageError("ACTION", "must be \"locate\", \"find\", \"footprint\", \"ortho\" or \"simulate\"");
  }
  RequireOutput(options);
  if (options.action == "simulate") {
    RequireWords(options, 0, "no file");
    return SimulateHawk(options);
  }
  RequireWords(options, 1, "FILE");
  return options.action == "ortho" ? WriteHawkOrtho(options) : WriteHawkFootprint(options);
}

const char* const kHawkExamples =
    "Examples:\n"
    "  zrkio hawk locate scan.TIF_1 512 300 --dem n47e011.dt2 --geoid WW15MGH.zrm\n"
    "  zrkio hawk find scan.TIF_1 11.02 47.51 --dem n47e011.dt2 --json\n"
    "  zrkio hawk footprint scan.TIF_1 -o outline.geojson\n"
    "  zrkio hawk ortho scan.TIF_1 -o map.tif --dem n47e011.dt2 --srs EPSG:32632 --pixel 0.5\n"
    "  zrkio hawk simulate -o flight --platform satellite --terrain hills\n";

void AddHawkMapOptions(Command& command, HawkOptions& options, std::vector<HawkOption>& handles) {
  handles.push_back({command.AddOption("--srs", "EPSG:n", options.system,
                                       "ortho: the system of the map; that of the UTM zone unless\n"
                                       "given"),
                     "--srs",
                     {"ortho"}});
  handles.push_back({command.AddOption("--pixel", "SIZE", options.pixel,
                                       "ortho: the pixel size in the unit of the system; that of the\n"
                                       "image unless given"),
                     "--pixel",
                     {"ortho"}});
  handles.push_back({command.AddOption("--method", "KIND", options.method,
                                       "ortho: bilinear, or nearest for classes and other samples that\n"
                                       "must stay as they are; bilinear unless given"),
                     "--method",
                     {"ortho"}});
}

void AddHawkFlightOptions(Command& command, HawkOptions& options, std::vector<HawkOption>& handles) {
  const auto add = [&](const char* name, const char* value, auto& variable, const char* description) {
    Option option = command.AddOption(name, value, variable, std::string("simulate: ") + description);
    handles.push_back({option, name, {"simulate"}});
    return option;
  };
  add("--platform", "KIND", options.platform,
      "aircraft, at 9 km and looking 52 degrees\n"
      "aside, or satellite, at 620 km; aircraft unless given");
  add("--at", "LON,LAT", options.target, "the place in the middle; 11,47.5 unless given").SetCount(2);
  add("--size", "W,H", options.size, "columns and lines; 1024,2048 unless given").SetCount(2);
  add("--gsd", "METRES", options.pixelOnGround,
      "the size of a pixel across the look; 1 for\n"
      "the aircraft and 2 for the satellite unless given");
  add("--heading", "DEGREES", options.heading, "of the flight, from north to east; 20 unless\ngiven");
  add("--shake", "PIXELS", options.shake, "how far the attitude is shaken; 1 unless given");
  add("--corner", "CORNER", options.corner,
      "that the image begins at, as \"Lower Left\";\n\"Upper Right\" unless given");
  add("--texture", "IMAGE", options.texture, "what lies on the ground; spots and roads\nunless given");
  add("--name", "NAME", options.name, "of the files; \"flight\" unless given");
  Option terrain =
      add("--terrain", "FORMULA", options.terrain, "flat:METRES, slope or hills, as a file beside\nthe image");
  terrain.Exclude(handles.front().option);
  handles.push_back(
      {command.AddFlag("--infrared", options.isInfrared, "simulate: the infrared sensor"), "--infrared", {"simulate"}});
}

void AddHawkCommand(CommandLine& program) {
  auto options = std::make_shared<HawkOptions>();
  std::vector<HawkOption> handles;
  Command command = program.AddCommand("hawk", "Place, map and simulate images of scanning sensors", kHawkExamples);
  command.AddArgument("ACTION", options->action,
                      "locate: the ground under a pixel; find: the pixel of a place;\n"
                      "footprint: the outline as GeoJSON; ortho: a map-true GeoTIFF;\n"
                      "simulate: a data set of a flight");
  command.AddArgument("FILE", options->words, "An image of the data set; with locate X Y behind it, with find LON LAT")
      .AllowNone();
  handles.push_back(
      {command.AddOption("--dem", "DEM", options->dem, "Heights of the terrain over longitude and latitude, in metres"),
       "--dem",
       {"locate", "find", "footprint", "ortho", "simulate"}});
  command.AddOption("--geoid", "GEOID", options->geoid,
                    "Heights of the geoid, in centimetres, which are added to the\n"
                    "terrain; see zrkio geoid");
  handles.push_back(
      {command.AddOption("-o,--output", "OUT", options->output, "The file to write; of simulate a folder"),
       "-o",
       {"footprint", "ortho", "simulate"}});
  AddHawkMapOptions(command, *options, handles);
  AddHawkFlightOptions(command, *options, handles);
  AddWorkersOption(command, options->workers);
  command.AddFlag("--json", options->json, "Print an object for machines");
  AddQuietOption(command);
  command.SetAction([options, handles] {
    CheckHawkOptions(*options, handles);
    return RunHawk(*options);
  });
}

const char* const kGeoidExamples =
    "Examples:\n"
    "  zrkio geoid make /usr/share/proj/egm96_15.gtx -o WW15MGH.zrm\n";

void AddGeoidCommand(CommandLine& program) {
  auto options = std::make_shared<GeoidOptions>();
  Command command = program.AddCommand("geoid", "Make the geoid that sensor images are placed by", kGeoidExamples);
  command.AddArgument("ACTION", options->action, "make: write a geoid");
  command.AddArgument("GRID", options->input, "Heights of the geoid in metres, in .gtx");
  command.AddOption("-o,--output", "OUT.zrm", options->output, "The native raster to write").Require();
  AddQuietOption(command);
  command.SetAction([options] { return MakeGeoid(*options); });
}

void AddHawkCommands(CommandLine& program) {
  AddHawkCommand(program);
  AddGeoidCommand(program);
}

}  // namespace

extern const FormatTools kHawkTools;
const FormatTools kHawkTools = {&AddHawkCommands, nullptr};
