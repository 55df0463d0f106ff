// A body is a pyramid of tiles: plain ones at offsets that follow from the sizes, or compressed ones behind a table of
// their offsets.
//
// The size of a plain body is known before a pixel is read. All plain bodies are therefore planned first, the disk is
// asked for their room, and they are built in one pass over the bands, which brings their statistics along. The size of
// a compressed body is known only when it is done, so that these bodies follow one after another. Each is made of one
// band, which is then read once more for the statistics. A save that fails leaves bytes of bodies in the file, at which
// nobody looks without a text that names them.

#include "core/native/BandBodies.h"

#include "base/Checked.h"
#include "base/PercentRange.h"
#include "core/level/CompressPyramid.h"
#include "core/level/PyramidStore.h"
#include "core/level/WindowStatistics.h"
#include "Xepot.h"
#include "XEPOT2D.h"
#include "XFile.h"
#include "XRSFileSaver.h"

#include <algorithm>
#include <optional>

namespace zrk {
namespace {

/// For bands that have no tiles of their own.
constexpr int kUsualTile = 256;

/// A body holds the window alone, and a window beyond its band can't be read.
bool HasWindow(const ZRMBand* band, const Window& window) {
  return band && window.IsInside(band->GetXSize(), band->GetYSize());
}

/// The wanted levels end with the first one that fits in one tile. A window may therefore have fewer of them than its
/// band.
PyramidShape ShapeFor(const ZRMBand& band, const BodyRequest& request) {
  PyramidShape shape;
  shape.xSize = request.window.Width();
  shape.ySize = request.window.Height();
  shape.dataType = band.GetDataType();
  shape.xTile = band.GetXTileSize() > 0 ? band.GetXTileSize() : kUsualTile;
  shape.yTile = band.GetYTileSize() > 0 ? band.GetYTileSize() : kUsualTile;
  const int maxLevels = Xepot::CalcProperLevel(shape.xSize, shape.ySize, shape.xTile, shape.yTile);
  shape.levels = std::clamp(request.level, 0, maxLevels);
  return shape;
}

/// Compressed tiles are as high as they are wide, while the levels are counted for the band's own tiles. A band without
/// tiles of its own gets no levels.
PyramidShape CompressedShapeFor(const ZRMBand& band, const BodyRequest& request) {
  PyramidShape shape = ShapeFor(band, request);
  shape.yTile = shape.xTile;
  const int maxLevels = Xepot::CalcProperLevel(shape.xSize, shape.ySize, band.GetXTileSize(), band.GetYTileSize());
  shape.levels = std::clamp(request.level, 0, maxLevels);
  return shape;
}

/// One plain body from `offset` on. Empty where a band has no such pyramid, or the file would become too long.
std::optional<BandBody> PlanBody(const ZRMBand& band, std::int64_t offset, const BodyRequest& request) {
  BandBody body;
  body.shape = ShapeFor(band, request);
  const auto layout = PyramidLayout::Make(body.shape);
  if (!layout || !CheckedAdd(offset, layout->Size())) return std::nullopt;
  body.offset = offset;
  body.size = layout->Size();
  body.compression = request.mode;
  return body;
}

/// The layout was made once already, when the body was planned, and can be made again.
PyramidBand PlanBuild(ZRMBand& band, const BandBody& body, XFile& file) {
  PyramidBand part;
  part.source = &band;
  part.store = std::make_shared<PlainStore>(*PyramidLayout::Make(body.shape), file.GetDiskFile(), body.offset);
  part.reduction = {band.GetBandType() == kBandTypeThematic, band.GetNullValue()};
  return part;
}

/// Plans the bodies of all bands and moves `end` behind them. Nothing is written, so that a band that can't be saved
/// leaves the file as it is.
PyramidResult PlanBodies(XFile& file, std::int64_t& end, const std::vector<ZRMBand*>& bands, const BodyRequest& request,
                         PyramidJob& job, std::vector<BandBody>& bodies) {
  for (ZRMBand* band : bands) {
    if (!HasWindow(band, request.window)) return PyramidResult::kReadFailed;
    const auto body = PlanBody(*band, end, request);
    if (!body) return PyramidResult::kWriteFailed;
    end = body->offset + body->size;
    job.bands.push_back(PlanBuild(*band, *body, file));
    bodies.push_back(*body);
  }
  return PyramidResult::kDone;
}

}  // namespace

/// Every further mode compresses, whatever its number is.
bool IsPlainMode(int mode) {
  return mode == kCompressionNone || mode == kCompressionPlain;
}

PyramidResult WritePlainBodies(XFile& file, std::int64_t& end, const std::vector<ZRMBand*>& bands,
                               const BodyRequest& request, std::vector<BandBody>& bodies) {
  PyramidJob job;
  job.window = request.window;
  job.thread = request.thread;
  job.percentStart = request.percentStart;
  job.percentSpan = request.percentSpan;
  // The caller's end moves only when all bodies are written.
  std::int64_t newEnd = end;
  bodies.clear();
  const PyramidResult planned = PlanBodies(file, newEnd, bands, request, job, bodies);
  if (planned != PyramidResult::kDone) return planned;
  if (!file.Preallocate(newEnd)) return PyramidResult::kWriteFailed;
  const PyramidResult result = BuildPyramids(job);
  if (result != PyramidResult::kDone) return result;
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    bodies[i].summary = job.bands[i].summary;
    bodies[i].histogram = job.bands[i].histogram;
  }
  end = newEnd;
  return PyramidResult::kDone;
}

