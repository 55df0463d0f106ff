#pragma once

#include <vector>

class XRSFile;
class ZRMBand;

namespace zrk {

/// The first `count` bands of a dataset, with null for one that it lacks.
std::vector<ZRMBand*> ListBands(const XRSFile& file, int count);

}  // namespace zrk
