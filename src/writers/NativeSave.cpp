// A native raster file is a header, the bodies of its bands, and a text that tells all that is known of them. The
// header says last where the text begins, and by that it says that the file is whole.
//
// All three ways to save go through `Run`: check, begin, write the bodies, finish. What a save asks for is checked
// before the file is begun, so that a request that can't be met touches nothing. A band is recorded in the text as soon
// as its body is written, because the text needs the offset, the size and the statistics of the body. `NewFile` sees to
// it that a good file of the name stays until the new one is whole. One thread runs a save; the building of a body
// takes further threads by itself.

#include "writers/NativeSave.h"

#include "base/Failure.h"
#include "base/Fence.h"
#include "base/PercentRange.h"
#include "base/ThreadResult.h"
#include "core/native/BandBodies.h"
#include "core/native/SaverGroups.h"
#include "writers/BandList.h"
#include "writers/Sharpening.h"
#include "XFile.h"
#include "XRSFile.h"

#include <algorithm>

namespace zrk {
namespace {

/// The sensor model of the file is that of the window. A window smaller than the band begins at some pixel of it, and
/// that position is added to the offsets of the model.
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

/// The percentages that a band of a compressed save takes. The last band stops short of 100, because the text is still
/// to be written when its body is done.
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

/// A stop is no failure and has no sentence. The flag tells the two apart when the thread is told how the save ended.
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

/// Of a file whose bodies were not all written, what there is stays for whoever wants to look at it. A file that is
/// complete and could not be brought to the medium is not to be trusted and goes away with the object. The inner fence
/// serves that difference: what a body throws must also leave the file.
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

/// After the dataset the count of the bands is looked at, then their kind, and a missing path, which has no sentence,
/// last. Callers see this order in the sentence that they get.
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

/// The window has to lie in every band, since bands of a dataset need not be of one size.
bool NativeSave::HasWindow() const {
  return std::ranges::all_of(bands_, [this](const ZRMBand* band) {
    return band && request_.window.IsInside(band->GetXSize(), band->GetYSize());
  });
}

/// The window is looked at before the old file is, so that a window that can't be read leaves no trace on the disk. The
/// saver writes a header without a text when it gets the file.
bool NativeSave::Begin() {
  if (!HasWindow()) return Fail(GetSentence(PyramidResult::kReadFailed));
  replaced_ = ReplacedImage(request_.path);
  if (!MayReplace(*request_.dataset, request_.path) || !output_.BeginOrFill(request_.path)) {
    return Fail("Cannot open file to write");
  }
  saver_.SetFileOutputData(&output_.File());
  saver_.SetCryptoVaildationInfo(request_.cryptoVaildationInfo);
  saver_.SetWriterFlags(request_.firstFlag, request_.secondFlag);
  saver_.WriteInitTags();
  return true;
}

/// The body is recorded first, and its statistics with it: they are those of the window, while all other fields are
/// copied from the band. Buffers of the band are given back where memory is short, since its pixels are done with. The
/// end of the data moves last and makes room for the next body.
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

/// One band is built at a time, so that the memory of a save does not grow with the count of its bands. Each gets the
/// same whole number of percentages.
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

/// The outputs of a sharpening are computed together. Their plain bodies are therefore built together too, in one pass
/// over the window.
bool NativeSave::WriteSharpenedBands() {
  const BodyRequest how = {request_.window, request_.level, request_.mode, request_.maxError, request_.thread};
  std::vector<BandBody> bodies;
  std::int64_t end = saver_.GetDataEnd();
  if (!Check(WriteBodies(output_.File(), end, bands_, how, bodies))) return false;
  for (std::size_t i = 0; i < bands_.size(); ++i) RecordBand(*bands_[i], bodies[i]);
  return true;
}

/// The text names the bands and then the dataset. `Save` writes it and syncs; only after that does the file take its
/// name.
bool NativeSave::Finish() {
  CopyDataset(saver_, *request_.dataset);
  if (!saver_.Save() || !output_.Publish()) return Fail("Fail to write Data");
  replaced_.RemoveLevelFile();
  return true;
}

}  // namespace zrk
