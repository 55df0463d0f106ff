#include "bands/hfa/HfaLayout.h"

#include "geo/GdalRaster.h"
#include "XDataType.h"
#include "XLimits.h"

#include <gdal_priv.h>
#include <algorithm>

namespace zrk {

namespace {

constexpr std::size_t kMaxClasses = 256;

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
    const BlockGrid grid = GridOf(*overview);
    if (!IsWithinLimits(grid)) continue;
    layer.overviews.push_back(grid);
    layer.overviewNumbers.push_back(i);
  }
}

HfaLayer LayerOf(GDALRasterBand& band) {
  HfaLayer layer;
  layer.grid = GridOf(band);
  layer.dataType = layer.exactDataType = DataTypeOf(band.GetRasterDataType());
  if (HasSignedBytes(band)) layer.exactDataType = kSint08;
  layer.isCompressed = !ItemOf(band, "COMPRESSION", "IMAGE_STRUCTURE").IsEmpty();
  layer.name = band.GetDescription();
  XString type = ItemOf(band, "LAYER_TYPE", "");
  type.MakeUpper();
  layer.isThematic = type == "THEMATIC";
  if (layer.isThematic) TakeColours(band, layer);
  int hasNull = 0;
  const double nullValue = band.GetNoDataValue(&hasNull);
  if (hasNull) layer.nullValue = nullValue;
  TakeOverviews(band, layer);
  return layer;
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
