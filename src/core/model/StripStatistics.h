#pragma once

#include "math/SampleSums.h"

class ZRMBand;

namespace zrk {

/// Sets minimum, maximum, mean and deviation of a band, and its histogram unless that is null.
void SetStatistics(ZRMBand& band, const Summary& summary, const std::int64_t* histogram);

/// Statistics of a band of unsigned bytes as a read of the whole at `level` gives it, read some rows at a time, so that
/// no more of the band is held at once. The results are the same to the last bit, since bytes are counted. Sets the
/// band's fields; 0, with the fields as they were, where the level leaves no pixel or a read fails.
int CalcStatisticsByStrips(ZRMBand& band, int level, bool withHistogram);

}  // namespace zrk
