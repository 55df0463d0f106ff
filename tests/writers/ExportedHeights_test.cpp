// Heights of a real cell, exported to another system, against GDAL: each post is transformed by OGR, and its sample is
// taken from what GDAL reads.

#include "MapScene.h"
#include "XExportL0.h"
#include "XFormatTable.h"
#include "XRSFile.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <cmath>

namespace {

/// A cell as GDAL reads it.
class GdalCell {
 public:
  explicit GdalCell(const std::string& path) : file_(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER)) {
    file_->GetGeoTransform(transform_);
    width_ = file_->GetRasterXSize();
    samples_.resize(static_cast<std::size_t>(width_ * file_->GetRasterYSize()));
    EXPECT_EQ(CE_None,
              file_->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, width_, file_->GetRasterYSize(), samples_.data(), width_,
                                                file_->GetRasterYSize(), GDT_Int16, 0, 0));
  }
  /// The sample whose area holds a place in degrees; 0 beside the cell.
  int At(double longitude, double latitude) const {
    const double column = std::floor((longitude - transform_[0]) / transform_[1] + 1e-6);
    const double row = std::floor((latitude - transform_[3]) / transform_[5] + 1e-6);
    if (column < 0 || row < 0 || column >= width_ || row >= file_->GetRasterYSize()) return 0;
    const std::int16_t sample = samples_[static_cast<std::size_t>(row * width_ + column)];
    return sample == -32767 ? 0 : sample;
  }

 private:
  std::unique_ptr<GDALDataset> file_;
  double transform_[6] = {};
  int width_ = 0;
  std::vector<std::int16_t> samples_;
};

/// The way from a zone of UTM to degrees, by PROJ alone.
class ZoneToDegrees {
 public:
  explicit ZoneToDegrees(int zone) {
    OGRSpatialReference map, degrees;
    map.importFromEPSG(zone);
    degrees.importFromEPSG(4326);
    degrees.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    way_.reset(OGRCreateCoordinateTransformation(&map, &degrees));
  }
  bool Transform(double& x, double& y) const { return way_ && way_->Transform(1, &x, &y); }

 private:
  std::unique_ptr<OGRCoordinateTransformation> way_;
};

/// A map of a cell across its western edge, 200 by 150 pixels of 500 metres in 4 by 3 tiles.
class ExportedMapHeights : public MapScene {
 protected:
  static constexpr int kZone = 32654;
  static constexpr double kLeft = 220000, kTop = 3950000;

  std::vector<std::int16_t> Export(const std::string& path) {
    const DefaultPolicy policy(kReadExact);
    XRSFile file;
    EXPECT_EQ(1, XfnOpenFile(&file, path, err_, nullptr)) << err_.GetText();
    if (file.GetNumOfBands() == 0) return {};
    Show({file.GetBandAt(0)});
    XSpatialReference zone;
    zone.importFromEPSG(kZone);
    manager_.SetSR(zone);
    EXPECT_EQ(1, XfnExport2L0Data_DEM(Out(), &manager_, 500, 500, kLeft, kTop - 75000, kLeft + 100000, kTop, 64, 0,
                                      err_, nullptr))
        << err_.GetText();
    const std::vector<unsigned char> bytes = ReadBytes(Out());
    std::vector<std::int16_t> heights(bytes.size() / 2);
    std::memcpy(heights.data(), bytes.data(), heights.size() * 2);
    return heights;
  }
};

TEST_F(ExportedMapHeights, AreThoseUnderEachPixelOfTheMap) {
  const std::string path = SharedDataDir() + "/dted/gen_n35_e138.dt1";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "there is no " << path;
  const std::vector<std::int16_t> heights = Export(path);
  ASSERT_EQ(4u * 3 * 64 * 64, heights.size());
  GDALAllRegister();
  const GdalCell cell(path);
  const ZoneToDegrees way(kZone);
  int numHeights = 0;
  for (int y = 0; y < 150; ++y) {
    for (int x = 0; x < 200; ++x) {
      double longitude = kLeft + (x + 0.5) * 500, latitude = kTop - (y + 0.5) * 500;
      ASSERT_TRUE(way.Transform(longitude, latitude));
      const int tile = y / 64 * 4 + x / 64;
      const int height = heights[static_cast<std::size_t>(tile * 4096 + y % 64 * 64 + x % 64)];
      ASSERT_EQ(cell.At(longitude, latitude), height) << x << " " << y;
      numHeights += height != 0;
    }
  }
  EXPECT_GT(numHeights, 1000);
}

}  // namespace
