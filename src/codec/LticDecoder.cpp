// MrSID files through the decoding library of their makers, by its documented interface in C. A scene is a window of
// the image at a magnification; all channels of it are decoded at once.

#include "base/ReadError.h"
#include "codec/SharedLibrary.h"
#include "codec/WaveletCodec.h"
#include "XThread.h"

#include <utility>

namespace zrk {

namespace {

using LticImageHandle = void*;

constexpr std::uint32_t kLticSuccess = 0;

struct LticFunctions {
  std::uint32_t (*open)(LticImageHandle* image, const char* path);
  std::uint32_t (*close)(LticImageHandle image);
  std::uint32_t (*getWidth)(LticImageHandle image);
  std::uint32_t (*getHeight)(LticImageHandle image);
  std::uint16_t (*getNumBands)(LticImageHandle image);
  int (*getDataType)(LticImageHandle image);
  double (*getX)(LticImageHandle image);
  double (*getY)(LticImageHandle image);
  double (*getXResolution)(LticImageHandle image);
  double (*getYResolution)(LticImageHandle image);
  double (*getXRotation)(LticImageHandle image);
  double (*getYRotation)(LticImageHandle image);
  std::uint32_t (*decode)(LticImageHandle image, double left, double top, double width, double height,
                          double magnification, void** planes);
};

/// The library numbers types of samples from 1 to 8, as we do.
WaveletInfo DescribeLtic(const LticFunctions& functions, LticImageHandle image) {
  WaveletInfo info;
  info.width = functions.getWidth(image);
  info.height = functions.getHeight(image);
  info.numChannels = functions.getNumBands(image);
  info.dataType = functions.getDataType(image);
  info.x = functions.getX(image);
  info.y = functions.getY(image);
  info.xByColumn = functions.getXResolution(image);
  info.yByRow = functions.getYResolution(image);
  info.xByRow = functions.getXRotation(image);
  info.yByColumn = functions.getYRotation(image);
  return info;
}

class LticImage : public WaveletImage {
 public:
  LticImage(const LticFunctions& functions, LticImageHandle image) : functions_(functions), image_(image) {
    info_ = DescribeLtic(functions, image);
  }
  ~LticImage() override { functions_.close(image_); }
  LticImage(const LticImage&) = delete;
  LticImage& operator=(const LticImage&) = delete;

  /// The library decodes all channels of a file, so that a view has to ask for all of them.
  bool Read(const WaveletView& view, void* const* planes, const int* cancel) override {
    if (XfnIsStopRequested(cancel)) return FailRead(kReadStopped);
    const double magnification = 1.0 / static_cast<double>(std::int64_t{1} << view.level);
    const std::uint32_t status = functions_.decode(image_, view.left, view.top, view.width, view.height, magnification,
                                                   const_cast<void**>(planes));
    if (status == kLticSuccess) return true;
    XString sentence;
    sentence.Format("The MrSID library can't decode the window (its status %u)", status);
    return FailRead(sentence);
  }

 private:
  const LticFunctions& functions_;  // of a library that stays loaded
  LticImageHandle image_;
};

class LticDecoder : public WaveletDecoder {
 public:
  explicit LticDecoder(std::shared_ptr<const SharedLibrary> library) : library_(std::move(library)) {}

  bool Bind(XString& reason) {
    const SharedLibrary& library = *library_;
    LticFunctions& f = functions_;
    return library.Bind("ltic_openMrSIDImageFile", f.open, reason) &&
           library.Bind("ltic_closeImage", f.close, reason) && library.Bind("ltic_getWidth", f.getWidth, reason) &&
           library.Bind("ltic_getHeight", f.getHeight, reason) &&
           library.Bind("ltic_getNumBands", f.getNumBands, reason) &&
           library.Bind("ltic_getDataType", f.getDataType, reason) &&
           library.Bind("ltic_getGeoXOrigin", f.getX, reason) && library.Bind("ltic_getGeoYOrigin", f.getY, reason) &&
           library.Bind("ltic_getGeoXResolution", f.getXResolution, reason) &&
           library.Bind("ltic_getGeoYResolution", f.getYResolution, reason) &&
           library.Bind("ltic_getGeoXRotation", f.getXRotation, reason) &&
           library.Bind("ltic_getGeoYRotation", f.getYRotation, reason) &&
           library.Bind("ltic_decode", f.decode, reason);
  }

  std::unique_ptr<WaveletImage> Open(const XString& path, bool, XString& reason) const override {
    LticImageHandle image = nullptr;
    const std::uint32_t status = functions_.open(&image, path.GetText());
    if (status == kLticSuccess && image) return std::make_unique<LticImage>(functions_, image);
    reason.Format("The MrSID library refuses the file (its status %u)", status);
    return nullptr;
  }

  XString GetPlace() const override { return library_->GetPath(); }

 private:
  std::shared_ptr<const SharedLibrary> library_;
  LticFunctions functions_{};
};

std::shared_ptr<const WaveletDecoder> BindLtic(std::shared_ptr<const SharedLibrary> library, XString& reason) {
  auto decoder = std::make_shared<LticDecoder>(std::move(library));
  return decoder->Bind(reason) ? std::move(decoder) : nullptr;
}

}  // namespace

constinit const WaveletCodec kMrSidCodec = {
    .library = "libltidsdk.so",
    .driver = "MrSID",
    .absent = "MrSID files need the MrSID Decode SDK (libltidsdk.so) or GDAL's MrSID plug-in; neither was found.",
    .isCentred = true,
    .bind = &BindLtic};

}  // namespace zrk
