#include "writers/BandList.h"

#include "XRSFile.h"

namespace zrk {

/// The count is given, and not asked here, because a save of a TIFF file keeps to the count that its dataset had when
/// it was handed over.
std::vector<ZRMBand*> ListBands(const XRSFile& file, int count) {
  std::vector<ZRMBand*> bands(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) bands[static_cast<std::size_t>(i)] = file.GetBandAt(i);
  return bands;
}

}  // namespace zrk
