// The public face of a native save. Each call copies what is common to all saves into a request, adds what it was asked
// for, and hands the request to `NativeSave`, which does the work. Nothing of a save is kept here but the time that
// compressing took.

#include "XRSFile2ZRM.h"

#include "core/native/BandBodies.h"
#include "writers/NativeSave.h"
#include "writers/Sharpening.h"
#include "XRSFile.h"

struct XRSFile2ZRM::State {
  /// What every save is asked for.
  zrk::NativeRequest request;
  XString compressionTime;

  zrk::NativeRequest MakeRequest(const XString& path, int level, const zrk::Window& window, XThread* thread) const;
};

zrk::NativeRequest XRSFile2ZRM::State::MakeRequest(const XString& path, int level, const zrk::Window& window,
                                                   XThread* thread) const {
  zrk::NativeRequest asked = request;
  asked.path = path;
  asked.level = level;
  asked.window = window;
  asked.thread = thread;
  return asked;
}

XRSFile2ZRM::XRSFile2ZRM() : state_(std::make_unique<State>()) {}
XRSFile2ZRM::~XRSFile2ZRM() = default;

void XRSFile2ZRM::SetXRSFile(XRSFile* file) {
  state_->request.dataset = file;
}

void XRSFile2ZRM::SetCryptoVaildationInfo(const XString& info) {
  state_->request.cryptoVaildationInfo = info;
}

void XRSFile2ZRM::SetWriterFlags(int first, int second) {
  state_->request.firstFlag = first;
  state_->request.secondFlag = second;
}

const XString& XRSFile2ZRM::GetCompressionTime() const {
  return state_->compressionTime;
}

/// A mode that is not a plain one asks for compression, also of the outputs of a sharpening. The class of the first
/// band decides between the other two ways, and an empty path goes the general one, which refuses it.
int XRSFile2ZRM::Save(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode, double quality,
                      XString& err, XThread* thread) {
  if (!zrk::IsPlainMode(compressionMode)) {
    return SaveZRMBandGeneralComp(path, level, x0, x1, y0, y1, quality, err, thread);
  }
  const ZRMBand* first = state_->request.dataset ? state_->request.dataset->GetBandAt(0) : nullptr;
  if (first && !path.IsEmpty() && zrk::IsSharpened(*first)) {
    return SaveZRMBandImageSharpen(path, level, x0, x1, y0, y1, compressionMode, err, thread);
  }
  return SaveZRMBandGeneral(path, level, x0, x1, y0, y1, compressionMode, err, thread);
}

int XRSFile2ZRM::SaveZRMBandGeneral(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode,
                                    XString& err, XThread* thread) {
  zrk::NativeRequest request = state_->MakeRequest(path, level, {x0, x1, y0, y1}, thread);
  request.mode = compressionMode;
  return zrk::NativeSave(request, err).SaveBands();
}

int XRSFile2ZRM::SaveZRMBandGeneralComp(XString path, int level, int x0, int x1, int y0, int y1, double quality,
                                        XString& err, XThread* thread) {
  zrk::NativeRequest request = state_->MakeRequest(path, level, {x0, x1, y0, y1}, thread);
  request.maxError = quality;
  zrk::NativeSave save(request, err);
  if (!save.SaveCompressed()) return 0;
  // The time is that of the processor. It is told of a save that succeeded, and stays as it was otherwise.
  state_->compressionTime.Format("%.8lf sec", static_cast<double>(save.GetTicks()) / CLOCKS_PER_SEC);
  return 1;
}

int XRSFile2ZRM::SaveZRMBandImageSharpen(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode,
                                         XString& err, XThread* thread) {
  zrk::NativeRequest request = state_->MakeRequest(path, level, {x0, x1, y0, y1}, thread);
  request.mode = compressionMode;
  return zrk::NativeSave(request, err).SaveSharpened();
}
