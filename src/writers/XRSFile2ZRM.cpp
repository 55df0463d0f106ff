#include "XRSFile2ZRM.h"

#include "core/level/CompressPyramid.h"
#include "core/native/BandBodies.h"
#include "core/native/SaverGroups.h"
#include "writers/BandList.h"
#include "writers/OutputPath.h"
#include "writers/WindowStatistics.h"
#include "Xepot.h"
#include "XEPOT2D.h"
#include "XFile.h"
#include "XRSFile.h"
#include "XRSFileSaver.h"
#include "XThread.h"

#include <algorithm>
#include <ctime>
#include <vector>

namespace {

using Window = zrk::SourceWindow;

constexpr const char* kSharpenClass = "ZRMBandImageSharpen";

int FailWith(XString& err, const char* sentence) {
  err = sentence;
  return 0;
}

bool IsSharpened(const ZRMBand& band) {
  return XString(band.GetRuntimeClass()->className) == kSharpenClass;
}

/// The sensor model is that of the window: where that is not the whole band, its place counts.
void CopySensorModel(XRSFileSaver& saver, ZRMBand& band, const Window& window) {
  if (!band.GetUseSensorModel()) return;
  double offsetX = 0.0, offsetY = 0.0, scaleX = 0.0, scaleY = 0.0;
  band.GetOffset(offsetX, offsetY);
  band.GetScale(scaleX, scaleY);
  const bool isWhole = window.Width() == band.GetXSize() && window.Height() == band.GetYSize();
  if (!isWhole) {
    offsetX += window.x0;
    offsetY += window.y0;
  }
  saver.WriteAdditionalSensorParams(band.GetUseSensorModel(), band.GetFocalLength(), band.GetCellSize(),
                                    band.GetOriginCorner(), offsetX, offsetY, scaleX, scaleY);
  saver.WriteScanSensorParams(band.GetScanSensorParam());
}

void CopyBandFields(XRSFileSaver& saver, ZRMBand& band, const Window& window) {
  saver.CopyBandBasicInfo(&band);
  saver.CopyBandCoord(&band, window.x0, window.x1, window.y0, window.y1);
  zrk::CopyDescription(saver, band);
  CopySensorModel(saver, band, window);
  band.CleanupMemory(1, 0);
}

int ClampLevel(int level, const Window& window, int xTile, int yTile) {
  return std::clamp(level, 0, Xepot::CalcProperLevel(window.Width(), window.Height(), xTile, yTile));
}

/// The percentages that a band of a compressed save takes. The last leaves room for what follows.
struct Share {
  Share(int band, int numBands) : start(100 * band / numBands), end(100 * (band + 1) / numBands) {
    if (band == numBands - 1) end = std::max(end - 5, start);
  }
  int start;
  int end;
};

/// Gives a thread back its whole range at the end.
class PercentRange {
 public:
  explicit PercentRange(XThread* thread) : thread_(thread) {}
  ~PercentRange() {
    if (thread_) thread_->SetPercentRange(0, 100);
  }
  PercentRange(const PercentRange&) = delete;
  PercentRange& operator=(const PercentRange&) = delete;
  void Set(const Share& share) {
    if (thread_) thread_->SetPercentRange(share.start, share.end);
  }

 private:
  XThread* thread_;
};

/// Writes the body of one band as compressed tiles and measures it; false with the sentence in `err`.
bool CompressBand(ZRMBand& band, XRSFileSaver& saver, const Window& window, int level, double quality, XThread* thread,
                  std::clock_t& ticks, XString& err) {
  zrk::BandBody body;
  const int tile = band.GetXTileSize() > 0 ? band.GetXTileSize() : 256;
  body.shape = {window.Width(), window.Height(), band.GetDataType(), tile, tile, level};
  body.compression = kCompressionTiles;
  body.offset = saver.GetDataEnd();
  const std::clock_t start = std::clock();
  const zrk::PyramidResult result = zrk::CompressPyramid(band, *saver.GetOutputFile(), body.offset,
                                                         {window, tile, level, quality, thread}, body.size);
  ticks += std::clock() - start;
  if (result != zrk::PyramidResult::kDone) {
    if (result != zrk::PyramidResult::kStopped) err = zrk::GetSentence(result);
    return false;
  }
  saver.SetDataEnd(body.offset + body.size);
  if (!zrk::MeasureWindow(band, window, thread, body.summary, body.histogram, err)) return false;
  zrk::RecordBody(saver, band, body);
  return true;
}

}  // namespace

XRSFile2ZRM::XRSFile2ZRM() = default;
XRSFile2ZRM::~XRSFile2ZRM() = default;

