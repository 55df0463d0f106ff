// ECW files through the library of their makers, by five functions of its documented interface in C. A view is an open
// file. It is set to a window and a size, and then gives line after line; the library does the scaling.
//
// The library has to be told once that it is in use, if it has a function for that. From version 5 on its record about
// a file has more fields, among them rotation and type of samples. Lines always come as bytes.

#include "base/ReadError.h"
#include "codec/SharedLibrary.h"
#include "codec/WaveletCodec.h"
#include "XDataType.h"
#include "XThread.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

namespace zrk {

namespace {

struct NcsView;

/// What the library tells of a file.
struct NcsFileInfo {
  std::uint32_t sizeX;
  std::uint32_t sizeY;
  std::uint16_t bands;
  std::uint16_t compressionRate;
  int cellUnits;
  double cellIncrementX;
  double cellIncrementY;
  double originX;
  double originY;
  const char* datum;
  const char* projection;
  // Only from version 5 on:
  double clockwiseDegrees;
  int colourSpace;
  int cellType;
};
static_assert(offsetof(NcsFileInfo, cellIncrementX) == 16 && offsetof(NcsFileInfo, clockwiseDegrees) == 64);

constexpr int kNcsSuccess = 0;
constexpr int kNcsBytes = 0;  // the type of samples

struct NcsFunctions {
  int (*open)(const char* path, NcsView** view, int (*refresh)(NcsView*));
  int (*getInfo)(NcsView* view, NcsFileInfo** info);
  int (*setView)(NcsView* view, std::uint32_t numBands, std::uint32_t* bands, std::uint32_t left, std::uint32_t top,
                 std::uint32_t right, std::uint32_t bottom, std::uint32_t width, std::uint32_t height);
  int (*readLine)(NcsView* view, unsigned char** lines);
  int (*close)(NcsView* view);
  bool tellsTypes;
};

/// A path that the library can't take for the address of a server.
std::string PathForNcs(const XString& path) {
  return path.GetAt(0) == '/' ? path.AsStdString() : "./" + path.AsStdString();
}

WaveletInfo DescribeNcs(const NcsFileInfo& file, bool tellsTypes) {
  WaveletInfo info;
  info.width = file.sizeX;
  info.height = file.sizeY;
  info.numChannels = file.bands;
  info.dataType = kPint08;
  info.x = file.originX;
  info.y = file.originY;
  const double width = std::abs(file.cellIncrementX), height = std::abs(file.cellIncrementY);
  const double angle = tellsTypes ? file.clockwiseDegrees * std::numbers::pi / 180.0 : 0.0;
  info.xByColumn = width * std::cos(angle);
  info.yByColumn = angle == 0.0 ? 0.0 : -width * std::sin(angle);
  info.xByRow = angle == 0.0 ? 0.0 : -height * std::sin(angle);
  info.yByRow = -height * std::cos(angle);
  info.datum = file.datum;
  info.projection = file.projection;
  return info;
}

class NcsImage : public WaveletImage {
 public:
  NcsImage(const NcsFunctions& functions, NcsView* view) : functions_(functions), view_(view) {}
  ~NcsImage() override { functions_.close(view_); }
  NcsImage(const NcsImage&) = delete;
  NcsImage& operator=(const NcsImage&) = delete;

  bool Describe(bool isExact, XString& reason) {
    NcsFileInfo* file = nullptr;
    const int status = functions_.getInfo(view_, &file);
    if (status != kNcsSuccess || !file) {
      reason.Format("The ECW library tells nothing of the file (its error %d)", status);
      return false;
    }
    if (isExact && functions_.tellsTypes && file->cellType != kNcsBytes) {
      reason = "The samples have more than 8 bits, which only GDAL's ECW plug-in gives whole";
      return false;
    }
    info_ = DescribeNcs(*file, functions_.tellsTypes);
    return true;
  }

  bool Read(const WaveletView& view, void* const* planes, const int* cancel) override {
    auto channel = static_cast<std::uint32_t>(view.channel);
    const auto toNcs = [](int number) { return static_cast<std::uint32_t>(number); };
    const Window& window = view.window;
    const int status = functions_.setView(view_, 1, &channel, toNcs(window.x0), toNcs(window.y0), toNcs(window.x1),
                                          toNcs(window.y1), toNcs(view.width), toNcs(view.height));
    if (status != kNcsSuccess) return Refuse("The ECW library refuses the window (its error %d)", status);
    auto* line = static_cast<unsigned char*>(planes[0]);
    for (int row = 0; row < view.height; ++row, line += view.width) {
      if (XfnIsStopRequested(cancel)) return FailRead(kReadStopped);
      unsigned char* lines[] = {line};
      const int lineStatus = functions_.readLine(view_, lines);
      if (lineStatus != kNcsSuccess) return Refuse("The ECW library can't decode a line (its status %d)", lineStatus);
    }
    return true;
  }

 private:
  static bool Refuse(const char* format, int status) {
    XString sentence;
    sentence.Format("%s", format);
    sentence.Replace("%d", std::to_string(status));
    return FailRead(sentence);
  }

  const NcsFunctions& functions_;  // of a library that stays loaded
  NcsView* view_;
};

class NcsDecoder : public WaveletDecoder {
 public:
  explicit NcsDecoder(std::shared_ptr<const SharedLibrary> library) : library_(std::move(library)) {}

  bool Bind(XString& reason) {
    const SharedLibrary& library = *library_;
    if (!library.Bind("NCSOpenFileViewA", functions_.open, reason) ||
        !library.Bind("NCSGetViewFileInfo", functions_.getInfo, reason) ||
        !library.Bind("NCSSetFileView", functions_.setView, reason) ||
        !library.Bind("NCSReadViewLineBIL", functions_.readLine, reason) ||
        !library.Bind("NCSCloseFileView", functions_.close, reason)) {
      return false;
    }
    XString unused;
    void (*init)() = nullptr;
    void (*getVersion)(int* major, int* minor) = nullptr;
    if (library.Bind("NCSInit", init, unused)) init();
    int major = 0, minor = 0;
    if (library.Bind("NCSGetLibVersion", getVersion, unused)) getVersion(&major, &minor);
    constexpr int kTellsTypesFrom = 5;
    functions_.tellsTypes = major >= kTellsTypesFrom;
    return true;
  }

  std::unique_ptr<WaveletImage> Open(const XString& path, bool isExact, XString& reason) const override {
    NcsView* view = nullptr;
    const int status = functions_.open(PathForNcs(path).c_str(), &view, nullptr);
    if (status != kNcsSuccess || !view) {
      reason.Format("The ECW library refuses the file (its error %d)", status);
      return nullptr;
    }
    auto image = std::make_unique<NcsImage>(functions_, view);
    return image->Describe(isExact, reason) ? std::move(image) : nullptr;
  }

  XString GetPlace() const override { return library_->GetPath(); }

 private:
  std::shared_ptr<const SharedLibrary> library_;
  NcsFunctions functions_{};
};

std::shared_ptr<const WaveletDecoder> BindNcs(std::shared_ptr<const SharedLibrary> library, XString& reason) {
  auto decoder = std::make_shared<NcsDecoder>(std::move(library));
  return decoder->Bind(reason) ? std::move(decoder) : nullptr;
}

}  // namespace

constinit const WaveletCodec kEcwCodec = {
    .library = "libNCSEcw.so",
    .driver = "ECW",
    .absent = "ECW files need the ERDAS ECW SDK (libNCSEcw.so) or GDAL's ECW plug-in; neither was found.",
    .isCentred = false,
    .bind = &BindNcs};

}  // namespace zrk
