// Files of place names: a subcommand that makes, searches and checks them. Each action is a source of its own; here
// stand the options that they share.

#include "CommandLine.h"
#include "commands/SharedOptions.h"
#include "formats/pbp/NamesActions.h"
#include "FormatTools.h"

#include <climits>
#include <memory>

namespace {

/// Options that belong to another action are refused and not passed over.
void RequireAction(const Option& option, const NamesOptions& options, const char* action, const char* name) {
  if (option.IsGiven() && options.action != action) {
    throw UsageError(name, std::string("belongs to \"names ") + action + "\"");
  }
}

/// The handles of what only some actions take.
struct NamesHandles {
  Option output;
  Option format;
  Option box;
  Option place;
  Option count;
};

void CheckUsage(const NamesOptions& options, const NamesHandles& handles) {
  RequireAction(handles.output, options, "build", "-o");
  RequireAction(handles.format, options, "build", "--format");
  RequireAction(handles.box, options, "query", "--box");
  RequireAction(handles.place, options, "query", "--near");
  RequireAction(handles.count, options, "query", "--count");
  if (options.action != "build" && options.files.size() > 1) throw UsageError("FILE", "takes one file");
}

int RunNames(const NamesOptions& options) {
  if (options.action == "build") return BuildNames(options);
  if (options.action == "query") return QueryNames(options);
  if (options.action == "check") return CheckNames(options);
  throw UsageError("ACTION", "must be \"build\", \"query\" or \"check\"");
}

const char* const kExamples =
    "Examples:\n"
    "  zrkio names build /usr/share/libgweather-4/Locations.xml -o cities.pbp\n"
    "  zrkio names build towns.csv hills.csv -o places.pbp --format csv\n"
    "  zrkio names query cities.pbp --box 10,47,12,49\n"
    "  zrkio names query cities.pbp --near 11.58,48.14 --count 5 --json\n"
    "  zrkio names check cities.pbp\n";

void AddNamesCommand(CommandLine& program) {
  auto options = std::make_shared<NamesOptions>();
  Command command = program.AddCommand("names", "Make, search and check files of place names", kExamples);
  command.AddArgument("ACTION", options->action,
                      "build: write a file of lists of places; query: find places;\n"
                      "check: look at a file from end to end");
  command.AddArgument("FILE", options->files, "Lists of places to build of, or a PBP file");
  const Option output = command.AddOption("-o,--output", "OUT.pbp", options->output, "The file to build");
  const Option format = command.AddOption("--format", "KIND", options->format,
                                          "What the lists are: gweather, tzdata, xplanet or csv;\n"
                                          "told by their beginning unless given");
  const Option box = command
                         .AddOption("--box", "W,S,E,N", options->box,
                                    "Places in a box of degrees; W above E for a box across the\n"
                                    "date line")
                         .SetCount(4);
  const Option place = command.AddOption("--near", "LON,LAT", options->place, "Places near to one, the nearest first")
                           .SetCount(2)
                           .Exclude(box);
  const Option count = command
                           .AddOption("--count", "N", options->count,
                                      "How many places are shown; 1 with --near and all with\n"
                                      "--box unless given")
                           .SetRange(1, INT_MAX);
  command.AddFlag("--json", options->json, "Print an object for machines");
  AddQuietOption(command);
  command.SetAction([options, handles = NamesHandles{output, format, box, place, count}] {
    CheckUsage(*options, handles);
    return RunNames(*options);
  });
}

}  // namespace

extern const FormatTools kPbpTools;
const FormatTools kPbpTools = {&AddNamesCommand, nullptr};
