// Rows about pyramids of the globe, end to end: a picture of twice as many columns as rows is opened, and every tile of
// every level is written. The rivals are programs that make pyramids for maps on the web. They make other tiles of
// other levels in other formats, so that what is compared is the time for a tile: all have 256 by 256 pixels. Nobody
// waits for the medium. Times of the rivals include the start of their programs.
//
// Heights are held against the program of GDAL's that resamples, once for each level, to the same posts.
//
// What was exported must show the picture, and the posts must be those that GDAL finds, before anything is timed. A
// rival that is not installed has no row.

#include "Rows.h"
#include "StoreInputs.h"
#include "XGlobeExport.h"
#include "XPBEFile.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"
#include "XTileGrid.h"
#include "ZRMCompManager.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

namespace {

constexpr int kLeastSideForSlowRivals = 4096;

using Raster = std::unique_ptr<GDALDataset, void (*)(GDALDataset*)>;

Raster HoldRaster(GDALDataset* dataset) {
  Must(dataset != nullptr, "GDAL can't open or make a raster");
  return {dataset, [](GDALDataset* open) { GDALClose(open); }};
}

void RunQuietly(const std::string& command) {
  Must(std::system((command + " > /dev/null 2>&1").c_str()) == 0, "this command fails: " + command);
}

bool IsInstalled(const std::string& program) {
  return std::system(("command -v " + program + " > /dev/null 2>&1").c_str()) == 0;
}

/// A raster of the whole earth in longitude and latitude.
Raster MakeEarth(const std::string& path, int width, int height, int numBands, GDALDataType type) {
  Raster raster = HoldRaster(
      GetGDALDriverManager()->GetDriverByName("GTiff")->Create(path.c_str(), width, height, numBands, type, nullptr));
  double place[] = {-180.0, 360.0 / width, 0.0, 90.0, 0.0, -180.0 / height};
  raster->SetGeoTransform(place);
  OGRSpatialReference lonLat;
  lonLat.importFromEPSG(4326);
  raster->SetSpatialRef(&lonLat);
  return raster;
}

void MakePicture(const std::string& path, int width) {
  if (fs::exists(path)) return;
  const GlobePicture picture(width);
  const Raster raster = MakeEarth(path, width, width / 2, 3, GDT_Byte);
  std::vector<unsigned char> row(3 * static_cast<std::size_t>(width));
  for (int y = 0; y < width / 2; ++y) {
    picture.Paint(0, y, std::min(width, picture.GetSide()), row.data());
    Must(raster->RasterIO(GF_Write, 0, y, width, 1, row.data(), width, 1, GDT_Byte, 3, nullptr, 3, 0, 1, nullptr) ==
             CE_None,
         "GDAL can't write the picture");
  }
}

void MakeHeights(const std::string& path, int width) {
  if (fs::exists(path)) return;
  const Raster raster = MakeEarth(path, width, width / 2, 1, GDT_Float32);
  std::vector<float> row(static_cast<std::size_t>(width));
  for (int y = 0; y < width / 2; ++y) {
    for (int x = 0; x < width; ++x) {
      row[static_cast<std::size_t>(x)] = static_cast<float>(2000.0 * std::sin(x / 37.0) * std::cos(y / 29.0));
    }
    Must(raster->RasterIO(GF_Write, 0, y, width, 1, row.data(), width, 1, GDT_Float32, 1, nullptr, 0, 0, 0, nullptr) ==
             CE_None,
         "GDAL can't write the heights");
  }
}

/// Opens a raster of the whole earth and exports it.
void ExportEarth(const std::string& from, const std::string& to, const tagXGlobeExport& what, int numWorkers) {
  XfnSetWorkerCount(numWorkers);
  XRSFile file;
  XString err;
  Must(XRSFileIO::LoadFileRaster(&file, XRSFileIO::GetIDFromExt("tif"), from, err, 0, kLevelNone, nullptr), from);
  ZRMCompManager manager;
  auto* const composite = new ZRMComposite;
  for (int i = 0; i < file.GetNumOfBands(); ++i) composite->SetBand(i, file.GetBandAt(i));
  manager.AddZRMComposite(composite);
  const auto& w = what;
  Must(w.isElevation ? XfnExport2PBE(to, &manager, w.minLevel, w.maxLevel, w.minLon, w.minLat, w.maxLon, w.maxLat, 0,
                                     err, nullptr)
                     : XfnExport2PBI(to, &manager, w.minLevel, w.maxLevel, w.minLon, w.minLat, w.maxLon, w.maxLat, 0,
                                     err, nullptr),
       err.AsStdString());
  XfnSetWorkerCount(1);
}

tagXGlobeExport OrderOf(bool isElevation, double pixel, int perTile) {
  tagXGlobeExport what;
  what.isElevation = isElevation;
  while (XfnGetTileSize3D(what.maxLevel) / perTile > pixel) ++what.maxLevel;
  // The corner of pictures lies just inside, so that there is no tile beyond the earth.
  if (!isElevation) what.maxLon -= 0.01, what.maxLat -= 0.01;
  return what;
}

int CountTilesOf(const tagXGlobeExport& what) {
  tagXGlobePlan plan;
  XString err;
  Must(XfnPlanGlobeExport(what, plan, err), err.AsStdString());
  return static_cast<int>(plan.numTiles);
}

int CountFilesIn(const std::string& folder, const char* extension) {
  int count = 0;
  for (const fs::directory_entry& each : fs::recursive_directory_iterator(folder)) {
    count += each.path().extension() == extension ? 1 : 0;
  }
  return count;
}

/// Samples of the middle of a raster.
std::vector<unsigned char> MiddleOf(const std::string& path, int numBands) {
  constexpr int kSide = 64;
  const std::unique_ptr<XRSFile> file = std::make_unique<XRSFile>();
  file->SetReadPolicy(kReadExact);
  XString err;
  Must(XRSFileIO::LoadFilePBI(file.get(), path, err, nullptr), err.AsStdString());
  std::vector<unsigned char> samples;
  for (int i = 0; i < numBands; ++i) {
    const int x = file->GetBandAt(i)->GetXSize() / 2, y = file->GetBandAt(i)->GetYSize() / 2;
    tagXArr2* out = nullptr;
    Must(file->GetBandAt(i)->ReadSubset(out, 0, x, x + kSide - 1, y, y + kSide - 1, nullptr), "can't read " + path);
    samples.insert(samples.end(), out->data, out->data + kSide * kSide);
  }
  return samples;
}

/// The middle of the store has the colours of the middle of the picture.
void MustShowPicture(const std::string& store, const std::string& picture) {
  const std::vector<unsigned char> samples = MiddleOf(store, 3);
  const Raster raster = HoldRaster(GDALDataset::FromHandle(GDALOpen(picture.c_str(), GA_ReadOnly)));
  const int x = raster->GetRasterXSize() / 2, y = raster->GetRasterYSize() / 2;
  for (int i = 0; i < 3; ++i) {
    unsigned char pixel = 0;
    Must(raster->GetRasterBand(i + 1)->RasterIO(GF_Read, x, y, 1, 1, &pixel, 1, 1, GDT_Byte, 0, 0, nullptr) == CE_None,
         "GDAL can't read the picture");
    Must(std::abs(samples[static_cast<std::size_t>(i) * 4096] - pixel) <= 24, "the pyramid does not show the picture");
  }
}

/// A program that makes a pyramid of a picture into a folder, and its tiles.
struct Rival {
  const char* key;
  const char* name;
  std::string program;
  std::string command;  ///< IN, OUT and N stand for the picture, the folder and the number of threads
  const char* extension;
  double target;
};

std::string Fill(std::string command, const std::string& name, const std::string& value) {
  for (std::size_t at = command.find(name); at != std::string::npos; at = command.find(name, at + value.size())) {
    command.replace(at, name.size(), value);
  }
  return command;
}

void AddRivalRow(const Rival& rival, const std::string& picture, const tagXGlobeExport& what, int numWorkers,
                 std::vector<Row>& rows) {
  if (!IsInstalled(rival.program)) return;
  const std::string store = picture + ".pbi", folder = picture + "." + rival.key;
  const std::string command =
      Fill(Fill(Fill(rival.command, "IN", picture), "OUT", folder + "/tiles"), "N", std::to_string(numWorkers));
  const auto prepare = [=] {
    fs::remove_all(folder);
    fs::create_directory(folder);
  };
  prepare();
  RunQuietly(command);
  Row row{"pyramid_" + std::string(rival.key) + "_" + std::to_string(numWorkers),
          "a tile of a pyramid of a picture, " + std::to_string(numWorkers) + " workers",
          rival.name,
          [=] { ExportEarth(picture, store, what, numWorkers); },
          [=] { RunQuietly(command); },
          CountTilesOf(what),
          rival.target,
          prepare};
  row.theirTimes = CountFilesIn(folder, rival.extension);
  rows.push_back(std::move(row));
}

void AddPictureRows(const BenchOptions& options, std::vector<Row>& rows) {
  const std::string picture = options.folder + "/earth" + std::to_string(options.side) + ".tif";
  MakePicture(picture, options.side);
  const tagXGlobeExport what = OrderOf(false, 360.0 / options.side, 256);
  ExportEarth(picture, picture + ".pbi", what, 1);
  MustShowPicture(picture + ".pbi", picture);
  const Rival rivals[] = {
      {"dzsave", "vips dzsave, JPEG", "vips", "VIPS_CONCURRENCY=N vips dzsave 'IN' 'OUT' --tile-size 256 --overlap 0",
       ".jpeg", 0.05},
      {"dzsave_png", "vips dzsave, PNG", "vips",
       "VIPS_CONCURRENCY=N vips dzsave 'IN' 'OUT' --tile-size 256 --overlap 0 --suffix .png", ".png", 0.05},
      {"gdal2tiles", "gdal2tiles.py, PNG", "gdal2tiles.py", "gdal2tiles.py -q -p geodetic --processes=N 'IN' 'OUT'",
       ".png", 1.0 / 150.0},
  };
  for (const int numWorkers : {1, 2}) {
    for (const Rival& rival : rivals) {
      // A run of the slowest takes seconds even for a small picture, and nothing is compared with it there.
      if (rival.program == "gdal2tiles.py" && options.side < kLeastSideForSlowRivals) continue;
      AddRivalRow(rival, picture, what, numWorkers, rows);
    }
  }
  rows.push_back({"pyramid_scaling", "a pyramid of a picture, 2 workers", "itself with 1 worker",
                  [=] { ExportEarth(picture, picture + ".pbi", what, 2); },
                  [=] { ExportEarth(picture, picture + ".pbi", what, 1); }, 1, 1 / 1.6});
}

/// The posts of a level by GDAL: they stand in the middle of its pixels.
std::string WarpCommand(const std::string& from, const std::string& to, int level) {
  const double half = XfnGetTileSize3D(level) / 60.0;
  char place[160];
  std::snprintf(place, sizeof place, "-te %.12f %.12f %.12f %.12f -ts %d %d", -180.0 - half, -90.0 - half, 180.0 + half,
                90.0 + half, (600 << level) + 1, (300 << level) + 1);
  return "gdalwarp -q -overwrite -r near " + std::string(place) + " '" + from + "' '" + to + "'";
}

/// Nearly all posts of a tile are those that GDAL finds. Some stand on an edge of a pixel, where either is right.
void MustHavePostsOf(const std::string& store, const std::string& warped, int level) {
  const XPBEFile file(store, 0);
  int size = 0;
  const std::unique_ptr<float[]> posts(file.GetElevationData(level, 5, 10, size));
  Must(posts != nullptr, "can't read " + store);
  const Raster raster = HoldRaster(GDALDataset::FromHandle(GDALOpen(warped.c_str(), GA_ReadOnly)));
  std::vector<float> theirs(961);
  Must(raster->GetRasterBand(1)->RasterIO(GF_Read, 300, (300 << level) - 180, 31, 31, theirs.data(), 31, 31,
                                          GDT_Float32, 0, 0, nullptr) == CE_None,
       "GDAL can't read its posts");
  int numEqual = 0;
  for (std::size_t i = 0; i < 961; ++i) numEqual += posts[i] == theirs[i] ? 1 : 0;
  Must(numEqual >= 900, "the posts are not those that GDAL finds");
}

void AddHeightRows(const BenchOptions& options, std::vector<Row>& rows) {
  const int width = options.side / 4;
  const std::string heights = options.folder + "/heights" + std::to_string(width) + ".tif", store = heights + ".pbe";
  MakeHeights(heights, width);
  const tagXGlobeExport what = OrderOf(true, 360.0 / width, 30);
  std::vector<std::string> commands;
  for (int level = 0; level <= what.maxLevel; ++level) {
    commands.push_back(WarpCommand(heights, heights + "." + std::to_string(level) + ".warped.tif", level));
    RunQuietly(commands.back());
  }
  ExportEarth(heights, store, what, 1);
  MustHavePostsOf(store, heights + ".0.warped.tif", 0);
  rows.push_back({"pyramid_heights", "heights of the earth at all levels", "gdalwarp of the same posts",
                  [=] { ExportEarth(heights, store, what, 1); },
                  [=] {
                    for (const std::string& command : commands) RunQuietly(command);
                  },
                  1, 0.2});
}

}  // namespace

void AddPyramidRows(const BenchOptions& options, std::vector<Row>& rows) {
  AddPictureRows(options, rows);
  AddHeightRows(options, rows);
}
