// Rows about maps of a scanning sensor's image, end to end: the data set and its terrain are opened, and the map is
// written as a GeoTIFF. GDAL's warp makes a map of the same image on the same grid, by a polynomial and by thin plates
// through points that our model placed on the ground. It knows neither sensor nor terrain, so that its map is off by
// many pixels over hills: what is compared is the time of a map.
//
// Both work on one thread. Our save brings the file to the medium, and that is timed as well; GDAL's does not.

#include "HawkInputs.h"
#include "Rows.h"
#include "SavedFiles.h"
#include "TiffInputs.h"
#include "XDataType.h"
#include "XFormatTable.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"
#include "ZRMBandHawk.h"
#include "ZRMBandOrtho.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <gdal_utils.h>
#include <unistd.h>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

/// The files of the scene. Heights are native rasters.
struct OrthoScene {
  std::string image, terrain, geoid;
  std::string placed;  ///< the image as GDAL takes it, with points on the ground
  std::string ours, theirs;
  tagXOrthoGrid grid;
};

void MustBeMade(int isMade, const XString& err) {
  Must(isMade != 0, err.AsStdString());
}

std::unique_ptr<XRSFile> OpenFile(const std::string& path) {
  auto file = std::make_unique<XRSFile>();
  file->SetReadPolicy(kReadExact);
  XString err;
  MustBeMade(XfnOpenFile(file.get(), path, err), err);
  return file;
}

void SaveFile(XRSFile& file, const std::string& path, const char* kind) {
  const ZRMBand& band = *file.GetBandAt(0);
  XString err;
  MustBeMade(XfnSaveFile(&file, path, XRSFileIO::GetIDFromExt(kind), {0, band.GetXSize() - 1, 0, band.GetYSize() - 1},
                         err, nullptr),
             err);
}

void SaveWaves(XRSFile* waves, const std::string& path) {
  const std::unique_ptr<XRSFile> file(waves);
  SaveFile(*file, path, "zrm");
}

/// The image with its terrain. It goes after what shows it.
class OrthoImage {
 public:
  explicit OrthoImage(const OrthoScene& scene) : file_(OpenFile(scene.image)) {
    model_ = XfnFindSensorModel(file_->GetBandAt(0));
    Must(model_ && model_->SetDemFile(OpenFile(scene.terrain).release()) &&
             model_->SetGeoidFile(OpenFile(scene.geoid).release()),
         "the scene has no model or no terrain");
  }
  ZRMBand* GetBand() const { return file_->GetBandAt(0); }
  const XSensorModel& GetModel() const { return *model_; }

 private:
  std::unique_ptr<XRSFile> file_;
  XSensorModel* model_ = nullptr;
};

/// Pixels of 90 centimetres make a map of about as many pixels as the image has, whatever its side.
tagXOrthoGrid PlanGrid(const OrthoScene& scene, double pixelSize) {
  const OrthoImage image(scene);
  tagXOrthoGrid grid;
  grid.pixelSize = pixelSize;
  XString err;
  MustBeMade(XfnPlanOrtho(image.GetBand(), grid, err), err);
  return grid;
}

void MakeOurMap(const OrthoScene& scene) {
  XfnSetWorkerCount(1);
  const OrthoImage image(scene);
  tagXOrthoGrid grid;
  grid.pixelSize = scene.grid.pixelSize;
  XString err;
  XRSFile map;
  auto band = std::make_unique<ZRMBandOrtho>();
  MustBeMade(XfnPlanOrtho(image.GetBand(), grid, err) && band->SetSource(image.GetBand(), grid, kOrthoBilinear, err),
             err);
  map.AddBand(band.release());
  SaveFile(map, scene.ours, "tif");
}

/// A lattice of points that our model places on the ground, which GDAL finds in a virtual file over the image.
void PlaceImage(const OrthoScene& scene) {
  constexpr int kSide = 12;
  const OrthoImage image(scene);
  std::vector<GDAL_GCP> points(kSide * kSide);
  GDALInitGCPs(static_cast<int>(points.size()), points.data());
  for (int i = 0; i < kSide * kSide; ++i) {
    const double x = (image.GetBand()->GetXSize() - 1.0) * (i % kSide) / (kSide - 1);
    const double y = (image.GetBand()->GetYSize() - 1.0) * (i / kSide) / (kSide - 1);
    GDAL_GCP& point = points[static_cast<std::size_t>(i)];
    Must(image.GetModel().LocatePixels(&x, &y, 1, &point.dfGCPX, &point.dfGCPY, &point.dfGCPZ) == 1, "no ground");
    point.dfGCPPixel = x + 0.5;
    point.dfGCPLine = y + 0.5;
  }
  const GdalSource source = OpenByGdal(scene.image);
  GDALDataset* const placed = GetGDALDriverManager()->GetDriverByName("VRT")->CreateCopy(
      scene.placed.c_str(), source.get(), FALSE, nullptr, nullptr, nullptr);
  OGRSpatialReference lonLat;
  lonLat.SetWellKnownGeogCS("WGS84");
  lonLat.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  Must(placed && placed->SetGCPs(static_cast<int>(points.size()), points.data(), &lonLat) == CE_None, "no points");
  GDALClose(placed);
  GDALDeinitGCPs(static_cast<int>(points.size()), points.data());
}

