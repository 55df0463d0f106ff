#include "geo/GdalRaster.h"

#include "base/Checked.h"
#include "XDataType.h"
#include "XLimits.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>

namespace zrk {

int DataTypeOf(GDALDataType type) {
  switch (type) {
    case GDT_UInt16:
      return kPint16;
    case GDT_Int16:
      return kSint16;
    case GDT_UInt32:
      return kPint32;
    case GDT_Int32:
      return kSint32;
    case GDT_Float32:
      return kReal32;
    case GDT_Float64:
      return kReal64;
    case GDT_CInt16:
      return kCint16;
    case GDT_CInt32:
      return kCint32;
    case GDT_CFloat32:
      return kCreal32;
    case GDT_CFloat64:
      return kCreal64;
    default:
      return kPint08;
  }
}

BlockGrid GridOf(GDALRasterBand& band) {
  BlockGrid grid{band.GetXSize(), band.GetYSize()};
  band.GetBlockSize(&grid.blockWidth, &grid.blockHeight);
  return grid;
}

bool IsWithinLimits(const BlockGrid& grid) {
  constexpr std::int64_t kMaxSampleBytes = 16, kTableBytes = 16;
  if (grid.width < 1 || grid.height < 1 || grid.blockWidth < 1 || grid.blockHeight < 1) return false;
  const tagXLimits limits = XfnGetLimits();
  const std::optional<std::int64_t> blockPixels = CheckedMultiply(grid.blockWidth, grid.blockHeight);
  return std::int64_t{grid.width} * grid.height <= limits.imagePixels &&
         grid.CountBlocks() <= limits.tableBytes / kTableBytes &&
         *blockPixels <= limits.decodedTileBytes / kMaxSampleBytes;
}

XString ItemOf(GDALRasterBand& band, const char* name, const char* domain) {
  const char* const item = band.GetMetadataItem(name, domain);
  return item ? XString(item) : XString();
}

bool HasSignedBytes(GDALRasterBand& band) {
  return ItemOf(band, "PIXELTYPE", "IMAGE_STRUCTURE") == "SIGNEDBYTE";
}

XString WktOf(const GDALDataset& dataset) {
  const OGRSpatialReference* const system = dataset.GetSpatialRef();
  char* text = nullptr;
  XString wkt;
  if (system && system->exportToWkt(&text) == OGRERR_NONE) wkt = text;
  CPLFree(text);
  return wkt;
}

}  // namespace zrk