PyramidResult WriteCompressedBody(XFile& file, std::int64_t& end, ZRMBand* band, const BodyRequest& request,
                                  BandBody& body) {
  if (!HasWindow(band, request.window)) return PyramidResult::kReadFailed;
  body.shape = CompressedShapeFor(*band, request);
  body.compression = kCompressionTiles;
  body.offset = end;
  const CompressRequest how = {request.window, body.shape.xTile, body.shape.levels, request.maxError, request.thread};
  // This is the time of the processor and not of the clock on the wall, over all threads of the process.
  const std::clock_t start = std::clock();
  const PyramidResult written = CompressPyramid(*band, file, body.offset, how, body.size);
  body.ticks = std::clock() - start;
  if (written != PyramidResult::kDone) return written;
  end += body.size;
  return MeasureWindow(*band, request.window, request.thread, body.summary, body.histogram);
}

/// Each compressed body takes an equal part of the request's percentages, which are those of the caller's own range.
PyramidResult WriteBodies(XFile& file, std::int64_t& end, const std::vector<ZRMBand*>& bands,
                          const BodyRequest& request, std::vector<BandBody>& bodies) {
  if (IsPlainMode(request.mode)) return WritePlainBodies(file, end, bands, request, bodies);
  PercentRange range(request.thread);
  const auto numBands = static_cast<int>(bands.size());
  bodies.clear();
  for (int i = 0; i < numBands; ++i) {
    range.SetShare(request.percentStart + request.percentSpan * i / numBands,
                   request.percentStart + request.percentSpan * (i + 1) / numBands);
    const PyramidResult result =
        WriteCompressedBody(file, end, bands[static_cast<std::size_t>(i)], request, bodies.emplace_back());
    if (result != PyramidResult::kDone) return result;
  }
  return PyramidResult::kDone;
}

/// A band without a single sample that counts has no statistics, which is told apart from statistics of 0.
void RecordBody(XRSFileSaver& saver, ZRMBand& band, const BandBody& body) {
  saver.WriteBandDataPlace(body.offset, body.size);
  const Summary& known = body.summary;
  const auto value = [&](double statistic) { return known.count > 0 ? statistic : kNotSet; };
  saver.CopyBandInfo(&band, body.shape.levels, body.shape.xTile, body.shape.yTile, body.shape.xSize, body.shape.ySize,
                     body.shape.dataType, body.compression, value(known.minValue), value(known.maxValue),
                     value(known.mean), value(known.stdDev), body.histogram.data());
}

}  // namespace zrk
