// zrkio value: the samples of one place in the world. The pixel is the one that holds the place, so that positions are
// rounded down and a place left of the image or above it is outside.
//
// Bands of a file may differ in size, so that each finds its own pixel.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "Job.h"
#include "output/Json.h"
#include "output/SampleSink.h"
#include "Place.h"
#include "XReadPolicy.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>

namespace {

struct ValueOptions {
  std::string file;
  double x = 0.0;
  double y = 0.0;
  std::optional<int> band;
  int level = 0;
  bool isLonLat = false;
  bool json = false;
};

struct Pixel {
  int column = 0;
  int row = 0;
};

/// The place in the system of the band.
bool FindPlace(const ZRMBand& band, const ValueOptions& options, std::array<double, 2>& place, std::string& err) {
  place = {options.x, options.y};
  if (band.GetCoordinateKind() != kCoordinateWorld || !Place(band).HasExtent()) {
    err = "the image has no place in the world";
    return false;
  }
  if (!options.isLonLat) return true;
  const auto way = FindWayFromLonLat(band);
  if (!way) {
    err = "no way leads from degrees to the system of the image";
    return false;
  }
  if (way->TransformPt(place[0], place[1])) return true;
  err = "the system of the image does not have this place";
  return false;
}

bool FindPixel(const ZRMBand& band, const std::array<double, 2>& place, Pixel& pixel, std::string& err) {
  const auto [x, y] = Place(band).ToPixel(place[0], place[1]);
  const double column = std::floor(x), row = std::floor(y);
  const bool isInside = column >= 0.0 && column < band.GetXSize() && row >= 0.0 && row < band.GetYSize();
  if (isInside) {
    pixel = {static_cast<int>(column), static_cast<int>(row)};
    return true;
  }
  char text[200];
  std::snprintf(text, sizeof text, "the place is outside the image: it would be column %.10g, row %.10g", column, row);
  err = text;
  return false;
}

/// Reads the sample that stands for a pixel at a level: that of the square of 2^level pixels which holds it. The square
/// is pushed back where it reaches over the edge, because a read gives whole squares only.
tagXArr2* ReadSample(ZRMBand& band, int level, const Pixel& at) {
  const auto begin = [level](int position, int size) {
    return std::max(std::min(position >> level << level, size - (1 << level)), 0);
  };
  const int x0 = begin(at.column, band.GetXSize()), y0 = begin(at.row, band.GetYSize());
  const int step = (1 << level) - 1;
  const int x1 = std::min(x0 + step, band.GetXSize() - 1), y1 = std::min(y0 + step, band.GetYSize() - 1);
  tagXArr2* sample = nullptr;
  return band.ReadSubset(sample, level, x0, x1, y0, y1, nullptr) ? sample : nullptr;
}

/// A value that JSON can't hold, such as one that is not a number, is null there and stands in the text.
bool DescribeChannel(ZRMBand& band, int level, const Pixel& at, Json& json, std::string& err) {
  const tagXArr2* sample = ReadSample(band, level, at);
  if (!sample || sample->xSize < 1 || sample->ySize < 1) {
    err = WhyNotRead();
    return false;
  }
  std::string text;
  double value = 0.0;
  if (!DescribeSample(band.GetDataType(), sample->Row(0), text, value)) {
    err = "samples of this data type can't be printed";
    return false;
  }
  const bool isNull = std::isnan(value) || (band.GetNullValue() != kNotSet && value == band.GetNullValue());
  json = {{"name", band.GetBandName().GetText()},
          {"column", at.column},
          {"row", at.row},
          {"value", Number(value)},
          {"text", text},
          {"isNull", isNull}};
  return true;
}

bool DescribeValues(const ValueOptions& options, Json& json, XThread& thread, std::string& err) {
  const std::unique_ptr<XRSFile> file = OpenRaster(options.file, thread, err);
  if (!file || !FindBand(*file, options.band.value_or(1), err)) return false;
  const int first = options.band.value_or(1), last = options.band.value_or(file->GetNumOfBands());
  for (int number = first; number <= last; ++number) {
    ZRMBand& band = *file->GetBandAt(number - 1);
    std::array<double, 2> place;
    Pixel pixel;
    Json channel;
    if (!FindPlace(band, options, place, err) || !FindPixel(band, place, pixel, err)) return false;
    if (!DescribeChannel(band, options.level, pixel, channel, err)) return false;
    if (number == first) json["place"] = {place[0], place[1]};
    json["channels"].push_back(std::move(channel));
  }
  return true;
}

/// The pixel stands beside the channel only where channels differ.
void PrintValueText(const Json& json) {
  const Json& channels = json["channels"];
  const auto at = [](const Json& channel) {
    return "column " + channel["column"].dump() + ", row " + channel["row"].dump();
  };
  std::printf("%s\n  place       %.10g, %.10g\n  pixel       %s\n", GetText(json["file"]).c_str(),
              GetNumber(json["place"][0]), GetNumber(json["place"][1]), at(channels[0]).c_str());
  for (const Json& channel : channels) {
    const std::string other = at(channel) == at(channels[0]) ? "" : " at " + at(channel);
    std::printf("  %-11s %s%s%s\n", GetText(channel["name"]).c_str(), GetText(channel["text"]).c_str(),
                channel["isNull"].get<bool>() ? " (null)" : "", other.c_str());
  }
}

int RunValue(const ValueOptions& options) {
  Json json = {{"file", options.file}};
  if (options.isLonLat) json["lonLat"] = {options.x, options.y};
  const JobResult result = RunJob(options.file, [&](XThread& thread, std::string& err) {
    XfnForgetLastReadError();
    return DescribeValues(options, json, thread, err);
  });
  if (options.json && !result.wasStopped) {
    if (!result.isDone) json = {{"file", options.file}, {"error", result.reason}};
    std::printf("%s\n", Serialize(json).c_str());
  } else if (result.isDone) {
    PrintValueText(json);
  }
  return result.GetExitStatus();
}

const char* const kValueExamples =
    "Examples:\n"
    "  zrkio value scene.tif 691234.5 5334567.8\n"
    "  zrkio value scene.tif -0.127 51.507 --lonlat --band 2 --json\n"
    "  zrkio value globe.pbi -0.127 51.507 --level 3\n";

}  // namespace

void AddValueCommand(CommandLine& program) {
  auto options = std::make_shared<ValueOptions>();
  Command command = program.AddCommand("value", "Tell the samples of a place", kValueExamples);
  command.AddArgument("FILE", options->file, "A raster file");
  command.AddArgument("X", options->x, "East, in the system of the image; with --lonlat the longitude");
  command.AddArgument("Y", options->y, "North; with --lonlat the latitude");
  command.AddFlag("--lonlat", options->isLonLat, "The place is in degrees on WGS 84");
  command.AddOption("--band", "N", options->band, "The channel, counted from 1; all unless given").SetRange(1, INT_MAX);
  command
      .AddOption("--level", "L", options->level,
                 "A reduction of 2^L, 0 to 30; 0 unless given. The sample is\n"
                 "that of the square of 2^L by 2^L pixels around the place.")
      .SetRange(0, 30);
  command.AddFlag("--json", options->json, "Print an object for machines");
  AddQuietOption(command);
  command.SetAction([options] {
    if (!std::isfinite(options->x) || !std::isfinite(options->y)) throw UsageError("X Y", "take numbers");
    return RunValue(*options);
  });
}
