#pragma once

// A driver of GDAL's with the image of the stand-ins behind it. Like those that it stands in for it has reduced images,
// of every 2nd and 4th pixel, and it names a system.

#include "../support/StandInPicture.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <algorithm>
#include <memory>
#include <vector>

inline GDALDataType TypeOfStandIn(int type) {
  constexpr GDALDataType kTypes[] = {GDT_Unknown, GDT_Byte,  GDT_Byte,    GDT_UInt16, GDT_Int16,
                                     GDT_UInt32,  GDT_Int32, GDT_Float32, GDT_Float64};
  return type >= 1 && type <= 8 ? kTypes[type] : GDT_CFloat32;
}

class StandInBand : public GDALRasterBand {
 public:
  StandInBand(GDALDataset* dataset, int number, const StandInFile& file, int step) : file_(file), step_(step) {
    poDS = dataset;
    nBand = number;
    eDataType = TypeOfStandIn(file.type);
    nRasterXSize = Reduced(file.width, step);
    nRasterYSize = Reduced(file.height, step);
    nBlockXSize = std::clamp(nRasterXSize, 1, kBlockWidth);
    nBlockYSize = 1;
    if (step > 1) return;
    for (const int each : {2, 4}) reduced_.push_back(std::make_unique<StandInBand>(dataset, number, file, each));
  }
  int GetOverviewCount() override { return static_cast<int>(reduced_.size()); }
  GDALRasterBand* GetOverview(int index) override { return reduced_[static_cast<std::size_t>(index)].get(); }

 protected:
  CPLErr IReadBlock(int column, int row, void* block) override {
    if (file_.fail == "block" && row == file_.failLine) {
      CPLError(CE_Failure, CPLE_AppDefined, "the stand-in has no row %d", row);
      return CE_Failure;
    }
    const int first = column * nBlockXSize, count = std::min(nBlockXSize, nRasterXSize - first);
    for (int i = 0; i < count; ++i) {
      StoreStandInValue(file_.type, block, static_cast<std::size_t>(i),
                        StandInValue(file_.type, nBand - 1, (first + i) * step_, row * step_));
    }
    return CE_None;
  }

 private:
  static constexpr int kBlockWidth = 64;
  static int Reduced(std::int64_t size, int step) { return static_cast<int>((size + step - 1) / step); }

  const StandInFile& file_;
  int step_;
  std::vector<std::unique_ptr<StandInBand>> reduced_;
};

class StandInDataset : public GDALDataset {
 public:
  explicit StandInDataset(const StandInFile& file) : file_(file) {
    nRasterXSize = file_.width;
    nRasterYSize = file_.height;
    for (int i = 1; i <= file_.bands; ++i) SetBand(i, new StandInBand(this, i, file_, 1));
    SetMetadataItem("DATUM", file_.datum.c_str(), "ECW");
    SetMetadataItem("PROJ", file_.projection.c_str(), "ECW");
    if (file_.epsg) system_.importFromEPSG(file_.epsg);
  }
  CPLErr GetGeoTransform(double* t) override {
    const double numbers[] = {file_.x, file_.dx, file_.turn, file_.y, 0.0, file_.dy};
    std::copy(std::begin(numbers), std::end(numbers), t);
    return CE_None;
  }
  const OGRSpatialReference* GetSpatialRef() const override { return system_.IsEmpty() ? nullptr : &system_; }

  static GDALDataset* OpenFile(GDALOpenInfo* info) {
    StandInFile file;
    const std::string text(reinterpret_cast<const char*>(info->pabyHeader),
                           static_cast<std::size_t>(info->nHeaderBytes));
    constexpr int kMaxBands = 16;
    if (!ReadStandIn(text, file) || file.bands > kMaxBands) return nullptr;
    if (file.fail != "driver") return new StandInDataset(file);
    CPLError(CE_Failure, CPLE_OpenFailed, "the stand-in refuses %s", info->pszFilename);
    return nullptr;
  }

 private:
  StandInFile file_;
  OGRSpatialReference system_;
};

/// Registers the driver under a name, unless there is one of the name.
inline void RegisterStandInDriver(const char* name) {
  if (GDALGetDriverByName(name)) return;
  auto driver = std::make_unique<GDALDriver>();
  driver->SetDescription(name);
  driver->SetMetadataItem(GDAL_DCAP_RASTER, "YES");
  driver->SetMetadataItem(GDAL_DCAP_VIRTUALIO, "YES");
  driver->pfnOpen = &StandInDataset::OpenFile;
  GetGDALDriverManager()->RegisterDriver(driver.release());
}
