#include "core/level/RowBlocks.h"

#include "ZRMBand.h"

#include <algorithm>

namespace zrk {

int CountBlockRows(const ZRMBand& band, int y, int wanted) {
  const int together = std::max(band.GetDecodeRows(), 1);
  return std::max(wanted / together, 1) * together - y % together;
}

}  // namespace zrk
