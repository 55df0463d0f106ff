#pragma once

#include "base/BlockGrid.h"
#include "XString.h"

#include <gdal.h>

class GDALDataset;
class GDALRasterBand;

namespace zrk {

/// Our type for samples of GDAL's; that of bytes where we have none.
int DataTypeOf(GDALDataType type);

BlockGrid GridOf(GDALRasterBand& band);

/// Whether the limits allow an image of these blocks. GDAL keeps a table of blocks, so that their number is bounded as
/// well.
bool IsWithinLimits(const BlockGrid& grid);

/// An item of the band's metadata; empty where the band has none of that name.
XString ItemOf(GDALRasterBand& band, const char* name, const char* domain);

/// Whether the samples are signed bytes, which have no type of their own in GDAL.
bool HasSignedBytes(GDALRasterBand& band);

/// The system of the image as text; empty without a system.
XString WktOf(const GDALDataset& dataset);

}  // namespace zrk
