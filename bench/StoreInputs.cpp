// One picture in three files. It is painted tile by tile while a file is written. GDAL gets it as a dataset that paints
// the blocks it is asked for, and copies that into the formats of its own.
//
// The rivals have tiles of the store's size at the same places, and no overviews, because windows of full resolution
// are read. All else is as GDAL does it unless it is told otherwise.

#include "StoreInputs.h"

#include "XPBIFile.h"
#include "XTileGrid.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

namespace {

constexpr float kSlowX = 97, kSlowY = 131, kFastX = 41, kFastY = 59;

/// A band of the picture for GDAL.
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
    for (int y = 0; y < kSide; ++y) {
      picture_.Paint(column * kSide, row * kSide + y, kSide, rgb);
      for (int x = 0; x < kSide; ++x) *out++ = rgb[3 * x + nBand - 1];
    }
    return CE_None;
  }

 private:
  const GlobePicture& picture_;
};

class PictureDataset : public GDALDataset {
 public:
  explicit PictureDataset(const GlobePicture& picture) : picture_(picture) {
    nRasterXSize = nRasterYSize = picture.GetSide();
    for (int band = 1; band <= 3; ++band) SetBand(band, std::make_unique<PictureBand>(picture, band).release());
    system_.importFromEPSG(4326);
    system_.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  }
  CPLErr GetGeoTransform(double* transform) override {
    const double degrees = picture_.GetTileDegrees(), pixel = degrees / GlobePicture::kTileSide;
    const double values[] = {-180.0, pixel, 0.0, picture_.GetTiles() * degrees - 90.0, 0.0, -pixel};
    std::copy_n(values, 6, transform);
    return CE_None;
  }
  const OGRSpatialReference* GetSpatialRef() const override { return &system_; }

 private:
  const GlobePicture& picture_;
  OGRSpatialReference system_;
};

/// The unfinished file has the right extension, since drivers go by it.
std::string NameUnfinished(const std::string& path) {
  return path + ".part" + fs::path(path).extension().string();
}

void CopyByGdal(const char* driver, const std::string& path, const GlobePicture& picture, const char* const* options) {
  if (fs::exists(path)) return;
  const std::string unfinished = NameUnfinished(path);
  fs::remove(unfinished);
  GDALDriver* const format = GetGDALDriverManager()->GetDriverByName(driver);
  Must(format != nullptr, std::string("GDAL has no driver ") + driver);
  PictureDataset source(picture);
  GDALDataset* const copy =
      format->CreateCopy(unfinished.c_str(), &source, FALSE, const_cast<char**>(options), nullptr, nullptr);
  Must(copy != nullptr, "GDAL can't write " + path);
  GDALClose(copy);
  fs::rename(unfinished, path);
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
  const char* const options[] = {"TILE_FORMAT=JPEG", nullptr};
  CopyByGdal("GPKG", path, picture, options);
}

void MakeGlobeTiff(const std::string& path, const GlobePicture& picture) {
  const char* const options[] = {"COMPRESS=DEFLATE", "BLOCKSIZE=256",        "OVERVIEWS=NONE",
                                 "BIGTIFF=IF_SAFER", "NUM_THREADS=ALL_CPUS", nullptr};
  CopyByGdal("COG", path, picture, options);
}
