// One picture in three files. It is painted tile by tile while a file is written. GDAL gets it as a dataset that paints
// the blocks it is asked for, and copies that into the formats of its own.
//
// The rivals have tiles of the store's size at the same places, and no overviews, because windows of full resolution
// are read. All else is as GDAL does it unless it is told otherwise. GDAL packs one period of the picture; the store's
// tiles are all packed.

#include "StoreInputs.h"

#include "RepeatedTiles.h"
#include "XPBIFile.h"
#include "XTileGrid.h"

#include <gdal_priv.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

namespace {

constexpr float kSlowX = 97, kSlowY = 131, kFastX = 41, kFastY = 59;

/// A band of the picture for GDAL, which is zero behind the first period.
class PictureBand : public GDALRasterBand {
 public:
  PictureBand(const GlobePicture& picture, int band) : picture_(picture) {
    nBand = band;
    nRasterXSize = nRasterYSize = picture.GetSide();
    nBlockXSize = nBlockYSize = GlobePicture::kTileSide;
    eDataType = GDT_Byte;
  }
  GDALColorInterp GetColorInterpretation() override { return static_cast<GDALColorInterp>(GCI_RedBand + nBand - 1); }

 protected:
  CPLErr IReadBlock(int column, int row, void* block) override {
    constexpr int kSide = GlobePicture::kTileSide;
    unsigned char rgb[3 * kSide], *out = static_cast<unsigned char*>(block);
    const int period = picture_.GetPeriodTiles();
    if (column >= period || row >= period) {
      std::fill_n(out, kSide * kSide, static_cast<unsigned char>(0));
      return CE_None;
    }
    for (int y = 0; y < kSide; ++y) {
      picture_.Paint(column * kSide, row * kSide + y, kSide, rgb);
      for (int x = 0; x < kSide; ++x) *out++ = rgb[3 * x + nBand - 1];
    }
    return CE_None;
  }

 private:
  const GlobePicture& picture_;
};

/// The place of the picture: the north-western corner and the size of a pixel in degrees.
std::array<double, 6> TransformOf(const GlobePicture& picture) {
  const double degrees = picture.GetTileDegrees(), pixel = degrees / GlobePicture::kTileSide;
  return {-180.0, pixel, 0.0, picture.GetTiles() * degrees - 90.0, 0.0, -pixel};
}

OGRSpatialReference MakeWgs84() {
  OGRSpatialReference system;
  system.importFromEPSG(4326);
  system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return system;
}

class PictureDataset : public GDALDataset {
 public:
  explicit PictureDataset(const GlobePicture& picture) : picture_(picture) {
    nRasterXSize = nRasterYSize = picture.GetSide();
    for (int band = 1; band <= 3; ++band) SetBand(band, std::make_unique<PictureBand>(picture, band).release());
  }
  CPLErr GetGeoTransform(double* transform) override {
    std::ranges::copy(TransformOf(picture_), transform);
    return CE_None;
  }
  const OGRSpatialReference* GetSpatialRef() const override { return &system_; }

 private:
  const GlobePicture& picture_;
  OGRSpatialReference system_ = MakeWgs84();
};

/// The unfinished file has the right extension, since drivers go by it.
std::string NameUnfinished(const std::string& path) {
  return path + ".part" + fs::path(path).extension().string();
}

GDALDriver& FindDriver(const char* name) {
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(name);
  Must(driver != nullptr, std::string("GDAL has no driver ") + name);
  return *driver;
}

/// The first period of the picture, a row of tiles at a time.
void WritePeriod(GDALDataset& to, const GlobePicture& picture) {
  constexpr int kSide = GlobePicture::kTileSide;
  const int width = picture.GetPeriodTiles() * kSide;
  std::vector<unsigned char> rgb(std::size_t{3} * kSide * static_cast<std::size_t>(width));
  for (int y = 0; y < width; y += kSide) {
    for (int i = 0; i < kSide; ++i) picture.Paint(0, y + i, width, rgb.data() + std::ptrdiff_t{3} * width * i);
    const CPLErr error = to.RasterIO(GF_Write, 0, y, width, kSide, rgb.data(), width, kSide, GDT_Byte, 3, nullptr, 3,
                                     GSpacing{3} * width, 1, nullptr);
    Must(error == CE_None, "GDAL can't write tiles");
  }
}

/// Packs the picture's tile at a row of the grid, which counts from the bottom as the rows of `rgb` do.
void WriteGlobeTile(XPBIFile& store, const GlobePicture& picture, int row, int column,
                    std::vector<unsigned char>& rgb) {
  constexpr int kSide = GlobePicture::kTileSide;
  const int bottom = picture.GetSide() - 1 - row * kSide;
  rgb.resize(std::size_t{3} * kSide * kSide);
  for (int i = 0; i < kSide; ++i) {
    picture.Paint(column * kSide, bottom - i, kSide, rgb.data() + std::ptrdiff_t{3} * kSide * i);
  }
  Must(store.Update(picture.GetLevel(), row, column, rgb.data(), kPixelRgb), "can't write a tile of a store");
}

}  // namespace