int XRSFile2ZRM::Save(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode, double quality,
                      XString& err, XThread* thread) {
  if (path.IsEmpty() || !file_) return 0;
  const ZRMBand* first = file_->GetBandAt(0);
  if (!first) return FailWith(err, "No Band found");
  const bool isCompressed = compressionMode != kCompressionNone && compressionMode != kCompressionPlain;
  try {
    if (isCompressed) return SaveZRMBandGeneralComp(path, level, x0, x1, y0, y1, quality, err, thread);
    if (IsSharpened(*first)) {
      return SaveZRMBandImageSharpen(path, level, x0, x1, y0, y1, compressionMode, err, thread);
    }
    return SaveZRMBandGeneral(path, level, x0, x1, y0, y1, compressionMode, err, thread);
  } catch (const std::bad_alloc&) {
    return FailWith(err, "Out of memory");
  }
}

int XRSFile2ZRM::Begin(const XString& path, XFile& out, XRSFileSaver& saver, XString& err) const {
  if (path.IsEmpty() || !file_) return 0;
  if (!file_->GetBandAt(0)) return FailWith(err, "No Band found");
  if (!zrk::MakeWay(*file_, path) || !out.Open(path, XFile::kReadWrite | XFile::kCreate)) {
    return FailWith(err, "Cannot open file to write");
  }
  saver.SetFileOutputData(&out);
  saver.SetCryptoVaildationInfo(cryptoVaildationInfo_);
  saver.SetWriterFlags(firstFlag_, secondFlag_);
  saver.WriteInitTags();
  return 1;
}

int XRSFile2ZRM::Finish(XRSFileSaver& saver, XFile& out, XString& err) const {
  zrk::CopyDataset(saver, *file_);
  if (!saver.Save()) return FailWith(err, "Fail to write Data");
  out.Close();
  return 1;
}

int XRSFile2ZRM::SaveZRMBandGeneral(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode,
                                    XString& err, XThread* thread) {
  XFile out;
  XRSFileSaver saver;
  if (!Begin(path, out, saver, err)) return 0;
  const Window window = {x0, x1, y0, y1};
  const int numBands = file_->GetNumOfBands(), share = 100 / numBands;
  for (int i = 0; i < numBands; ++i) {
    ZRMBand* band = file_->GetBandAt(i);
    saver.WriteBandTag();
    if (!saver.CopyBandData(band, level, x0, x1, y0, y1, compressionMode, thread, i * share, share, err)) return 0;
    CopyBandFields(saver, *band, window);
  }
  return Finish(saver, out, err);
}

int XRSFile2ZRM::SaveZRMBandGeneralComp(XString path, int level, int x0, int x1, int y0, int y1, double quality,
                                        XString& err, XThread* thread) {
  XFile out;
  XRSFileSaver saver;
  if (!Begin(path, out, saver, err)) return 0;
  const Window window = {x0, x1, y0, y1};
  const int numBands = file_->GetNumOfBands();
  PercentRange range(thread);
  std::clock_t ticks = 0;
  for (int i = 0; i < numBands; ++i) {
    ZRMBand* band = file_->GetBandAt(i);
    if (!band || !zrk::IsWindowOf(*band, window)) return FailWith(err, "Fail to read data");
    range.Set(Share(i, numBands));
    saver.WriteBandTag();
    const int bandLevel = ClampLevel(level, window, band->GetXTileSize(), band->GetYTileSize());
    if (!CompressBand(*band, saver, window, bandLevel, quality, thread, ticks, err)) return 0;
    CopyBandFields(saver, *band, window);
  }
  if (thread) thread->CallbackPercent(100.0);
  if (!Finish(saver, out, err)) return 0;
  compressionTime_.Format("%.8lf sec", static_cast<double>(ticks) / CLOCKS_PER_SEC);
  return 1;
}

int XRSFile2ZRM::SaveZRMBandImageSharpen(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode,
                                         XString& err, XThread* thread) {
  if (!file_) return 0;
  const std::vector<ZRMBand*> bands = zrk::ListBands(*file_, file_->GetNumOfBands());
  if (bands.size() < 3) return FailWith(err, "Number of selected bands must be more than 3");
  for (const ZRMBand* band : bands) {
    if (!band) return 0;
    if (!IsSharpened(*band)) return FailWith(err, "All bands must be ZRMBandImageSharpen");
  }
  XFile out;
  XRSFileSaver saver;
  if (!Begin(path, out, saver, err)) return 0;
  const zrk::BodyRequest request = {{x0, x1, y0, y1}, level, compressionMode, thread, 0, 100};
  std::int64_t end = saver.GetDataEnd();
  std::vector<zrk::BandBody> bodies;
  if (!zrk::WriteBodies(out, end, bands, request, bodies, err)) return 0;
  saver.SetDataEnd(end);
  for (std::size_t i = 0; i < bands.size(); ++i) {
    saver.WriteBandTag();
    zrk::RecordBody(saver, *bands[i], bodies[i]);
    CopyBandFields(saver, *bands[i], request.window);
  }
  return Finish(saver, out, err);
}
