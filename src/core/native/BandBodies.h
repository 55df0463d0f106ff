#pragma once

#include "core/level/PyramidBuild.h"
#include "core/level/PyramidLayout.h"
#include "XString.h"

#include <cstdint>
#include <vector>

class XFile;
class XRSFileSaver;

namespace zrk {

/// The body of one band of a native raster file and what was learned while it was written.
struct BandBody {
  std::int64_t offset = 0;
  std::int64_t size = 0;
  PyramidShape shape;
  int compression = 0;
  Summary summary;
  Histogram histogram{};
};

/// Records a body as that of the saver's current band.
void RecordBody(XRSFileSaver& saver, ZRMBand& band, const BandBody& body);

/// How bodies are written.
struct BodyRequest {
  SourceWindow window;
  int level = 0;  ///< wanted; cut to what the window can have
  int compression = 0;
  XThread* thread = nullptr;
  int percentStart = 0;
  int percentSpan = 100;
};

/// Writes uncompressed bodies of all bands one behind the other from `end` on, and moves that on. All bands are taken
/// in one pass, so that what is decoded or computed for several of them is used for all. False with the sentence in
/// `err`, which stays empty where the thread was stopped.
bool WriteBodies(XFile& file, std::int64_t& end, const std::vector<ZRMBand*>& bands, const BodyRequest& request,
                 std::vector<BandBody>& bodies, XString& err);

/// Whether the window lies within the band.
bool IsWindowOf(const ZRMBand& band, const SourceWindow& window);

}  // namespace zrk
