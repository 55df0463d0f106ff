#pragma once

#include "XExport.h"

#include <span>

class XThread;
class ZRMBand;

/// Computes minimum, maximum, mean and deviation of all pixels of the bands at full resolution. With a nonzero
/// `withHistogram` it also makes the 256 counts from the minimum to the maximum. It sets these fields of each band.
///
/// Samples equal to a band's null value and samples that are not finite are left out. A band of which no sample is left
/// gets `kNotSet` for its four values and a histogram of zeros: that is no failure. Level files are not looked at,
/// whatever the bands' read policy. In the exact policy `CalcStatistics` of a band calls this function for that band
/// alone. Give bands of one file together, since one decoding then serves all of them.
///
/// The pixels are read once, some rows at a time. The histogram of samples of more than 16 bits needs a second pass,
/// because its bins follow from the range. As many threads share the work as `XfnGetWorkerCount` tells. The result does
/// not depend on their number.
///
/// `thread` may be null. It gets the percentage, and its state word stops the work; its result code stays as it is.
///
/// Returns 1, or 0 where any read fails, the thread is stopped, or a band is null, has no pixels or samples that are no
/// scalars. All fields then stay as they were, and `XfnGetLastReadError` has the reason. Nothing is thrown. No other
/// thread may change or measure the bands meanwhile. Other threads may read them.
ZRKIO_API int XfnCalcExactStatistics(std::span<ZRMBand* const> bands, int withHistogram, XThread* thread = nullptr);
