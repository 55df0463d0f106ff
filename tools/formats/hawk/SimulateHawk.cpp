// zrkio hawk simulate: a data set with known truth. The document of a flight comes first, with an empty image, so that
// the data set can be opened. The sensor model then tells what ground each pixel sees, and the texture how that ground
// looks. Reduced images are means of four. A list of places of pixels is the truth for those who compare.
//
// Nothing stays behind where the work fails or is stopped.

#include "CommandLine.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "formats/hawk/GroundTexture.h"
#include "formats/hawk/HawkActions.h"
#include "formats/hawk/SensorFile.h"
#include "formats/hawk/SimulatedFlight.h"
#include "formats/hawk/SimulatedTerrain.h"
#include "Job.h"
#include "Notes.h"
#include "output/Json.h"
#include "output/OutputFile.h"
#include "WritableFormats.h"
#include "XFormatTable.h"
#include "ZRMBand2DMem.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace {

/// Images of numbers 1 to 128.
constexpr int kSimulatedLevels = 8;
/// Rows that are located at once, and columns that are shaded at once.
constexpr int kSimulatedRows = 64;
constexpr int kSimulatedColumns = 64;

/// The files of a data set, which go away again unless they are kept.
class SimulatedFiles {
 public:
  explicit SimulatedFiles(std::string base) : base_(std::move(base)) {}
  ~SimulatedFiles() {
    std::error_code ignored;
    for (const std::string& path : paths_) std::filesystem::remove(path, ignored);
  }
  SimulatedFiles(const SimulatedFiles&) = delete;
  SimulatedFiles& operator=(const SimulatedFiles&) = delete;

  /// The path of a file of the set, which is about to be made.
  std::string Add(const std::string& ending) {
    const std::string path = base_ + ending;
    if (std::ranges::find(paths_, path) == paths_.end()) paths_.push_back(path);
    return path;
  }
  void Keep() { paths_.clear(); }

 private:
  std::string base_;
  std::vector<std::string> paths_;
};

bool WriteText(const std::string& path, const std::string& text, std::string& err) {
  OutputFile output;
  return output.Open(path, "", err) && output.Write(text.data(), text.size(), err) && output.Commit(err);
}

bool SaveTiff(XRSFile& file, const std::string& path, XThread& thread, std::string& err) {
  const ZRMBand& band = *file.GetBandAt(0);
  XString reason;
  if (XfnSaveFile(&file, path, FindWritableFormat("image.tif")->id, {0, band.GetXSize() - 1, 0, band.GetYSize() - 1},
                  reason, &thread)) {
    return true;
  }
  err = reason.IsEmpty() ? path + " can't be written" : reason.AsStdString();
  return false;
}

/// A picture in shades of grey, as a dataset.
struct GreyPicture {
  XRSFile file;
  tagXArr2* samples = nullptr;  ///< the dataset's

  GreyPicture(int width, int height) {
    auto band = std::make_unique<ZRMBand2DMem>();
    if (!band->SetSourceMemory(width, height, kPint08)) throw std::bad_alloc();
    samples = band->GetSourceMemory();
    file.AddBand(band.release());
  }
};

void HalveInto(const tagXArr2& fine, tagXArr2& coarse) {
  for (int y = 0; y < coarse.ySize; ++y) {
    const unsigned char* const upper = fine.Row(2 * y);
    const unsigned char* const lower = fine.Row(2 * y + 1);
    for (int x = 0; x < coarse.xSize; ++x) {
      const int sum = upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1];
      coarse.Row(y)[x] = static_cast<unsigned char>((sum + 2) / 4);
    }
  }
}

/// Places of the pixels of some rows.
struct PlacesOfRows {
  std::vector<double> lon, lat, heights;

  void Find(const XSensorModel& model, int width, int firstRow, int lastRow);
};

void PlacesOfRows::Find(const XSensorModel& model, int width, int firstRow, int lastRow) {
  std::vector<double> x, y;
  for (int row = firstRow; row <= lastRow; ++row) {
    for (int column = 0; column < width; ++column) {
      x.push_back(column);
      y.push_back(row);
    }
  }
  for (std::vector<double>* const each : {&lon, &lat, &heights}) each->resize(x.size());
  model.LocatePixels(x.data(), y.data(), static_cast<int>(x.size()), lon.data(), lat.data(), heights.data());
}

