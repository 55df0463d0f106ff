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
  state_->compressionTime.Format("%.8lf sec", static_cast<double>(save.GetTicks()) / CLOCKS_PER_SEC);
  return 1;
}

int XRSFile2ZRM::SaveZRMBandImageSharpen(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode,
                                         XString& err, XThread* thread) {
  zrk::NativeRequest request = state_->MakeRequest(path, level, {x0, x1, y0, y1}, thread);
  request.mode = compressionMode;
  return zrk::NativeSave(request, err).SaveSharpened();
}
