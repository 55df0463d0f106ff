#pragma once

#include "core/level/PyramidBuild.h"
#include "core/level/PyramidLayout.h"

#include <cstdint>
#include <ctime>
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
  std::clock_t ticks = 0;  ///< what compressing it took
};

/// Records a body as that of the saver's current band.
void RecordBody(XRSFileSaver& saver, ZRMBand& band, const BandBody& body);

/// How bodies are written.
struct BodyRequest {
  Window window;
  int level = 0;          ///< wanted; cut to what the window can have
  int mode = 0;           ///< see `IsPlainMode`
  double maxError = 0.0;  ///< of a sample, where bodies are compressed
  XThread* thread = nullptr;
  int percentStart = 0;
  int percentSpan = 100;
};

/// Whether samples are kept as they are. In every other mode they are compressed.
bool IsPlainMode(int mode);

// Bodies are written to the file from `end` on, which is moved behind them where all went well. What a band is not read
// for fails as a read: a band that is null, and a window beyond it.

/// Plain bodies of all bands. They are taken in one pass, so that what is decoded or computed for several of them is
/// used for all.
PyramidResult WritePlainBodies(XFile& file, std::int64_t& end, const std::vector<ZRMBand*>& bands,
                               const BodyRequest& request, std::vector<BandBody>& bodies);
/// The body of one band, compressed. Progress fills the whole range of the thread.
PyramidResult WriteCompressedBody(XFile& file, std::int64_t& end, ZRMBand* band, const BodyRequest& request,
                                  BandBody& body);
/// The bodies of all bands, as the mode has it.
PyramidResult WriteBodies(XFile& file, std::int64_t& end, const std::vector<ZRMBand*>& bands,
                          const BodyRequest& request, std::vector<BandBody>& bodies);

}  // namespace zrk