/// Shades some columns of the rows that were located.
bool ShadeColumns(const PlacesOfRows& places, GroundTexture& texture, int x0, int y0, int numRows, tagXArr2& samples,
                  XThread& thread, std::string& err) {
  const int width = std::min(kSimulatedColumns, samples.xSize - x0);
  std::vector<double> lon, lat;
  for (int row = 0; row < numRows; ++row) {
    const auto first = static_cast<std::ptrdiff_t>(row) * samples.xSize + x0;
    lon.insert(lon.end(), places.lon.begin() + first, places.lon.begin() + first + width);
    lat.insert(lat.end(), places.lat.begin() + first, places.lat.begin() + first + width);
  }
  std::vector<unsigned char> shades(lon.size());
  if (!texture.Shade(lon.data(), lat.data(), static_cast<int>(lon.size()), shades.data(), thread, err)) return false;
  for (int row = 0; row < numRows; ++row) {
    std::copy_n(shades.begin() + static_cast<std::ptrdiff_t>(row) * width, width, samples.Row(y0 + row) + x0);
  }
  return true;
}

/// Fills the picture with what the sensor sees. The share of the work is told from 0 to 90 percent.
bool Photograph(const XSensorModel& model, GroundTexture& texture, tagXArr2& samples, XThread& thread,
                std::string& err) {
  PlacesOfRows places;
  for (int y = 0; y < samples.ySize; y += kSimulatedRows) {
    const int numRows = std::min(kSimulatedRows, samples.ySize - y);
    places.Find(model, samples.xSize, y, y + numRows - 1);
    for (int x = 0; x < samples.xSize; x += kSimulatedColumns) {
      if (XfnIsStopRequested(thread.GetStatePtr())) return false;
      if (!ShadeColumns(places, texture, x, y, numRows, samples, thread, err)) return false;
    }
    thread.CallbackPercent(90.0 * (y + numRows) / samples.ySize);
  }
  return true;
}

/// The picture as image 1, and its reductions as far as they have pixels.
bool WriteImages(GreyPicture& picture, SimulatedFiles& files, XThread& thread, std::string& err) {
  thread.SetPercentRange(90, 100);
  if (!SaveTiff(picture.file, files.Add(".TIF_1"), thread, err)) return false;
  std::unique_ptr<GreyPicture> coarse;
  const tagXArr2* fine = picture.samples;
  for (int level = 1; level < kSimulatedLevels && fine->xSize > 1 && fine->ySize > 1; ++level) {
    auto half = std::make_unique<GreyPicture>(fine->xSize / 2, fine->ySize / 2);
    HalveInto(*fine, *half->samples);
    if (!SaveTiff(half->file, files.Add(".TIF_" + std::to_string(1 << level)), thread, err)) return false;
    coarse = std::move(half);
    fine = coarse->samples;
  }
  return true;
}

/// The places of some pixels all over the image, for those who compare.
Json DescribeTruth(const SensorFile& sensor) {
  constexpr int kSide = 20;
  Json points = Json::array();
  for (int i = 0; i < kSide * kSide; ++i) {
    const double x = std::floor((sensor.band->GetXSize() - 1.0) * (i % kSide) / (kSide - 1));
    const double y = std::floor((sensor.band->GetYSize() - 1.0) * (i / kSide) / (kSide - 1));
    double lon = 0.0, lat = 0.0, height = 0.0;
    if (!sensor.model->LocatePixels(&x, &y, 1, &lon, &lat, &height)) continue;
    points.push_back({{"pixel", {x, y}}, {"lonLat", {lon, lat}}, {"height", height}});
  }
  return points;
}

/// What was made, for people and machines.
Json DescribeFlight(const HawkOptions& options, const std::string& base, const SimulatedFlight& flight) {
  return {{"file", base + ".TIF_1"},
          {"document", base + ".XML"},
          {"platform", options.platform},
          {"width", options.size[0]},
          {"height", options.size[1]},
          {"target", {options.target[0], options.target[1]}},
          {"altitude", flight.GetHeight()},
          {"aside", flight.GetAngleAside()},
          {"pixelOnGround", flight.GetPixelOnGround()}};
}

