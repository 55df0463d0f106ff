// A native raster file is a head, the bodies of its bands, and a text that tells all that is known of them. The head
// says last where the text begins, and so that the file is whole. What a save asks for is checked before the file is
// begun, so that a request that can't be met touches nothing.

#include "writers/NativeSave.h"

#include "base/Failure.h"
#include "base/Fence.h"
#include "base/PercentRange.h"
#include "base/ThreadResult.h"
#include "core/native/BandBodies.h"
#include "core/native/SaverGroups.h"
#include "writers/BandList.h"
#include "writers/OutputPath.h"
#include "writers/Sharpening.h"
#include "XFile.h"
#include "XRSFile.h"

#include <algorithm>

namespace zrk {
namespace {

/// The sensor model is that of the window: where that is not the whole band, its position counts.
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

/// The percentages that a band of a compressed save takes. The last leaves room for what follows.
struct Share {
  Share(int band, int numBands) : start(100 * band / numBands), end(100 * (band + 1) / numBands) {
    if (band == numBands - 1) end = std::max(end - 5, start);
  }
  int start;
  int end;
};

}  // namespace

bool NativeSave::Fail(const char* sentence) {
  return FailWith(err_, sentence);
}

bool NativeSave::Check(PyramidResult result) {
  wasStopped_ = result == PyramidResult::kStopped;
  return result == PyramidResult::kDone || (!wasStopped_ && Fail(GetSentence(result)));
}

int NativeSave::SaveBands() {
  return Run(&NativeSave::HasSource, &NativeSave::WriteBands);
}

int NativeSave::SaveCompressed() {
  return Run(&NativeSave::HasSource, &NativeSave::WriteCompressedBands);
}

int NativeSave::SaveSharpened() {
  return Run(&NativeSave::AreSharpened, &NativeSave::WriteSharpenedBands);
}

/// What there is of a file whose bodies were not all written stays. One that could not be brought to the medium whole
/// is not to be trusted and goes away.
int NativeSave::Run(Step check, Step writeBands) {
  const bool isDone = Fenced(err_, [&] {
    if (!(this->*check)() || !Begin()) return false;
    const bool isWritten = Fenced(err_, [&] { return (this->*writeBands)(); });
    if (!isWritten) output_.Leave();
    return isWritten && Finish();
  });
  return TellResult(request_.thread, isDone, wasStopped_, err_);
}

bool NativeSave::HasSource() {
  XRSFile* const dataset = request_.dataset;
  if (request_.path.IsEmpty() || !dataset) return false;
  bands_ = ListBands(*dataset, dataset->GetNumOfBands());
  return (!bands_.empty() && bands_.front()) || Fail("No Band found");
}

bool NativeSave::AreSharpened() {
  if (!request_.dataset) return false;
  bands_ = ListBands(*request_.dataset, request_.dataset->GetNumOfBands());
  if (bands_.size() < 3) return Fail("Number of selected bands must be more than 3");
  for (const ZRMBand* band : bands_) {
    if (!band) return false;
    if (!IsSharpened(*band)) return Fail("All bands must be ZRMBandImageSharpen");
  }
  return !request_.path.IsEmpty();
}

bool NativeSave::HasWindow() const {
  return std::ranges::all_of(bands_, [this](const ZRMBand* band) {
    return band && request_.window.IsInside(band->GetXSize(), band->GetYSize());
  });
}

bool NativeSave::Begin() {
  if (!HasWindow()) return Fail(GetSentence(PyramidResult::kReadFailed));
  if (!MayReplace(*request_.dataset, request_.path) || !output_.BeginOrFill(request_.path)) {
    return Fail("Cannot open file to write");
  }
  saver_.SetFileOutputData(&output_.File());
  saver_.SetCryptoVaildationInfo(request_.cryptoVaildationInfo);
  saver_.SetWriterFlags(request_.firstFlag, request_.secondFlag);
  saver_.WriteInitTags();
  return true;
}

void NativeSave::RecordBand(ZRMBand& band, const BandBody& body) {
  const Window& window = request_.window;
  saver_.WriteBandTag();
  RecordBody(saver_, band, body);
  saver_.CopyBandBasicInfo(&band);
  saver_.CopyBandCoord(&band, window.x0, window.x1, window.y0, window.y1);
  CopyDescription(saver_, band);
  CopySensorModel(saver_, band, window);
  band.CleanupMemory(1, 0);
  saver_.SetDataEnd(body.offset + body.size);
  ticks_ += body.ticks;
}

bool NativeSave::WriteBands() {
  const int share = 100 / static_cast<int>(bands_.size());
  BodyRequest how = {request_.window, request_.level, request_.mode, request_.maxError, request_.thread, 0, share};
  for (ZRMBand* band : bands_) {
    std::vector<BandBody> bodies;
    std::int64_t end = saver_.GetDataEnd();
    if (!Check(WriteBodies(output_.File(), end, {band}, how, bodies))) return false;
    RecordBand(*band, bodies.front());
    how.percentStart += share;
  }
  return true;
}

bool NativeSave::WriteCompressedBands() {
  const auto numBands = static_cast<int>(bands_.size());
  const BodyRequest how = {request_.window, request_.level, request_.mode, request_.maxError, request_.thread};
  PercentRange range(request_.thread);
  for (int i = 0; i < numBands; ++i) {
    ZRMBand* const band = bands_[static_cast<std::size_t>(i)];
    const Share share(i, numBands);
    range.Set(share.start, share.end);
    BandBody body;
    std::int64_t end = saver_.GetDataEnd();
    if (!Check(WriteCompressedBody(output_.File(), end, band, how, body))) return false;
    RecordBand(*band, body);
  }
  if (request_.thread) request_.thread->CallbackPercent(100.0);
  return true;
}

bool NativeSave::WriteSharpenedBands() {
  const BodyRequest how = {request_.window, request_.level, request_.mode, request_.maxError, request_.thread};
  std::vector<BandBody> bodies;
  std::int64_t end = saver_.GetDataEnd();
  if (!Check(WriteBodies(output_.File(), end, bands_, how, bodies))) return false;
  for (std::size_t i = 0; i < bands_.size(); ++i) RecordBand(*bands_[i], bodies[i]);
  return true;
}

bool NativeSave::Finish() {
  CopyDataset(saver_, *request_.dataset);
  const bool isPublished = saver_.Save() && output_.Publish();
  return isPublished || Fail("Fail to write Data");
}

}  // namespace zrk
