#include "XRSFile2Tiff.h"

#include "base/Failure.h"
#include "base/Fence.h"
#include "base/ThreadResult.h"
#include "writers/NewTiff.h"
#include "writers/Sharpening.h"
#include "writers/TiffJob.h"
#include "writers/TiffPixels.h"
#include "writers/TiffSentences.h"
#include "writers/TiffTagWriter.h"
#include "XRSFile.h"
#include "XWorldFile.h"

using zrk::FailWith;

using zrk::TiffPixels;

struct XRSFile2Tiff::State {
  zrk::TiffJob dataset;  ///< what was recorded of the dataset, without a window
  zrk::TiffJob job;      ///< of the save under way
  std::unique_ptr<zrk::NewTiff> tiff;
  bool wasStopped = false;

  int Save(const XString& path, const zrk::Window& window, bool isSharpened, XString& err, XThread* thread);
  bool IsPossible(const zrk::Window& window, XString& err);
  bool Open(const XString& path);
  bool SetTags(XString& err);
  bool WritePixels(bool isSharpened, XString& err, XThread* thread);
  /// Writes the pixels in one of the ways there are; false where there is no file for them.
  bool Write(bool (TiffPixels::*way)(), XString& err, XThread* thread);
  bool WriteWorldFile(const XString& path) const;
};

int XRSFile2Tiff::State::Save(const XString& path, const zrk::Window& window, bool isSharpened, XString& err,
                              XThread* thread) {
  wasStopped = false;
  const bool isSaved = zrk::Fenced(err, [&] {
    job = dataset;
    job.path = path;
    return IsPossible(window, err) && Open(path) && SetTags(err) && WritePixels(isSharpened, err, thread) &&
           (tiff->Publish() || FailWith(err, zrk::kWriteFailed));
  });
  tiff.reset();
  constexpr int kExtension = 3;
  const XString worldFile = path.Left(path.GetLength() - kExtension) + "tfw";
  if (isSaved && !(worldFile == path)) WriteWorldFile(worldFile);
  return zrk::TellResult(thread, isSaved, wasStopped, err);
}

/// What comes before a read fails is checked first, for a window of one pixel where the one that is asked for is none.
bool XRSFile2Tiff::State::IsPossible(const zrk::Window& window, XString& err) {
  const ZRMBand* first = job.FirstBand();
  if (!first) return false;
  const bool isWindow = window.IsInside(first->GetXSize(), first->GetYSize());
  job.SetWindow(isWindow ? window : zrk::Window{}, *first);
  if (!HasRoom(job, err) || !AreBandsAlike(job, err)) return false;
  if (!isWindow) return FailWith(err, zrk::kReadFailed);
  return job.numBands <= UINT16_MAX || FailWith(err, zrk::kWriteFailed);
}

bool XRSFile2Tiff::State::Open(const XString& path) {
  tiff.reset();
  if (!job.dataset) return false;
  job.path = path;
  tiff = zrk::NewTiff::Begin(job);
  return tiff != nullptr;
}

/// The place in the world fails no save.
bool XRSFile2Tiff::State::SetTags(XString& err) {
  if (!SetImageTags(tiff->Output().Get(), job)) return FailWith(err, zrk::kWriteFailed);
  SetGeoTags(tiff->Output().Get(), job);
  return true;
}

bool XRSFile2Tiff::State::WritePixels(bool isSharpened, XString& err, XThread* thread) {
  if (job.IsPalette()) return Write(&TiffPixels::WriteClasses, err, thread);
  if (job.IsColour()) return Write(&TiffPixels::WriteJoined, err, thread);
  return Write(isSharpened ? &TiffPixels::WriteSharpenedPlanes : &TiffPixels::WritePlanes, err, thread);
}

bool XRSFile2Tiff::State::Write(bool (TiffPixels::*way)(), XString& err, XThread* thread) {
  if (!tiff || !job.FirstBand()) return false;
  TiffPixels pixels(job, tiff->Output(), thread, err);
  const bool isWritten = zrk::Fenced(err, [&] { return (pixels.*way)(); });
  wasStopped = pixels.WasStopped();
  return isWritten;
}

/// The corner is that of the whole image, also for a window of it.
bool XRSFile2Tiff::State::WriteWorldFile(const XString& path) const {
  const XSpatialReference* system = dataset.dataset ? dataset.dataset->GetSR() : nullptr;
  if (!system || system->IsEmpty()) return false;
  const ZRMBand& first = *dataset.FirstBand();
  return XWorldFile::Write(path, dataset.dataset->GetXPixelSize(), dataset.dataset->GetYPixelSize(), first.GetULX(),
                           first.GetULY());
}

XRSFile2Tiff::XRSFile2Tiff() : state_(std::make_unique<State>()) {}
XRSFile2Tiff::~XRSFile2Tiff() = default;

void XRSFile2Tiff::SetXRSFile(XRSFile* file) {
  if (!file) return;
  state_->dataset.SetDataset(*file);
  state_->job = state_->dataset;
}

int XRSFile2Tiff::Save(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread) {
  if (path.IsEmpty() || !state_->dataset.dataset) return zrk::TellResult(thread, false, false, err);
  const ZRMBand* first = state_->dataset.FirstBand();
  if (!first) return zrk::TellResult(thread, FailWith(err, zrk::kNoBandFound), false, err);
  if (zrk::IsSharpened(*first)) return SaveZRMBandImageSharpen(path, x0, x1, y0, y1, err, thread);
  return SaveZRMBandGeneral(path, x0, x1, y0, y1, err, thread);
}

int XRSFile2Tiff::SaveZRMBandGeneral(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread) {
  return state_->Save(path, {x0, x1, y0, y1}, false, err, thread);
}

int XRSFile2Tiff::SaveZRMBandImageSharpen(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread) {
  return state_->Save(path, {x0, x1, y0, y1}, true, err, thread);
}

int XRSFile2Tiff::IsDiskSpaceEnough2(XString& err) {
  return HasRoom(state_->job, err);
}

int XRSFile2Tiff::CheckBandInfo(XString& err) {
  return AreBandsAlike(state_->job, err);
}

int XRSFile2Tiff::OpenOutputFile(XString path, XString&) {
  return state_->Open(path);
}

void XRSFile2Tiff::DeleteFileOutput() {
  if (state_->tiff) state_->tiff->Publish();
  state_->tiff.reset();
}

int XRSFile2Tiff::SaveTIFFTag(XString& err) {
  if (!state_->tiff) return 0;
  return SetImageTags(state_->tiff->Output().Get(), state_->job) ? 1 : FailWith(err, zrk::kWriteFailed);
}

int XRSFile2Tiff::SaveGeoTIFFTag(XString&) {
  return state_->tiff && SetGeoTags(state_->tiff->Output().Get(), state_->job);
}

int XRSFile2Tiff::DoExportToBIP(XThread* thread, XString& err) {
  return state_->Write(&TiffPixels::WriteJoined, err, thread);
}

int XRSFile2Tiff::DoExportToBSQ(XThread* thread, XString& err) {
  return state_->Write(&TiffPixels::WritePlanes, err, thread);
}

int XRSFile2Tiff::DoExportToBSQ_ImageSharpen(XThread* thread, XString& err) {
  return state_->Write(&TiffPixels::WriteSharpenedPlanes, err, thread);
}

int XRSFile2Tiff::DoExportToPalette(XThread* thread, XString& err) {
  return state_->job.IsPalette() && state_->Write(&TiffPixels::WriteClasses, err, thread);
}

int XRSFile2Tiff::WriteWorldFile(XString path, XString&) {
  return state_->WriteWorldFile(path);
}
