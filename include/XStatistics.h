#pragma once

#include "tagXArr2.h"
#include "XExport.h"

#include <cstdint>

/// Statistics of a buffer of one of the eight scalar data types. Samples equal to `nullValue` and samples that are not
/// finite are left out. The deviation is over n - 1, and 0 for one sample. `histogram` may be null; otherwise it
/// receives 256 counts over [minValue, maxValue], sample v in bin floor((v - min) / (max - min) * 256), the maximum in
/// the last, and so all samples where they are equal. 0, with all outputs as they were, for a buffer without data,
/// another data type or a sample size that does not fit it, or where no sample is left.
ZRKIO_API int XfnXARR2CalcStatistics(const tagXArr2* buffer, int dataType, double& minValue, double& maxValue,
                                     double& mean, double& stdDev, std::int64_t* histogram, double nullValue);
