#include "core/native/BandBodies.h"

#include "base/Checked.h"
#include "core/level/PyramidStore.h"
#include "Xepot.h"
#include "XFile.h"
#include "XRSFileSaver.h"

#include <algorithm>

namespace zrk {
namespace {

constexpr int kUsualTile = 256;

bool FailWith(XString& err, const char* sentence) {
  err = sentence;
  return false;
}

PyramidShape ShapeFor(const ZRMBand& band, const BodyRequest& request) {
  PyramidShape shape;
  shape.xSize = request.window.Width();
  shape.ySize = request.window.Height();
  shape.dataType = band.GetDataType();
  shape.xTile = band.GetXTileSize() > 0 ? band.GetXTileSize() : kUsualTile;
  shape.yTile = band.GetYTileSize() > 0 ? band.GetYTileSize() : kUsualTile;
  const int mostLevels = Xepot::CalcProperLevel(shape.xSize, shape.ySize, shape.xTile, shape.yTile);
  shape.levels = std::clamp(request.level, 0, mostLevels);
  return shape;
}

/// One body a band, each with its store; false where a band has not the window or can have no store.
bool PlanBodies(XFile& file, std::int64_t& end, const std::vector<ZRMBand*>& bands, const BodyRequest& request,
                PyramidJob& job, std::vector<BandBody>& bodies, XString& err) {
  for (ZRMBand* band : bands) {
    if (!band || !IsWindowOf(*band, request.window)) return FailWith(err, "Fail to read data");
    BandBody body;
    body.shape = ShapeFor(*band, request);
    const auto layout = PyramidLayout::Make(body.shape);
    if (!layout) return FailWith(err, "Fail to write Data");
    body.offset = end;
    body.size = layout->Size();
    body.compression = request.compression;
    const auto bodyEnd = CheckedAdd(end, body.size);
    if (!bodyEnd) return FailWith(err, "Fail to write Data");
    end = *bodyEnd;
    PyramidBand part;
    part.source = band;
    part.store = std::make_shared<PlainStore>(*layout, file.GetDiskFile(), body.offset);
    part.reduction = {band->GetBandType() == kBandTypeThematic, band->GetNullValue()};
    job.bands.push_back(std::move(part));
    bodies.push_back(body);
  }
  return true;
}

}  // namespace

bool IsWindowOf(const ZRMBand& band, const SourceWindow& window) {
  return 0 <= window.x0 && window.x0 <= window.x1 && window.x1 < band.GetXSize() && 0 <= window.y0 &&
         window.y0 <= window.y1 && window.y1 < band.GetYSize();
}

bool WriteBodies(XFile& file, std::int64_t& end, const std::vector<ZRMBand*>& bands, const BodyRequest& request,
                 std::vector<BandBody>& bodies, XString& err) {
  PyramidJob job;
  job.window = request.window;
  job.thread = request.thread;
  job.percentStart = request.percentStart;
  job.percentSpan = request.percentSpan;
  std::int64_t newEnd = end;
  bodies.clear();
  if (!PlanBodies(file, newEnd, bands, request, job, bodies, err)) return false;
  if (!file.Preallocate(newEnd)) return FailWith(err, "Fail to write Data");
  const PyramidResult result = BuildPyramids(job);
  if (result == PyramidResult::kStopped) return false;
  if (result != PyramidResult::kDone) return FailWith(err, GetSentence(result));
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    bodies[i].summary = job.bands[i].summary;
    bodies[i].histogram = job.bands[i].histogram;
  }
  end = newEnd;
  return true;
}

void RecordBody(XRSFileSaver& saver, ZRMBand& band, const BandBody& body) {
  saver.WriteBandDataPlace(body.offset, body.size);
  const Summary& known = body.summary;
  const auto value = [&](double statistic) { return known.count > 0 ? statistic : kNotSet; };
  saver.CopyBandInfo(&band, body.shape.levels, body.shape.xTile, body.shape.yTile, body.shape.xSize, body.shape.ySize,
                     body.shape.dataType, body.compression, value(known.minValue), value(known.maxValue),
                     value(known.mean), value(known.stdDev), body.histogram.data());
}

}  // namespace zrk

int XRSFileSaver::CopyBandData(ZRMBand* band, int level, int x0, int x1, int y0, int y1, int mode, XThread* thread,
                               int percentStart, int percentSpan, XString& err) {
  XFile* const file = GetOutputFile();
  if (!band || !file || !file->IsOpen()) return 0;
  std::vector<zrk::BandBody> bodies;
  std::int64_t end = GetDataEnd();
  const zrk::BodyRequest request = {{x0, x1, y0, y1}, level, mode, thread, percentStart, percentSpan};
  if (!zrk::WriteBodies(*file, end, {band}, request, bodies, err)) return 0;
  SetDataEnd(end);
  zrk::RecordBody(*this, *band, bodies.front());
  return 1;
}
