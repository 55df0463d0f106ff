#pragma once

#include "base/Window.h"
#include "codec/J2kPlan.h"
#include "writers/Jp2Precision.h"
#include "XString.h"

#include <optional>
#include <vector>

class XRSFile;
class ZRMBand;

namespace zrk {

/// What a caller asks of one save.
struct Jp2Request {
  Window window;  ///< as it was given
  bool isReversible = true;
  XString rates;
  int numLayers = 0;
  double psnr = 0.0;
  int numLevels = -1;
  int tileSide = 0;
  std::vector<int> precisions = {};  ///< see `FindForcedPrecision`
};

/// One save: the bands, which of their pixels are written, and how.
struct Jp2Job {
  std::vector<ZRMBand*> bands;  ///< the first is there, and any other may be null
  Window window;                ///< in pixels of the first band; it may reach beyond the band
  J2kPlan plan;
  std::vector<std::optional<SampleChanger>> changers;  ///< of each band; nothing where samples stay as they are

  /// Whether all bands that are there have the size of the first.
  bool AreBandsAlike() const;
  /// The part of the window that lies in the first band.
  Window WindowInBand() const;
  /// The transform of the first band, moved to the corner of the window.
  void GetTransform(double (&transform)[6]) const;
};

/// Looks at whether a request can be met, and lays down how. False with the reason in `err`. The dataset has a first
/// band.
bool PlanJp2(const XRSFile& file, const Jp2Request& request, Jp2Job& job, XString& err);

}  // namespace zrk
