#pragma once

#include "tagXArr2.h"
#include "XExport.h"

#include <cstdint>

/// Statistics of a buffer of one of the eight scalar data types. Samples equal to `nullValue` and samples that are not
/// finite are left out. The deviation is over n - 1, and 0 for one sample. `histogram` may be null; otherwise it
/// receives 256 counts over [minValue, maxValue], sample v in bin floor((v - min) / (max - min) * 256), the maximum in
/// the last, and so all samples where they are equal. Returns 0, with all outputs as they were, for a buffer without
/// data, another data type or a sample size that does not fit it, or where no sample is left.
ZRKIO_API int XfnXARR2CalcStatistics(const tagXArr2* buffer, int dataType, double& minValue, double& maxValue,
                                     double& mean, double& stdDev, std::int64_t* histogram, double nullValue);

// The elements of statistics over a band that comes block by block. `data` is a block of `xSize` by `ySize` samples of
// one of the eight scalar data types, row by row, and of it the window x0..x1 by y0..y1 counts, which may reach beyond
// the block: INT_MIN, INT_MAX, INT_MIN, INT_MAX is all of it. Samples equal to `nullValue` and samples that are not
// finite are left out. Both give 0, with all that they accumulate as it was, for null data, sizes that are not
// positive or another data type; a block without a sample that counts adds nothing and is no failure.

/// Adds a block to the sums, the range and the count. Before the first block they are 0.0, 0.0, `kNotSet`, -`kNotSet`
/// and 0.
ZRKIO_API int XfnGetSubsetStatElem1(const void* data, int xSize, int ySize, int dataType, double& sum,
                                    double& sumOfSquares, double& minValue, double& maxValue, std::int64_t& count,
                                    int x0, int x1, int y0, int y1, double nullValue);

/// Adds a block to a histogram of 256 bins over [minValue, maxValue], which hold what is left of the block. Counts so
/// far are over [previousMin, previousMax], which is [kNotSet, -kNotSet] before the first block, and where the range
/// has grown each goes to the bin that now holds the middle of its own.
ZRKIO_API int XfnGetSubsetStatElem3(const void* data, int xSize, int ySize, int dataType, double previousMin,
                                    double previousMax, double minValue, double maxValue, std::int64_t* histogram,
                                    int x0, int x1, int y0, int y1, double nullValue);
