#pragma once

#include "core/level/PyramidBuild.h"
#include "XString.h"

namespace zrk {

/// Statistics and histogram of a window of a band, read block by block; for samples of more than 16 bits twice, since
/// the bins of the histogram follow from the range. Samples equal to the band's null value are left out. False with the
/// sentence in `err`; without one where the thread's state word holds anything but 0.
bool MeasureWindow(ZRMBand& band, const SourceWindow& window, XThread* thread, Summary& summary, Histogram& histogram,
                   XString& err);

}  // namespace zrk
