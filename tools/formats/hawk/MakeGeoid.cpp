// zrkio geoid make: a grid of the geoid's heights as the native raster that sensor models take: centimetres in 16 bits,
// the northern row first. A post is the centre of a pixel. A grid around the earth gets its first column behind the
// last one once more, so that every longitude up to 180 has its pixel.

#include "CommandLine.h"
#include "formats/hawk/GtxGrid.h"
#include "formats/hawk/HawkActions.h"
#include "Job.h"
#include "Notes.h"
#include "output/TargetFile.h"
#include "WorkReport.h"
#include "WritableFormats.h"
#include "XFile.h"
#include "XFormatTable.h"
#include "XRSFile.h"
#include "ZRMBand2DMem.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// Of a post without a height.
constexpr std::int16_t kNoGeoid = std::numeric_limits<std::int16_t>::min();
constexpr float kUnknownGtx = -88.8888F;

bool ReadGtx(const std::string& path, GtxGrid& grid, std::string& err) {
  constexpr std::int64_t kMaxBytes = std::int64_t{1} << 30;
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    err = "can't be opened (" + file.GetLastErrorText().AsStdString() + ")";
    return false;
  }
  const std::int64_t length = file.GetLength();
  if (length < 0 || length > kMaxBytes) {
    err = "the file is too large for a grid of heights";
    return false;
  }
  std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
  if (file.ReadAt(0, bytes.data(), length) != length) {
    err = "the file can't be read";
    return false;
  }
  return ParseGtx(bytes, grid, err);
}

/// A height that 16 bits can't hold is as good as unknown.
std::int16_t ToCentimetres(float height) {
  const double value = std::round(100.0 * static_cast<double>(height));
  const bool isKnown =
      std::abs(height - kUnknownGtx) > 1e-3F && std::abs(value) <= std::numeric_limits<std::int16_t>::max();
  return isKnown ? static_cast<std::int16_t>(value) : kNoGeoid;
}

/// Grids that begin east of Greenwich and go around begin at 180 degrees west in the raster.
void FillGeoid(const GtxGrid& grid, int firstColumn, tagXArr2& samples) {
  for (int y = 0; y < samples.ySize; ++y) {
    const std::size_t row = static_cast<std::size_t>(grid.rows - 1 - y) * static_cast<std::size_t>(grid.columns);
    auto* const out = reinterpret_cast<std::int16_t*>(samples.Row(y));
    for (int x = 0; x < samples.xSize; ++x) {
      out[x] = ToCentimetres(grid.heights[row + static_cast<std::size_t>((firstColumn + x) % grid.columns)]);
    }
  }
}

bool MakeGeoidFile(const GtxGrid& grid, XRSFile& file, std::string& err) {
  auto band = std::make_unique<ZRMBand2DMem>();
  const bool goesAround = grid.GoesAround();
  if (!band->SetSourceMemory(grid.columns + (goesAround ? 1 : 0), grid.rows, kSint16)) {
    err = "out of memory";
    return false;
  }
  const double offWest = goesAround ? std::remainder(-180.0 - grid.west, 360.0) / grid.lonStep : 0.0;
  const int shift = static_cast<int>(std::ceil(offWest - 1e-6));
  const int firstColumn = (shift % grid.columns + grid.columns) % grid.columns;
  FillGeoid(grid, firstColumn, *band->GetSourceMemory());
  const double north = grid.south + (grid.rows - 1) * grid.latStep;
  band->SetUpperLeft(grid.west + (shift - 0.5) * grid.lonStep, north + 0.5 * grid.latStep);
  band->SetPixelSize(grid.lonStep, grid.latStep);
  band->SetCoordinateKind(kCoordinateWorld);
  band->GetSR()->SetWellKnownGeogCS("WGS84");
  band->SetNullValue(kNoGeoid);
  band->SetBandName("Geoid, centimetres");
  file.AddBand(band.release());
  return true;
}

bool WriteGeoid(const GeoidOptions& options, const tagXFormat& format, WorkReport& report, XThread& thread,
                std::string& err) {
  GtxGrid grid;
  XRSFile file;
  if (!ReadGtx(options.input, grid, err) || !MakeGeoidFile(grid, file, err)) return false;
  const ZRMBand& band = *file.GetBandAt(0);
  report = WorkReport(std::int64_t{band.GetXSize()} * band.GetYSize() * band.GetDataSize());
  TargetFile target;
  if (!target.Begin(options.output, options.input, err)) return false;
  XString reason;
  if (!XfnSaveFile(&file, target.GetUnfinishedPath(), format.id, {0, band.GetXSize() - 1, 0, band.GetYSize() - 1},
                   reason, &thread)) {
    err = reason.IsEmpty() ? "the raster can't be written" : reason.AsStdString();
    return false;
  }
  if (!target.Commit(err)) return false;
  report.Finish(options.output);
  return true;
}

}  // namespace

int MakeGeoid(const GeoidOptions& options) {
  if (options.action != "make") throw UsageError("ACTION", "must be \"make\", which writes a geoid");
  const tagXFormat* const format = FindWritableFormat(options.output);
  if (!format || !format->writer->takesMaxError) throw UsageError("-o", "takes the name of a native raster, in .zrm");
  WorkReport report;
  const JobResult result = RunJob(options.input, [&](XThread& thread, std::string& err) {
    return WriteGeoid(options, *format, report, thread, err);
  });
  if (result.isDone) PrintNote(options.output, report.GetText());
  return result.GetExitStatus();
}
