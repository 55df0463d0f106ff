// A save of a TIFF file has steps: look whether it can be done, open the output, set the tags, write the pixels, give
// the file its name. `Save` runs them in this order. Callers may also run them one by one, through the calls at the end
// of this file; each of those does one step on the same state.
//
// `TiffJob` has what is asked for, `NewTiff` the file, `TiffTagWriter` the tags and `TiffPixels` the samples. Here is
// only the order of the steps, and which sentence a caller gets when one of them fails. The file takes its name last.
// Whatever fails before leaves the old file of the name as it was. A world file follows a file that is saved; its
// failure fails no save.

#include "XRSFile2Tiff.h"

#include "base/Failure.h"
#include "base/Fence.h"
#include "base/ThreadResult.h"
#include "writers/IndexedDataset.h"
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
  zrk::TiffJob dataset;         ///< what was recorded of the dataset, without a window
  zrk::TiffJob job;             ///< of the save under way
  zrk::IndexedDataset indexed;  ///< what is written in place of a dataset of one palette
  std::unique_ptr<zrk::NewTiff> tiff;
  bool wasStopped = false;

  int Save(const XString& path, const zrk::Window& window, bool isSharpened, XString& err, XThread* thread);
  bool TakePalette(XString& err);
  void TakeClassColours();
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
    return TakePalette(err) && IsPossible(window, err) && Open(path) && SetTags(err) &&
           WritePixels(isSharpened, err, thread) && (tiff->Publish() || FailWith(err, zrk::kWriteFailed));
  });
  tiff.reset();
  // The last three characters are the extension, whatever they are. A path that ends in "tfw" has no world file, which
  // would replace the image.
  constexpr int kExtension = 3;
  const XString worldFile = path.Left(path.GetLength() - kExtension) + "tfw";
  if (isSaved && !(worldFile == path)) WriteWorldFile(worldFile);
  return zrk::TellResult(thread, isSaved, wasStopped, err);
}

/// The colours of the one band of an exact save, for samples that a TIFF file has colours for.
void XRSFile2Tiff::State::TakeClassColours() {
  if (job.HasClasses() && !job.IsPalette()) job.colours = zrk::ColoursOfClasses(*job.FirstBand());
}

/// Exact saves keep a palette where all its colours are written: they write the numbers of the entries instead. They
/// keep the colours of classes too.
bool XRSFile2Tiff::State::TakePalette(XString& err) {
  indexed = {};
  if (!dataset.dataset || dataset.dataset->GetReadPolicy() != kReadExact) return true;
  if (!zrk::MakeIndexedDataset(*dataset.dataset, indexed, err)) return false;
  if (!indexed.file) {
    TakeClassColours();
    return true;
  }
  job.SetDataset(*indexed.file);
  job.colours = indexed.colours;
  return true;
}

/// The checks go in the order of the work, so that a caller hears of the first thing that would have gone wrong. A
/// window outside the bands is such a thing, but only when the first block is read: room and likeness come before it,
/// and are checked for a window of one pixel. A TIFF file counts its bands in 16 bits.
bool XRSFile2Tiff::State::IsPossible(const zrk::Window& window, XString& err) {
  const ZRMBand* first = job.FirstBand();
  if (!first) return false;
  const bool isWindow = window.IsInside(first->GetXSize(), first->GetYSize());
  job.SetWindow(isWindow ? window : zrk::Window{}, *first);
  if (!HasRoom(job, err) || !AreBandsAlike(job, err)) return false;
  if (!isWindow) return FailWith(err, zrk::kReadFailed);
  return job.numBands <= UINT16_MAX || FailWith(err, zrk::kWriteFailed);
}

/// An output that is still open is given up, and with it what was written of it.
bool XRSFile2Tiff::State::Open(const XString& path) {
  tiff.reset();
  if (!job.dataset) return false;
  job.path = path;
  tiff = zrk::NewTiff::Begin(job);
  return tiff != nullptr;
}

/// Under the compatible policy the georeference fails no save.
bool XRSFile2Tiff::State::SetTags(XString& err) {
  TIFF* const output = tiff->Output().Get();
  if (!SetImageTags(output, job)) return FailWith(err, zrk::kWriteFailed);
  if (job.dataset->GetReadPolicy() != kReadExact) {
    SetGeoTags(output, job);
    return true;
  }
  return SetExactTags(output, job, err) && SetExactGeoTags(output, job, err);
}

/// The shape of the file is a matter of its bands. Whether they are sharpened only matters where planes are written one
/// by one.
bool XRSFile2Tiff::State::WritePixels(bool isSharpened, XString& err, XThread* thread) {
  if (job.IsPalette()) return Write(&TiffPixels::WriteClasses, err, thread);
  if (job.IsColour()) return Write(&TiffPixels::WriteJoined, err, thread);
  return Write(isSharpened ? &TiffPixels::WriteSharpenedPlanes : &TiffPixels::WritePlanes, err, thread);
}

/// Every way has a fence of its own, because the steps can also be run one by one, outside the fence of `Save`.
bool XRSFile2Tiff::State::Write(bool (TiffPixels::*way)(), XString& err, XThread* thread) {
  if (!tiff || !job.FirstBand()) return false;
  TiffPixels pixels(job, tiff->Output(), thread, err);
  const bool isWritten = zrk::Fenced(err, [&] { return (pixels.*way)(); });
  wasStopped = pixels.WasStopped();
  return isWritten;
}

/// The corner is that of the whole image, also for a window of it. An exact save tells the transform of its window.
bool XRSFile2Tiff::State::WriteWorldFile(const XString& path) const {
  if (dataset.dataset && dataset.dataset->GetReadPolicy() == kReadExact) {
    if (job.FirstBand()->GetCoordinateKind() != kCoordinateWorld) return false;
    double transform[6];
    job.GetTransform(transform);
    return XWorldFile::Write(path, transform);
  }
  const XSpatialReference* system = dataset.dataset ? dataset.dataset->GetSR() : nullptr;
  if (!system || system->IsEmpty()) return false;
  const ZRMBand& first = *dataset.FirstBand();
  return XWorldFile::Write(path, dataset.dataset->GetXPixelSize(), dataset.dataset->GetYPixelSize(), first.GetULX(),
                           first.GetULY());
}

XRSFile2Tiff::XRSFile2Tiff() : state_(std::make_unique<State>()) {}
XRSFile2Tiff::~XRSFile2Tiff() = default;

/// The job takes over the dataset as well, because the single steps can be called without a `Save` before them.
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

/// Only a file that was written to its end takes its name here. Anything less is removed.
void XRSFile2Tiff::DeleteFileOutput() {
  if (state_->tiff) state_->tiff->Publish();
  state_->tiff.reset();
}

int XRSFile2Tiff::SaveTIFFTag(XString& err) {
  if (!state_->tiff) return 0;
  if (!state_->job.colours) state_->TakeClassColours();
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
  if (!state_->job.HasClasses()) return 0;
  return state_->Write(state_->job.IsPalette() ? &TiffPixels::WriteClasses : &TiffPixels::WritePlanes, err, thread);
}

int XRSFile2Tiff::WriteWorldFile(XString path, XString&) {
  return state_->WriteWorldFile(path);
}
