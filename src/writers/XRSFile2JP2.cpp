// A save has steps: look whether it can be done, begin the file, write the tiles, write the head, give the file its
// name. `Jp2Job` has what is asked for, `Jp2Tiles` reads and codes the pixels, `Jp2Head` makes the boxes, and `NewJp2`
// is the file. The head comes last, because it tells how long the parts of the codestream are. Its own length is known
// before.

#include "XRSFile2JP2.h"

#include "base/Failure.h"
#include "base/Fence.h"
#include "base/Parallel.h"
#include "base/ThreadResult.h"
#include "codec/J2kEncoder.h"
#include "writers/Jp2GridText.h"
#include "writers/Jp2Head.h"
#include "writers/Jp2Job.h"
#include "writers/Jp2Sentences.h"
#include "writers/Jp2Tiles.h"
#include "writers/NewJp2.h"
#include "XRSFile.h"

#include <climits>
#include <cstdint>
#include <limits>
#include <string>

namespace {

using Bytes = std::vector<unsigned char>;
using zrk::FailWith;

/// Where a file says that its image lies.
struct Places {
  bool inGeoJp2 = true;
  bool inGml = false;
};

/// The save of one file.
class Jp2Save {
 public:
  Jp2Save(const zrk::Jp2Job& job, const XString& path, XThread* thread)
      : job_(job), path_(path), encoder_(job.plan), tiles_(job, encoder_, file_, thread) {}

  bool Run(const XRSFile& dataset, const Places& places, int numThreads, XString& err) {
    if (!encoder_.Prepare(err)) return false;
    const bool isExact = dataset.GetReadPolicy() == kReadExact;
    Bytes place;
    std::string gml;
    if (places.inGeoJp2 && !MakeGeoJp2(job_, isExact, place, err)) return false;
    if (places.inGml && !MakeGridText(job_, isExact, gml, err)) return false;
    boxes_ = MakeJp2Boxes(job_, place, gml);
    if (!file_.Begin(dataset, path_, CountHeadBytes())) return FailWith(err, zrk::kJp2NotWritten);
    if (!tiles_.Write(numThreads, err)) return false;
    return Finish() || FailWith(err, zrk::kJp2NotWritten);
  }
  bool WasStopped() const { return tiles_.WasStopped(); }

 private:
  /// Whether the codestream may be so long that its box needs the long form. Coding makes samples that can't be
  /// compressed a little longer, and by far not twice as long.
  bool IsLong() const {
    const zrk::J2kPlan& plan = job_.plan;
    return static_cast<double>(plan.PixelBytes()) * plan.width * plan.height > INT_MAX;
  }
  std::int64_t CountHeadBytes() const {
    return std::ssize(boxes_) + zrk::CountCodestreamBoxBytes(IsLong()) +
           static_cast<std::int64_t>(encoder_.CountHeaderBytes());
  }

  bool Finish() {
    if (!file_.Append(zrk::J2kEncoder::MakeEnd())) return false;
    const std::int64_t length = file_.GetLength() - std::ssize(boxes_) - zrk::CountCodestreamBoxBytes(IsLong());
    if (!IsLong() && length > std::numeric_limits<std::uint32_t>::max() - zrk::CountCodestreamBoxBytes(false)) {
      return false;
    }
    Bytes head = boxes_;
    for (const Bytes& part : {zrk::MakeCodestreamBox(length, IsLong()), encoder_.MakeHeader(tiles_.GetPartBytes())}) {
      head.insert(head.end(), part.begin(), part.end());
    }
    return file_.Publish(head);
  }

  const zrk::Jp2Job& job_;
  const XString& path_;
  zrk::J2kEncoder encoder_;
  zrk::NewJp2 file_;
  zrk::Jp2Tiles tiles_;
  Bytes boxes_;
};

}  // namespace

int XRSFile2JP2::Save(XString path, int x0, int x1, int y0, int y1, XString& err, int reversible, XString rates,
                      int numLayers, int useThreads, XThread* thread) {
  if (path.IsEmpty() || !file_ || !file_->GetBandAt(0)) return zrk::TellResult(thread, false, false, err);
  const zrk::Jp2Request request = {.window = {x0, x1, y0, y1},
                                   .isReversible = reversible != 0,
                                   .rates = rates,
                                   .numLayers = numLayers,
                                   .psnr = psnr_,
                                   .numLevels = numLevels_,
                                   .tileSide = tileSide_,
                                   .precisions = precisions_};
  bool wasStopped = false;
  const bool isSaved = zrk::Fenced(err, [&] {
    zrk::Jp2Job job;
    if (!PlanJp2(*file_, request, job, err)) return false;
    Jp2Save save(job, path, thread);
    const bool isDone = save.Run(*file_, {hasGeoreference_, hasGml_}, useThreads ? zrk::CountWorkers(INT_MAX) : 1, err);
    wasStopped = save.WasStopped();
    return isDone;
  });
  return zrk::TellResult(thread, isSaved, wasStopped, err);
}
