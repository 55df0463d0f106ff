// zrkio hawk locate, find and footprint: pixels on the ground, the ground in pixels, and the outline of an image. All
// three open the data set with its terrain and geoid, ask the sensor model, and print places in degrees on WGS 84. The
// outline is cut at the date line, because GeoJSON knows no longitudes beyond 180 degrees.

#include "CommandLine.h"
#include "Dataset.h"
#include "formats/hawk/HawkActions.h"
#include "formats/hawk/SensorFile.h"
#include "Job.h"
#include "Notes.h"
#include "output/Json.h"
#include "output/OutputFile.h"
#include "XReadPolicy.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <functional>

namespace {

double ReadHawkNumber(const std::string& word, const char* name) {
  double value = 0.0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, value);
  if (error != std::errc() || stop != end || !std::isfinite(value)) throw UsageError(name, "takes a number");
  return value;
}

bool DescribeGround(const SensorFile& sensor, double x, double y, Json& json, std::string& err) {
  double lon = 0.0, lat = 0.0, height = 0.0;
  if (!sensor.model->LocatePixels(&x, &y, 1, &lon, &lat, &height)) {
    err = WhyNotRead("the pixel shows no ground");
    return false;
  }
  json["pixel"] = {x, y};
  json["lonLat"] = {lon, lat};
  json["height"] = height;
  return true;
}

bool DescribePixel(const SensorFile& sensor, double lon, double lat, Json& json, std::string& err) {
  double x = 0.0, y = 0.0, height = 0.0;
  const bool isFound = sensor.model->FindHeights(&lon, &lat, 1, &height) != 0 &&
                       sensor.model->FindPixels(&lon, &lat, &height, 1, &x, &y) != 0;
  if (!isFound) {
    err = WhyNotRead("the image does not show the place");
    return false;
  }
  json["pixel"] = {x, y};
  json["lonLat"] = {lon, lat};
  json["height"] = height;
  return true;
}

void PrintHawkPlace(const Json& json) {
  std::printf("%s\n  pixel       %.10g, %.10g\n  place       %.10g, %.10g\n  height      %.10g m\n",
              GetText(json["file"]).c_str(), GetNumber(json["pixel"][0]), GetNumber(json["pixel"][1]),
              GetNumber(json["lonLat"][0]), GetNumber(json["lonLat"][1]), GetNumber(json["height"]));
}

// The outline.

/// Longitude and latitude. Longitudes may pass 180 degrees.
using HawkPoint = std::array<double, 2>;
using HawkRing = std::vector<HawkPoint>;

/// The rim of an image from its upper left corner around, some points a side.
HawkRing FindRing(const SensorFile& sensor) {
  constexpr int kSteps = 32;
  const double width = sensor.band->GetXSize(), height = sensor.band->GetYSize();
  std::vector<double> x, y;
  for (int i = 0; i < 4 * kSteps; ++i) {
    const double share = static_cast<double>(i % kSteps) / kSteps;
    const std::array<HawkPoint, 4> sides = {{{share, 0.0}, {1.0, share}, {1.0 - share, 1.0}, {0.0, 1.0 - share}}};
    const HawkPoint& at = sides[static_cast<std::size_t>(i / kSteps)];
    x.push_back(at[0] * width - 0.5);
    y.push_back(at[1] * height - 0.5);
  }
  std::vector<double> lon(x.size()), lat(x.size()), heights(x.size());
  sensor.model->LocatePixels(x.data(), y.data(), static_cast<int>(x.size()), lon.data(), lat.data(), heights.data());
  HawkRing ring;
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (!std::isfinite(lon[i])) continue;
    const double before = ring.empty() ? lon[i] : ring.back()[0];
    ring.push_back({before + std::remainder(lon[i] - before, 360.0), lat[i]});
  }
  return ring;
}

