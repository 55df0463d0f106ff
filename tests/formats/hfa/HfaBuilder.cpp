// GDAL's writer is the only one at hand, and it knows every detail of a format that has no other public description. It
// writes into memory. What a test expects of the pixels comes from the formula, and not from the file.

#include "HfaBuilder.h"

#include <cpl_string.h>
#include <gdal_frmts.h>
#include <gdal_priv.h>
#include <gdal_utils.h>
#include <ogr_spatialref.h>
#include <atomic>
#include <memory>
#include <stdexcept>

namespace {

using HfaDataset = std::unique_ptr<GDALDataset, void (*)(GDALDataset*)>;

void Require(bool holds) {
  if (!holds) throw std::runtime_error("GDAL can't write an HFA file");
}

void FillLayer(GDALRasterBand& band, int layer) {
  std::vector<float> row(static_cast<std::size_t>(band.GetXSize()));
  for (int y = 0; y < band.GetYSize(); ++y) {
    for (int x = 0; x < band.GetXSize(); ++x)
      row[static_cast<std::size_t>(x)] = static_cast<float>(HfaBuilder::Value(x, y, layer));
    Require(band.RasterIO(GF_Write, 0, y, band.GetXSize(), 1, row.data(), band.GetXSize(), 1, GDT_Float32, 0, 0,
                          nullptr) == CE_None);
  }
}

void AddClasses(GDALRasterBand& band, int count) {
  GDALColorTable table;
  for (int i = 0; i < count; ++i) {
    const GDALColorEntry entry = {static_cast<short>(i % 256), static_cast<short>(2 * i % 256),
                                  static_cast<short>(255 - i % 256), 255};
    table.SetColorEntry(i, &entry);
  }
  band.SetMetadataItem("LAYER_TYPE", "thematic");
  Require(band.SetColorTable(&table) == CE_None);
}

std::vector<unsigned char> TakeFile(const std::string& path) {
  vsi_l_offset length = 0;
  const GByte* const bytes = VSIGetMemFileBuffer(path.c_str(), &length, FALSE);
  Require(bytes != nullptr);
  std::vector<unsigned char> copy(bytes, bytes + length);
  VSIUnlink(path.c_str());
  return copy;
}

}  // namespace

HfaBuilder::Bytes HfaBuilder::Build() const {
  static std::atomic<int> number = 0;
  GDALRegister_HFA();
  const std::string path = "/vsimem/hfabuilder" + std::to_string(++number) + ".img";
  CPLStringList options;
  for (const std::string& option : options_) options.AddString(option.c_str());
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("HFA");
  Require(driver != nullptr);
  HfaDataset dataset(driver->Create(path.c_str(), width_, height_, numLayers_, type_, options.List()),
                     [](GDALDataset* open) { GDALClose(open); });
  Require(dataset != nullptr);
  if (!place_.empty()) {
    std::vector<double> transform = place_;
    dataset->SetGeoTransform(transform.data());
  }
  if (epsg_ > 0) {
    OGRSpatialReference system;
    system.importFromEPSG(epsg_);
    dataset->SetSpatialRef(&system);
  }
  if (!wkt_.empty()) {
    OGRSpatialReference system;
    system.importFromWkt(wkt_.c_str());
    dataset->SetSpatialRef(&system);
  }
  for (int i = 0; i < numLayers_; ++i) FillLayer(*dataset->GetRasterBand(i + 1), i);
  if (hasNull_) dataset->GetRasterBand(1)->SetNoDataValue(null_);
  if (isThematic_) dataset->GetRasterBand(1)->SetMetadataItem("LAYER_TYPE", "thematic");
  if (numClasses_ > 0) AddClasses(*dataset->GetRasterBand(1), numClasses_);
  if (!factors_.empty()) {
    Require(dataset->BuildOverviews(method_, static_cast<int>(factors_.size()), factors_.data(), 0, nullptr, nullptr,
                                    nullptr) == CE_None);
  }
  dataset.reset();
  return TakeFile(path);
}
