#pragma once

#include "core/level/PyramidBuild.h"

namespace zrk {

/// Statistics and histogram of a window of a band, read block by block; for samples of more than 16 bits twice, since
/// the bins of the histogram follow from the range. Samples equal to the band's null value are left out. The thread,
/// which may be null, stops it with any state but that of running.
PyramidResult MeasureWindow(ZRMBand& band, const Window& window, XThread* thread, Summary& summary,
                            Histogram& histogram);

}  // namespace zrk