/// What of a ring lies on one side of a meridian, closed along it.
HawkRing CutRing(const HawkRing& ring, double meridian, bool keepsWest) {
  const auto isKept = [&](const HawkPoint& point) { return keepsWest ? point[0] <= meridian : point[0] >= meridian; };
  HawkRing part;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const HawkPoint &one = ring[i], &next = ring[(i + 1) % ring.size()];
    if (isKept(one)) part.push_back(one);
    if (isKept(one) == isKept(next)) continue;
    const double share = (meridian - one[0]) / (next[0] - one[0]);
    part.push_back({meridian, one[1] + share * (next[1] - one[1])});
  }
  return part;
}

/// Rings of GeoJSON are closed and go against the clock.
Json DescribeRing(HawkRing ring, double shift) {
  double area = 0.0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const HawkPoint &one = ring[i], &next = ring[(i + 1) % ring.size()];
    area += one[0] * next[1] - next[0] * one[1];
  }
  if (area < 0.0) std::ranges::reverse(ring);
  ring.push_back(ring.front());
  Json points = Json::array();
  for (const HawkPoint& point : ring) points.push_back({point[0] + shift, point[1]});
  return Json::array({points});
}

/// A polygon that crosses the date line is cut there, as readers of GeoJSON expect.
Json DescribePolygon(const HawkRing& ring) {
  const auto [west, east] = std::ranges::minmax(ring, {}, [](const HawkPoint& point) { return point[0]; });
  if (west[0] >= -180.0 && east[0] <= 180.0) return {{"type", "Polygon"}, {"coordinates", DescribeRing(ring, 0.0)}};
  const double line = east[0] > 180.0 ? 180.0 : -180.0;
  const Json parts = Json::array({DescribeRing(CutRing(ring, line, true), line < 0.0 ? 360.0 : 0.0),
                                  DescribeRing(CutRing(ring, line, false), line < 0.0 ? 0.0 : -360.0)});
  return {{"type", "MultiPolygon"}, {"coordinates", parts}};
}

bool WriteFootprint(const HawkOptions& options, Json& json, XThread& thread, std::string& err) {
  SensorFile sensor;
  if (!sensor.Open(options.File(), options, thread, err)) return false;
  const HawkRing ring = FindRing(sensor);
  constexpr std::size_t kLeastPoints = 3;
  if (ring.size() < kLeastPoints) {
    err = "the rim of the image shows no ground";
    return false;
  }
  json = {
      {"type", "FeatureCollection"},
      {"features",
       Json::array(
           {{{"type", "Feature"}, {"properties", {{"file", options.File()}}}, {"geometry", DescribePolygon(ring)}}})}};
  const std::string text = Serialize(json) + "\n";
  OutputFile output;
  return output.Open(options.output, options.File(), err) && output.Write(text.data(), text.size(), err) &&
         output.Commit(err);
}

}  // namespace

int LocateHawk(const HawkOptions& options) {
  const bool findsGround = options.action == "locate";
  const double x = ReadHawkNumber(options.words[1], findsGround ? "X" : "LON");
  const double y = ReadHawkNumber(options.words[2], findsGround ? "Y" : "LAT");
  Json json = {{"file", options.File()}};
  const JobResult result = RunJob(options.File(), [&](XThread& thread, std::string& err) {
    SensorFile sensor;
    if (!sensor.Open(options.File(), options, thread, err)) return false;
    return findsGround ? DescribeGround(sensor, x, y, json, err) : DescribePixel(sensor, x, y, json, err);
  });
  if (options.json && !result.wasStopped) {
    if (!result.isDone) json = {{"file", options.File()}, {"error", result.reason}};
    std::printf("%s\n", Serialize(json).c_str());
  } else if (result.isDone) {
    PrintHawkPlace(json);
  }
  return result.GetExitStatus();
}

int WriteHawkFootprint(const HawkOptions& options) {
  Json json;
  const JobResult result = RunJob(
      options.File(), [&](XThread& thread, std::string& err) { return WriteFootprint(options, json, thread, err); });
  if (result.isDone) PrintNote(options.output, "the outline on the ground");
  return result.GetExitStatus();
}