/// `way` is an option of the warp that chooses how it goes by the points.
void MakeTheirMap(const OrthoScene& scene, const char* way) {
  const tagXOrthoGrid& grid = scene.grid;
  const std::string system = "EPSG:" + std::to_string(grid.sr.GetEPSG());
  CPLStringList words(CSLTokenizeString(way));
  const double extent[] = {grid.west, grid.north - grid.ySize * grid.pixelSize, grid.west + grid.xSize * grid.pixelSize,
                           grid.north};
  for (const char* word : {"-q", "-r", "bilinear", "-t_srs", system.c_str(), "-te"}) words.AddString(word);
  for (const double edge : extent) words.AddString(CPLSPrintf("%.3f", edge));
  words.AddString("-ts");
  for (const int size : {grid.xSize, grid.ySize}) words.AddString(CPLSPrintf("%d", size));
  const std::unique_ptr<GDALWarpAppOptions, void (*)(GDALWarpAppOptions*)> options(
      GDALWarpAppOptionsNew(words.List(), nullptr), &GDALWarpAppOptionsFree);
  const GdalSource source = OpenByGdal(scene.placed);
  GDALDatasetH sources[] = {source.get()};
  const GDALDatasetH made = GDALWarp(scene.theirs.c_str(), nullptr, 1, sources, options.get(), nullptr);
  Must(made != nullptr, "GDAL can't make a map");
  GDALClose(made);
}

/// How much of a map shows something.
double ShownShare(const std::string& path) {
  const GdalSource map = OpenByGdal(path);
  std::vector<unsigned char> row(static_cast<std::size_t>(map->GetRasterXSize()));
  double numShown = 0.0;
  for (int y = 0; y < map->GetRasterYSize(); ++y) {
    Must(map->GetRasterBand(1)->RasterIO(GF_Read, 0, y, map->GetRasterXSize(), 1, row.data(), map->GetRasterXSize(), 1,
                                         GDT_Byte, 0, 0, nullptr) == CE_None,
         "GDAL can't read a map");
    numShown += static_cast<double>(std::ranges::count_if(row, [](unsigned char shade) { return shade != 0; }));
  }
  return numShown / (static_cast<double>(row.size()) * map->GetRasterYSize());
}

/// Hills move what is seen at the rim in one map, and not in the other.
void MustShowAlike(const OrthoScene& scene) {
  MakeOurMap(scene);
  MakeTheirMap(scene, "-order 2");
  const double ours = ShownShare(scene.ours), theirs = ShownShare(scene.theirs);
  Must(ours > 0.5 && std::abs(ours - theirs) < 0.1, "the maps do not show the image");
}

void RemoveMaps(const OrthoScene& scene) {
  fs::remove(scene.ours);
  fs::remove(scene.theirs);
  ::sync();
}

OrthoScene MakeOrthoScene(const std::string& folder, int side) {
  const std::string stem = folder + "/hawk_ortho" + std::to_string(side);
  OrthoScene scene = {
      stem + ".TIF_1", stem + "_terrain.zrm", stem + "_geoid.zrm", stem + ".vrt", stem + "_o.tif", stem + "_t.tif", {}};
  // Pixels of 72 centimetres across the look, where an image has 4096 of them. The sensor sweeps its look along the
  // flight by 1964 of these, and the platform makes up for the rest of a square image.
  const double pixel = 4096.0 / side, cell = 0.05 * pixel, swept = 1964.16 / side;
  const double flown = 0.724 * pixel * side * (1.0 - swept);
  WriteFlightDocument({side, side, flown / (HawkFlight::kPoses - 1), cell}, stem + ".XML");
  MakeTiff(scene.image, side, kPint08, 1, {"BLOCKYSIZE=16"});
  SaveWaves(MakeWaves(0.0003, 1500, 400.0, 150.0), scene.terrain);
  SaveWaves(MakeWaves(0.25, 80, 2500.0, 300.0), scene.geoid);
  scene.grid = PlanGrid(scene, 0.9 * pixel);
  PlaceImage(scene);
  return scene;
}

}  // namespace

void AddHawkOrthoRows(const BenchOptions& options, std::vector<Row>& rows) {
  const OrthoScene scene = MakeOrthoScene(options.folder, options.side / 2);
  MustShowAlike(scene);
  const std::string title =
      "a map of " + std::to_string(scene.grid.xSize) + " x " + std::to_string(scene.grid.ySize) + " pixels, over hills";
  const auto ours = [=] { MakeOurMap(scene); };
  const auto prepare = [=] { RemoveMaps(scene); };
  rows.push_back({"ortho_polynomial", title, "GDAL's warp by a polynomial", ours,
                  [=] { MakeTheirMap(scene, "-order 2"); }, 1, 2.0, prepare});
  rows.push_back({"ortho_plates", title, "GDAL's warp by thin plates", ours, [=] { MakeTheirMap(scene, "-tps"); },
                  1, 2.0, prepare});
}
