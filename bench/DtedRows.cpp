// Rows about elevation cells. A cell is opened and read as a whole, which is how cells are used: programs lay many of
// them side by side and take each once. GDAL does the same on the same file.
//
// GDAL also writes the cells, once, from hills of a formula. Heights are compared post by post before anything is
// timed. The disk has no part in the figures: the file is small, and was just read.

#include "Inputs.h"
#include "Rows.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Heights = std::vector<std::int16_t>;
using Dataset = std::unique_ptr<GDALDataset, void (*)(GDALDataset*)>;

Dataset Hold(GDALDataset* dataset) {
  return {dataset, [](GDALDataset* open) { GDALClose(open); }};
}

GDALDriver& GetDriver(const char* name) {
  return *GetGDALDriverManager()->GetDriverByName(name);
}

std::size_t CountPosts(int side) {
  return static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
}

/// Hills, and some land below the sea.
Heights MakeHills(int side) {
  Heights heights;
  heights.reserve(CountPosts(side));
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const double hills = std::sin(x / 97.0) * std::cos(y / 131.0) + 0.3 * std::sin(x / 11.0 + y / 7.0);
      heights.push_back(static_cast<std::int16_t>(1100.0 + 1300.0 * hills));
    }
  }
  return heights;
}

/// A cell of one degree each way, whose corner posts lie on whole degrees, unless the file is there.
void MakeCell(const std::string& path, int side) {
  if (fs::exists(path)) return;
  Heights heights = MakeHills(side);
  const Dataset hills = Hold(GetDriver("MEM").Create("", side, side, 1, GDT_Int16, nullptr));
  // Posts lie on whole degrees at both ends, and GDAL's corner is half a post further out.
  const double step = 1.0 / (side - 1);
  std::array<double, 6> transform = {138.0 - step / 2, step, 0.0, 36.0 + step / 2, 0.0, -step};
  hills->SetGeoTransform(transform.data());
  OGRSpatialReference system;
  system.SetWellKnownGeogCS("WGS84");
  hills->SetSpatialRef(&system);
  Must(hills->GetRasterBand(1)->RasterIO(GF_Write, 0, 0, side, side, heights.data(), side, side, GDT_Int16, 0, 0,
                                         nullptr) == CE_None,
       "GDAL can't keep the hills");
  // A run that is ended in the middle leaves no file that the next one would take for whole.
  const std::string unfinished = path + ".part";
  const Dataset cell =
      Hold(GetDriver("DTED").CreateCopy(unfinished.c_str(), hills.get(), 0, nullptr, nullptr, nullptr));
  Must(cell != nullptr, "can't write " + path);
  fs::rename(unfinished, path);
}

std::int64_t ReadOurs(const std::string& path, int side, Heights* heights = nullptr) {
  XRSFile file;
  XString err;
  Must(XRSFileIO::LoadFileDTED(&file, path, err, 0, kLevelNone, nullptr), path + ": " + err.AsStdString());
  tagXArr2* out = nullptr;
  Must(file.GetBandAt(0)->ReadSubset(out, 0, 0, side - 1, 0, side - 1, nullptr), "a cell could not be read");
  const std::span posts(reinterpret_cast<const std::int16_t*>(out->data), CountPosts(side));
  // Only the comparison keeps the heights. A copy has no part in what is timed.
  if (heights) heights->assign(posts.begin(), posts.end());
  return posts.back();
}

void ReadByGdal(const std::string& path, int side, Heights& heights) {
  const Dataset cell = Hold(GDALDataset::FromHandle(GDALOpen(path.c_str(), GA_ReadOnly)));
  Must(cell != nullptr, "GDAL can't open " + path);
  heights.resize(CountPosts(side));
  Must(cell->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, side, side, heights.data(), side, side, GDT_Int16, 0, 0,
                                        nullptr) == CE_None,
       "GDAL failed to read a cell");
}

void MustAgree(const std::string& path, int side) {
  Heights ours, theirs;
  ReadOurs(path, side, &ours);
  ReadByGdal(path, side, theirs);
  Must(ours == theirs, "this library and GDAL differ in " + path);
}

}  // namespace

void AddDtedRows(const BenchOptions& options, std::vector<Row>& rows) {
  constexpr int kTimes = 20;
  // One small cell takes about as long as a clock's noise, and so several make one measurement.
  for (const auto& [side, extension, times] : {std::tuple(1201, ".dt1", kTimes), std::tuple(3601, ".dt2", 2)}) {
    const int posts = side, repeats = times;
    const std::string number = std::to_string(side);
    const std::string path = options.folder + "/cell" + number + extension;
    MakeCell(path, side);
    MustAgree(path, side);
    rows.push_back({"dted_" + number, "an elevation cell of " + number + " x " + number + ", opened and read", "GDAL",
                    [=] {
                      for (int i = 0; i < repeats; ++i) ReadOurs(path, posts);
                    },
                    [=] {
                      Heights heights;
                      for (int i = 0; i < repeats; ++i) ReadByGdal(path, posts, heights);
                    },
                    repeats, 0.2});
  }
}
