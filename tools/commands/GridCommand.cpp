// zrkio grid: the tile of the global grid that holds a place, and what it is called. The grid stands by itself, so that
// no file is needed.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "output/Json.h"
#include "XQTI.h"
#include "XTileGrid.h"

#include <cmath>
#include <cstdio>

namespace {

struct GridOptions {
  double lon = 0.0;
  double lat = 0.0;
  int level = 0;
  bool json = false;
};

Json DescribeTile(const GridOptions& options) {
  int row = 0, col = 0;
  XfnGetRowColFromGeo(options.level, options.lon, options.lat, row, col);
  const double size = XfnGetTileSize3D(options.level);
  const double west = col * size - 180.0, south = row * size - 90.0;
  return {{"lonLat", {options.lon, options.lat}},
          {"level", options.level},
          {"row", row},
          {"column", col},
          {"tileSize", size},
          {"west", west},
          {"south", south},
          {"east", west + size},
          {"north", south + size},
          {"lxy", XQTI::ComposeLXY(options.level, col, row)},
          {"name", XQTI::ToString(options.level, col, row).GetText()}};
}

void PrintGridText(const Json& tile) {
  std::printf("%.10g, %.10g\n  level       %d, tiles of %.10g degrees\n  row         %d\n  column      %d\n",
              GetNumber(tile["lonLat"][0]), GetNumber(tile["lonLat"][1]), tile["level"].get<int>(),
              GetNumber(tile["tileSize"]), tile["row"].get<int>(), tile["column"].get<int>());
  std::printf("  lower left  %.10g, %.10g\n  upper right %.10g, %.10g\n", GetNumber(tile["west"]),
              GetNumber(tile["south"]), GetNumber(tile["east"]), GetNumber(tile["north"]));
  std::printf("  LXY         %lld\n  name        %s\n", static_cast<long long>(tile["lxy"].get<std::int64_t>()),
              GetText(tile["name"]).c_str());
}

/// The upper rim of the globe belongs to no tile.
void CheckPlace(const GridOptions& options) {
  if (!(options.lon >= -180.0 && options.lon < 180.0)) throw UsageError("LON", "longitudes go from -180 to below 180");
  if (!(options.lat >= -90.0 && options.lat < 90.0)) throw UsageError("LAT", "latitudes go from -90 to below 90");
}

const char* const kGridExamples =
    "Examples:\n"
    "  zrkio grid 11.58 48.14 --level 8\n"
    "  zrkio grid -0.127 51.507 --json\n";

}  // namespace

void AddGridCommand(CommandLine& program) {
  // Numbers that the packed form has room for: columns of 28 bits with a sign.
  constexpr int kMaxLevel = 22;
  auto options = std::make_shared<GridOptions>();
  Command command = program.AddCommand("grid", "Tell which tile of the global grid holds a place", kGridExamples);
  command.AddArgument("LON", options->lon, "East, in degrees");
  command.AddArgument("LAT", options->lat, "North, in degrees");
  command.AddOption("--level", "L", options->level, "A level of the grid, 0 to 22; 0 unless given")
      .SetRange(0, kMaxLevel);
  command.AddFlag("--json", options->json, "Print an object for machines");
  command.SetAction([options] {
    CheckPlace(*options);
    const Json tile = DescribeTile(*options);
    options->json ? static_cast<void>(std::printf("%s\n", Serialize(tile).c_str())) : PrintGridText(tile);
    return 0;
  });
}
