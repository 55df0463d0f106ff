#pragma once

#include "tagXArr2.h"
#include "XExport.h"

#include <cstdint>

/// Statistics of a buffer of one of the eight scalar data types. Samples equal to `nullValue` and samples that are not
/// finite are left out. The deviation is over n - 1, and 0 for one sample. `histogram` may be null. Otherwise it
/// receives 256 counts over [minValue, maxValue]. Sample v counts in bin floor((v - min) / (max - min) * 256), and the
/// maximum in the last bin. If all samples are equal, they count in the last bin. Returns 1, or 0 with all outputs as
/// they were. It fails for a buffer without data, for another data type, for a sample size that does not fit the type,
/// and if no sample is left.
ZRKIO_API int XfnXARR2CalcStatistics(const tagXArr2* buffer, int dataType, double& minValue, double& maxValue,
                                     double& mean, double& stdDev, std::int64_t* histogram, double nullValue);

// The elements of statistics over a band that comes block by block. `data` is a block of `xSize` by `ySize` samples of
// one of the eight scalar data types, row by row. The window x0..x1 by y0..y1 of the block counts. It may reach beyond
// the block: INT_MIN, INT_MAX, INT_MIN, INT_MAX is the whole block. Samples equal to `nullValue` and samples that are
// not finite are left out. Both return 1, or 0 with all that they accumulate as it was. They fail for null data, sizes
// that are not positive, and another data type. A block without a sample that counts adds nothing and is no failure.

/// Adds a block to the sums, the range and the count. Before the first block they are 0.0, 0.0, `kNotSet`, -`kNotSet`
/// and 0.
ZRKIO_API int XfnGetSubsetStatElem1(const void* data, int xSize, int ySize, int dataType, double& sum,
                                    double& sumOfSquares, double& minValue, double& maxValue, std::int64_t& count,
                                    int x0, int x1, int y0, int y1, double nullValue);

/// Adds a block to a histogram of 256 bins over [minValue, maxValue], which must hold all samples of the block that
/// count. The counts so far are over [previousMin, previousMax], which is [kNotSet, -kNotSet] before the first block.
/// If the range has grown, each count moves to the bin that now holds the middle of its old bin.
ZRKIO_API int XfnGetSubsetStatElem3(const void* data, int xSize, int ySize, int dataType, double previousMin,
                                    double previousMax, double minValue, double maxValue, std::int64_t* histogram,
                                    int x0, int x1, int y0, int y1, double nullValue);