GlobePicture::GlobePicture(int side) : numTiles_(side / kTileSide) {
  constexpr int kRowsOfLevel0 = 10;
  while (kRowsOfLevel0 << level_ < numTiles_) ++level_;
  for (int x = 0; x < GetSide(); ++x) {
    const auto place = static_cast<float>(x);
    slow_.push_back(std::sin(place / kSlowX));
    fastSine_.push_back(std::sin(place / kFastX));
    fastCosine_.push_back(std::cos(place / kFastX));
  }
}

double GlobePicture::GetTileDegrees() const {
  return XfnGetTileSize3D(level_);
}

void GlobePicture::Paint(int x, int y, int count, unsigned char* rgb) const {
  const int period = GetPeriodTiles() * kTileSide;
  for (int left = x % period; count > 0; left = 0) {
    const int part = std::min(count, period - left);
    PaintPart(left, y % period, part, rgb);
    rgb += std::ptrdiff_t{3} * part;
    count -= part;
  }
}

void GlobePicture::PaintPart(int x, int y, int count, unsigned char* rgb) const {
  const auto place = static_cast<float>(y);
  const float slow = std::cos(place / kSlowY), sine = std::sin(place / kFastY), cosine = std::cos(place / kFastY);
  for (int i = x; i < x + count; ++i, rgb += 3) {
    const auto k = static_cast<std::size_t>(i);
    // The grain is a hash of the position, five bits of it. It darkens and brightens, as a film's does, and is strong
    // enough for JPEG to take about as many bits a pixel as it takes for pictures from the air.
    const auto hash = (static_cast<std::uint32_t>(i) * 2654435761u) ^ (static_cast<std::uint32_t>(y) * 2246822519u);
    const auto grain = static_cast<float>((hash * 2654435761u) >> 27);
    const float wave = slow_[k] * slow;
    rgb[0] = static_cast<unsigned char>(120 + 90 * wave + grain);
    rgb[1] = static_cast<unsigned char>(102 + 60 * (fastSine_[k] * cosine + fastCosine_[k] * sine) + grain);
    rgb[2] = static_cast<unsigned char>(92 - 70 * wave + grain);
  }
}

void MakeGlobeStore(const std::string& path, const GlobePicture& picture) {
  if (fs::exists(path)) return;
  constexpr double kVersion = 1.0, kTileSizeOfLevel0 = 18.0;
  const std::string unfinished = NameUnfinished(path);
  const int last = picture.GetTiles() - 1, side = GlobePicture::kTileSide;
  XPBIFile store(kVersion, kTileSizeOfLevel0);
  Must(store.AddLevel(picture.GetLevel(), 0, 0, last, last, side, side, kDxt1) && store.Create(unfinished),
       "can't write " + unfinished);
  std::vector<unsigned char> rgb;
  for (int row = 0; row <= last; ++row) {
    for (int column = 0; column <= last; ++column) WriteGlobeTile(store, picture, row, column, rgb);
  }
  store.Close();
  fs::rename(unfinished, path);
}

void MakeGlobePackage(const std::string& path, const GlobePicture& picture) {
  if (fs::exists(path)) return;
  const std::string unfinished = NameUnfinished(path);
  fs::remove(unfinished);
  const char* const options[] = {"RASTER_TABLE=globe", "TILE_FORMAT=JPEG", nullptr};
  const int side = picture.GetSide();
  GDALDatasetUniquePtr package(
      FindDriver("GPKG").Create(unfinished.c_str(), side, side, 3, GDT_Byte, const_cast<char**>(options)));
  Must(package != nullptr, "GDAL can't write " + path);
  std::array<double, 6> transform = TransformOf(picture);
  const OGRSpatialReference system = MakeWgs84();
  Must(package->SetSpatialRef(&system) == CE_None && package->SetGeoTransform(transform.data()) == CE_None,
       "GDAL can't place " + path);
  WritePeriod(*package, picture);
  package.reset();
  RepeatPackageTiles(unfinished, {picture.GetPeriodTiles(), picture.GetTiles()});
  fs::rename(unfinished, path);
}

/// Tiles behind the first period are zero, and so the driver leaves them out.
void MakeGlobeTiff(const std::string& path, const GlobePicture& picture) {
  if (fs::exists(path)) return;
  const std::string unfinished = NameUnfinished(path);
  fs::remove(unfinished);
  const char* const options[] = {"COMPRESS=DEFLATE", "BLOCKSIZE=256",        "OVERVIEWS=NONE", "BIGTIFF=YES",
                                 "SPARSE_OK=TRUE",   "NUM_THREADS=ALL_CPUS", nullptr};
  PictureDataset source(picture);
  GDALDatasetUniquePtr copy(
      FindDriver("COG").CreateCopy(unfinished.c_str(), &source, FALSE, const_cast<char**>(options), nullptr, nullptr));
  Must(copy != nullptr, "GDAL can't write " + path);
  copy.reset();
  RepeatTiffTiles(unfinished, {picture.GetPeriodTiles(), picture.GetTiles()});
  fs::rename(unfinished, path);
}
