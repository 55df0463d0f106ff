// zrkio info: what files are, for people or for machines.

#include "Commands.h"
#include "Dataset.h"
#include "Job.h"
#include "LevelFile.h"
#include "Text.h"
#include "XFormatTable.h"
#include "XPath.h"
#include "XRSFileIO.h"
#include "ZRMBandEPOT.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <vector>

namespace {

using Json = nlohmann::ordered_json;

/// The share of decoding in computing statistics.
constexpr int kDecodePercent = 70;

struct Options {
  std::vector<std::string> files;
  bool json = false;
  bool stats = false;
};

/// A number of a file may be anything; JSON knows finite ones only.
Json Number(double value) {
  return std::isfinite(value) ? Json(value) : Json();
}

/// Text of a file may be any bytes; what is no UTF-8 is replaced when it is printed.
std::string Print(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

Json DescribeSystem(const XSpatialReference& sr) {
  if (sr.IsEmpty()) return nullptr;
  XString wkt;
  sr.exportToWkt(wkt);
  Json json = {{"name", sr.GetName().GetText()}};
  if (const int code = sr.GetEPSG()) json["epsg"] = code;
  json["wkt"] = wkt.GetText();
  return json;
}

Json DescribePlace(const ZRMBand& band) {
  if (band.GetCoordinateKind() != kCoordinateWorld) return nullptr;
  double minX, maxX, minY, maxY;
  band.GetBoundRect(minX, maxX, minY, maxY);
  return {{"upperLeft", {Number(band.GetULX()), Number(band.GetULY())}},
          {"pixelSize", {Number(band.GetXPixelSize()), Number(band.GetYPixelSize())}},
          {"west", Number(minX)},
          {"east", Number(maxX)},
          {"south", Number(minY)},
          {"north", Number(maxY)},
          {"system", DescribeSystem(*band.GetSR())}};
}

Json DescribeStatistics(const ZRMBand& band) {
  if (band.GetBandMean() == kNotSet) return nullptr;
  return {{"min", Number(band.GetBandMin())},
          {"max", Number(band.GetBandMax())},
          {"mean", Number(band.GetBandMean())},
          {"stdDev", Number(band.GetBandStdDev())}};
}

Json DescribeBand(ZRMBand& band) {
  Json json = {{"name", band.GetBandName().GetText()},
               {"width", band.GetXSize()},
               {"height", band.GetYSize()},
               {"dataType", XfnGetDataTypeString(band.GetDataType())},
               {"levels", band.GetLevel()},
               {"statistics", DescribeStatistics(band)}};
  const auto* native = dynamic_cast<ZRMBandEPOT*>(&band);
  if (native) json["compressed"] = native->GetCompressionInfo() == kCompressionTiles;
  if (band.GetNullValue() != kNotSet) json["nullValue"] = Number(band.GetNullValue());
  return json;
}

Json DescribeLevelFile(const XRSFile& file, const std::string& path) {
  const LevelFileKind kind = GetLevelFileKind(file);
  if (kind == LevelFileKind::kNone) return nullptr;
  return {{"file", LevelFileName(path)}, {"kind", kind == LevelFileKind::kFull ? "full" : "short"}};
}

Json DescribeLayer(const tagXVectorLayer& layer) {
  Json json = {{"name", layer.name.GetText()}, {"features", layer.numFeatures}, {"extent", nullptr}};
  if (layer.hasExtent) {
    json["extent"] = {{"west", Number(layer.minX)},
                      {"east", Number(layer.maxX)},
                      {"south", Number(layer.minY)},
                      {"north", Number(layer.maxY)}};
  }
  XSpatialReference sr;
  json["system"] = sr.importFromWkt(layer.wkt) ? DescribeSystem(sr) : Json();
  return json;
}

Json Describe(XRSFile& file, const std::string& path) {
  const tagXFormat* format = XfnFindFormat(XRSFileIO::GetIDFromExt(XfnGetFileExt(path)));
  Json json = {{"file", path}, {"format", format->name}, {"id", format->id}};
  if (ZRMBand* first = file.GetBandAt(0)) {
    json["width"] = first->GetXSize();
    json["height"] = first->GetYSize();
    json["georeference"] = DescribePlace(*first);
    json["levelFile"] = DescribeLevelFile(file, path);
    for (int i = 0; i < file.GetNumOfBands(); ++i) json["channels"].push_back(DescribeBand(*file.GetBandAt(i)));
  }
  for (int v = 0; v < file.GetNumOfVands(); ++v) {
    const ZRMVand& vand = *file.GetVandAt(v);
    for (int i = 0; i < vand.GetNumOfLayers(); ++i) json["layers"].push_back(DescribeLayer(*vand.GetLayerAt(i)));
  }
  return json;
}

// The text form is made of the same description, so that both always say the same.

double Get(const Json& json) {
  return json.is_null() ? NAN : json.get<double>();
}

std::string GetText(const Json& json) {
  return Printable(json.get<std::string>());
}

void PrintSystem(const Json& system, const char* indent) {
  if (system.is_null()) {
    std::printf("%ssystem      unknown\n", indent);
    return;
  }
  std::printf("%ssystem      %s", indent, GetText(system["name"]).c_str());
  if (system.contains("epsg")) std::printf(" (EPSG:%d)", system["epsg"].get<int>());
  std::printf("\n");
}

void PrintExtent(const Json& extent, const char* indent) {
  std::printf("%sextent      %.10g to %.10g, %.10g to %.10g\n", indent, Get(extent["west"]), Get(extent["east"]),
              Get(extent["south"]), Get(extent["north"]));
}

void PrintPlace(const Json& place) {
  if (place.is_null()) {
    std::printf("  place       none, pixel coordinates only\n");
    return;
  }
  std::printf("  corner      %.10g, %.10g\n", Get(place["upperLeft"][0]), Get(place["upperLeft"][1]));
  std::printf("  pixel size  %.10g x %.10g\n", Get(place["pixelSize"][0]), Get(place["pixelSize"][1]));
  PrintExtent(place, "  ");
  PrintSystem(place["system"], "  ");
}

void PrintLevelFile(const Json& levelFile) {
  if (levelFile.is_null()) return;
  const bool isFull = levelFile["kind"] == "full";
  const std::string name = XfnGetFileName(levelFile["file"].get<std::string>()).AsStdString();
  std::printf("  %-12sin %s\n", isFull ? "levels" : "statistics", Printable(name).c_str());
}

void PrintChannel(const Json& channel) {
  std::printf("  %s\n", GetText(channel["name"]).c_str());
  const int levels = channel["levels"].get<int>();
  std::printf("    data type %s, %d level%s", GetText(channel["dataType"]).c_str(), levels, levels == 1 ? "" : "s");
  if (channel.contains("compressed"))
    std::printf(channel["compressed"].get<bool>() ? ", compressed" : ", not compressed");
  std::printf("\n");
  const Json& statistics = channel["statistics"];
  if (statistics.is_null()) return;
  std::printf("    minimum %.6g, maximum %.6g, mean %.6g, deviation %.6g\n", Get(statistics["min"]),
              Get(statistics["max"]), Get(statistics["mean"]), Get(statistics["stdDev"]));
}

void PrintText(const Json& json) {
  std::printf("%s\n  format      %s (0x%X)\n", GetText(json["file"]).c_str(), GetText(json["format"]).c_str(),
              json["id"].get<int>());
  if (json.contains("channels")) {
    std::printf("  size        %d x %d pixels, %zu channel%s\n", json["width"].get<int>(), json["height"].get<int>(),
                json["channels"].size(), json["channels"].size() == 1 ? "" : "s");
    PrintPlace(json["georeference"]);
    PrintLevelFile(json["levelFile"]);
    for (const Json& channel : json["channels"]) PrintChannel(channel);
  }
  if (!json.contains("layers")) return;
  for (const Json& layer : json["layers"]) {
    std::printf("  layer %s\n    features    %lld\n", GetText(layer["name"]).c_str(),
                static_cast<long long>(layer["features"].get<std::int64_t>()));
    if (!layer["extent"].is_null()) PrintExtent(layer["extent"], "    ");
    PrintSystem(layer["system"], "    ");
  }
}

/// From the coarsest level, for those channels whose statistics are not known yet.
bool ComputeStatistics(XRSFile& file, XThread& thread, std::string& err) {
  const int numBands = file.GetNumOfBands();
  for (int i = 0; i < numBands; ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    if (thread.GetState() != XThread::kStateRun) return false;
    if (band.GetBandMean() != kNotSet) continue;
    if (!DecodeAhead(band, kDecodePercent, thread, err)) return false;
    if (!band.CalcStatistics(1)) {
      err = "the statistics can't be computed";
      return false;
    }
    thread.CallbackPercent(100.0 * (i + 1) / numBands);
  }
  return true;
}

/// What can be told of a file is told also where its statistics failed; null where nothing can.
Json DescribeFile(const Options& options, const std::string& path, JobResult& result) {
  Json json;
  result = RunJob(path, [&](XThread& thread, std::string& err) {
    const std::unique_ptr<XRSFile> file = OpenDataset(path, thread, err);
    if (!file) return false;
    const bool isDone = !options.stats || ComputeStatistics(*file, thread, err);
    json = Describe(*file, path);
    return isDone;
  });
  return json;
}

int Run(const Options& options) {
  int status = 0;
  Json all = Json::array();
  for (const std::string& path : options.files) {
    JobResult result;
    Json json = DescribeFile(options, path, result);
    if (!result.isDone) status = 1;
    if (result.wasStopped) break;
    if (!json.is_null() && !options.json) PrintText(json);
    if (json.is_null()) json = {{"file", path}};
    if (!result.isDone) json["error"] = result.reason;
    all.push_back(std::move(json));
  }
  if (options.json) std::printf("%s\n", Print(all).c_str());
  return status;
}

const char* const kExamples =
    "Examples:\n"
    "  zrkio info earth.jpg roads.shp\n"
    "  zrkio info --stats --json earth.jpg\n";

}  // namespace

void AddInfoCommand(CLI::App& program, int& status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = program.add_subcommand("info", "Tell what files are");
  command->footer(kExamples);
  command->add_option("FILE", options->files, "Raster or vector files")->required()->type_name("");
  command->add_flag("--json", options->json, "Print an array of objects for machines");
  command->add_flag("--stats", options->stats, "Compute statistics of every channel");
  command->callback([options, &status] { status = Run(*options); });
}
