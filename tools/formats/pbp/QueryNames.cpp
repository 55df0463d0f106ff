// zrkio names query: places of a PBP file, by a box or by their nearness to a place.

#include "CommandLine.h"
#include "formats/pbp/NamesActions.h"
#include "Job.h"
#include "output/Json.h"
#include "XPBPReader.h"

#include <cmath>
#include <cstdio>

namespace {

using Places = std::vector<tagXPlace>;

bool FindNear(const XPBPReader& reader, const NamesOptions& options, Places& places, XString& why) {
  return reader.FindNearest(options.place[0], options.place[1], options.count.value_or(1), places, why);
}

bool FindInside(const XPBPReader& reader, const NamesOptions& options, Places& places, XString& why) {
  const tagXPlaceBox box{options.box[0], options.box[1], options.box[2], options.box[3]};
  std::vector<int> numbers;
  if (!reader.FindInBox(box, numbers, why)) return false;
  if (options.count && numbers.size() > static_cast<std::size_t>(*options.count)) {
    numbers.resize(static_cast<std::size_t>(*options.count));
  }
  for (const int number : numbers) {
    places.emplace_back();
    if (!reader.ReadPlace(number, places.back(), why)) return false;
  }
  return true;
}

Json DescribePlace(const tagXPlace& place, bool hasDistance) {
  Json json = {{"number", place.number},
               {"name", place.name.AsStdString()},
               {"longitude", Number(place.first)},
               {"latitude", Number(place.second)}};
  if (hasDistance) json["distance"] = place.distance;
  return json;
}

/// The coordinates stand behind the name, and the distance in kilometres behind them.
void PrintPlace(const Json& place) {
  std::printf("  %s  %.10g, %.10g", GetText(place["name"]).c_str(), GetNumber(place["longitude"]),
              GetNumber(place["latitude"]));
  if (place.contains("distance")) std::printf("  %.3f km", GetNumber(place["distance"]) / 1000.0);
  std::printf("\n");
}

void CheckQuery(const NamesOptions& options) {
  if (options.box.empty() && options.place.empty()) throw UsageError("names query", "needs --box or --near");
  if (!options.box.empty() && !(options.box[1] <= options.box[3])) {
    throw UsageError("--box", "the south edge lies above the north edge");
  }
  if (!options.place.empty() && !(std::abs(options.place[1]) <= 90.0 && std::isfinite(options.place[0]))) {
    throw UsageError("--near", "takes a longitude and a latitude in degrees");
  }
}

}  // namespace

int QueryNames(const NamesOptions& options) {
  CheckQuery(options);
  const std::string& file = options.files.front();
  Places places;
  const JobResult result = RunJob(file, [&](XThread&, std::string& err) {
    XPBPReader reader;
    XString why;
    const bool isDone = reader.Open(file, why) && (options.place.empty() ? FindInside(reader, options, places, why)
                                                                         : FindNear(reader, options, places, why));
    err = why.AsStdString();
    return isDone;
  });
  if (result.wasStopped) return result.GetExitStatus();
  Json json = {{"file", file}};
  if (result.isDone) {
    json["places"] = Json::array();
    for (const tagXPlace& place : places) json["places"].push_back(DescribePlace(place, !options.place.empty()));
  } else {
    json["error"] = result.reason;
  }
  if (options.json) {
    std::printf("%s\n", Serialize(json).c_str());
  } else if (result.isDone) {
    for (const Json& place : json["places"]) PrintPlace(place);
  }
  return result.GetExitStatus();
}
