#include "bands/hfa/HfaLayout.h"

#include "base/Checked.h"
#include "XDataType.h"
#include "XLimits.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <algorithm>
#include <string_view>

namespace zrk {

namespace {

constexpr std::size_t kMaxClasses = 256;

int TypeOf(GDALDataType type) {
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
    case GDT_CFloat32:
      return kCreal32;
    case GDT_CFloat64:
      return kCreal64;
    default:
      return kPint08;
  }
}

HfaGrid GridOf(GDALRasterBand& band) {
  HfaGrid grid{band.GetXSize(), band.GetYSize()};
  band.GetBlockSize(&grid.blockWidth, &grid.blockHeight);
  return grid;
}

/// GDAL keeps a table of blocks, so that their number is bounded as well.
bool IsWithinLimits(const HfaGrid& grid) {
  constexpr std::int64_t kMaxSampleBytes = 16, kTableBytes = 16;
  if (grid.width < 1 || grid.height < 1 || grid.blockWidth < 1 || grid.blockHeight < 1) return false;
  const tagXLimits limits = XfnGetLimits();
  const std::int64_t across = (std::int64_t{grid.width} - 1) / grid.blockWidth + 1;
  const std::int64_t down = (std::int64_t{grid.height} - 1) / grid.blockHeight + 1;
  const std::optional<std::int64_t> blockPixels = CheckedMultiply(grid.blockWidth, grid.blockHeight);
  return std::int64_t{grid.width} * grid.height <= limits.imagePixels &&
         across * down <= limits.tableBytes / kTableBytes && *blockPixels <= limits.decodedTileBytes / kMaxSampleBytes;
}

std::string_view ItemOf(GDALRasterBand& band, const char* name, const char* domain) {
  const char* const item = band.GetMetadataItem(name, domain);
  return item ? item : "";
}

void TakeColours(GDALRasterBand& band, HfaLayer& layer) {
  GDALColorTable* const table = band.GetColorTable();
  const std::size_t count =
      table ? std::min<std::size_t>(static_cast<std::size_t>(table->GetColorEntryCount()), kMaxClasses) : 0;
  for (std::size_t i = 0; i < count; ++i) {
    const GDALColorEntry& entry = *table->GetColorEntry(static_cast<int>(i));
    layer.colours.push_back({static_cast<unsigned char>(entry.c1), static_cast<unsigned char>(entry.c2),
                             static_cast<unsigned char>(entry.c3)});
  }
}

/// Overviews of other samples, and those beyond the limits, are as if they were not there.
void TakeOverviews(GDALRasterBand& band, HfaLayer& layer) {
  constexpr int kMaxOverviews = 64;
  const int count = std::min(band.GetOverviewCount(), kMaxOverviews);
  for (int i = 0; i < count; ++i) {
    GDALRasterBand* const overview = band.GetOverview(i);
    if (!overview || overview->GetRasterDataType() != band.GetRasterDataType()) continue;
    const HfaGrid grid = GridOf(*overview);
    if (!IsWithinLimits(grid)) continue;
    layer.overviews.push_back(grid);
    layer.overviewNumbers.push_back(i);
  }
}

HfaLayer LayerOf(GDALRasterBand& band) {
  HfaLayer layer;
  layer.grid = GridOf(band);
  layer.dataType = layer.exactDataType = TypeOf(band.GetRasterDataType());
  const bool isSigned = ItemOf(band, "PIXELTYPE", "IMAGE_STRUCTURE") == "SIGNEDBYTE";
  if (isSigned) layer.exactDataType = kSint08;
  layer.name = band.GetDescription();
  XString type(ItemOf(band, "LAYER_TYPE", ""));
  type.MakeUpper();
  layer.isThematic = type == "THEMATIC";
  if (layer.isThematic) TakeColours(band, layer);
  int hasNull = 0;
  const double nullValue = band.GetNoDataValue(&hasNull);
  if (hasNull) layer.nullValue = nullValue;
  TakeOverviews(band, layer);
  return layer;
}

XString WktOf(const GDALDataset& dataset) {
  const OGRSpatialReference* const system = dataset.GetSpatialRef();
  char* text = nullptr;
  XString wkt;
  if (system && system->exportToWkt(&text) == OGRERR_NONE) wkt = text;
  CPLFree(text);
  return wkt;
}

}  // namespace

bool DescribeHfa(GDALDataset& dataset, HfaLayout& layout, XString& reason) {
  const int count = dataset.GetRasterCount();
  if (count < 1 || dataset.GetRasterXSize() < 1 || dataset.GetRasterYSize() < 1) {
    reason = kHfaIsEmpty;
    return false;
  }
  for (int i = 1; i <= count; ++i) {
    if (i > XfnGetLimits().channels) break;
    layout.layers.push_back(LayerOf(*dataset.GetRasterBand(i)));
    if (IsWithinLimits(layout.layers.back().grid)) continue;
    reason = "The image is too large for the limits";
    return false;
  }
  std::array<double, 6> transform{};
  if (dataset.GetGeoTransform(transform.data()) == CE_None) layout.transform = transform;
  layout.wkt = WktOf(dataset);
  return true;
}

}  // namespace zrk