/// The terrain is the file that was named, or one that is made by a formula. `ground` is its height at the target.
bool PrepareTerrain(HawkOptions& options, SimulatedFiles& files, double& ground, XThread& thread, std::string& err) {
  std::unique_ptr<XRSFile> heights;
  if (!options.terrain.empty()) {
    heights = MakeTerrain(options);
    options.dem = files.Add("_terrain.tif");
    files.Add("_terrain.tfw");
    if (!SaveTiff(*heights, options.dem, thread, err)) return false;
  } else if (!options.dem.empty()) {
    heights = OpenRaster(options.dem, thread, err);
    if (!heights) return false;
  }
  ground = heights ? HeightAt(*heights, options.target[0], options.target[1]) : 0.0;
  return true;
}

bool Simulate(HawkOptions options, Json& json, XThread& thread, std::string& err) {
  std::error_code error;
  std::filesystem::create_directories(options.output, error);
  const std::string base = (std::filesystem::path(options.output) / options.name).string();
  SimulatedFiles files(base);
  double ground = 0.0;
  if (!PrepareTerrain(options, files, ground, thread, err)) return false;
  const SimulatedFlight flight(options, ground);
  std::unique_ptr<GroundTexture> texture =
      options.texture.empty() ? MakeFormulaTexture(options.target[0], options.target[1], flight.GetPixelOnGround())
                              : OpenImageTexture(options.texture, thread, err);
  GreyPicture picture(options.size[0], options.size[1]);
  if (!texture || !WriteText(files.Add(".XML"), flight.GetDocument(), err) ||
      !SaveTiff(picture.file, files.Add(".TIF_1"), thread, err)) {
    return false;
  }
  SensorFile sensor;
  if (!sensor.Open(base + ".TIF_1", options, thread, err)) return false;
  json = DescribeFlight(options, base, flight);
  if (!options.dem.empty()) json["terrain"] = options.dem;
  Json truth = json;
  truth["points"] = DescribeTruth(sensor);
  thread.SetPercentRange(0, 100);
  const bool isDone = Photograph(*sensor.model, *texture, *picture.samples, thread, err) &&
                      WriteImages(picture, files, thread, err) &&
                      WriteText(files.Add("_truth.json"), Serialize(truth) + "\n", err);
  if (isDone) files.Keep();
  return isDone;
}

void CheckSimulateUsage(const HawkOptions& options) {
  const auto isAmong = [](const std::string& word, std::initializer_list<const char*> words) {
    return std::ranges::any_of(words, [&](const char* each) { return word == each; });
  };
  if (!isAmong(options.platform, {"aircraft", "satellite"})) throw UsageError("--platform", "is aircraft or satellite");
  if (!isAmong(options.corner, {"Upper Right", "Upper Left", "Lower Right", "Lower Left"})) {
    throw UsageError("--corner", "is \"Upper Right\", \"Upper Left\", \"Lower Right\" or \"Lower Left\"");
  }
  if (!(std::abs(options.target[0]) <= 180.0 && std::abs(options.target[1]) <= 90.0)) {
    throw UsageError("--at", "takes a longitude and a latitude in degrees");
  }
  if (!std::isfinite(options.heading)) throw UsageError("--heading", "takes an angle in degrees");
  if (!(std::abs(options.shake) <= 100.0)) throw UsageError("--shake", "takes up to 100 pixels");
  constexpr int kLeastSide = 16, kMostSide = 16384;
  for (const int side : options.size) {
    if (side < kLeastSide || side > kMostSide) throw UsageError("--size", "takes sides from 16 to 16384");
  }
  if (options.pixelOnGround && !(*options.pixelOnGround > 0.0 && *options.pixelOnGround <= 1000.0)) {
    throw UsageError("--gsd", "takes a size above 0, up to 1000");
  }
  if (!options.terrain.empty() && !IsTerrainFormula(options.terrain)) {
    throw UsageError("--terrain", "is flat:METRES, slope or hills");
  }
  if (options.name.empty() || options.name.find('/') != std::string::npos) {
    throw UsageError("--name", "takes a name without folders");
  }
}

}  // namespace

int SimulateHawk(const HawkOptions& options) {
  CheckSimulateUsage(options);
  UseWorkers(options.workers);
  Json json = {{"output", options.output}};
  const JobResult result =
      RunJob(options.output, [&](XThread& thread, std::string& err) { return Simulate(options, json, thread, err); });
  if (result.isDone) PrintNote(GetText(json["file"]), "a simulated flight");
  if (options.json && !result.wasStopped) {
    if (!result.isDone) json = {{"output", options.output}, {"error", result.reason}};
    std::printf("%s\n", Serialize(json).c_str());
  }
  return result.GetExitStatus();
}
