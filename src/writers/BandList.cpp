#include "writers/BandList.h"

#include "XRSFile.h"

namespace zrk {

std::vector<ZRMBand*> ListBands(const XRSFile& file, int count) {
  std::vector<ZRMBand*> bands(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) bands[static_cast<std::size_t>(i)] = file.GetBandAt(i);
  return bands;
}

}  // namespace zrk
