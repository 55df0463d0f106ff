// A stand-in for the library that decodes ECW files: functions of the same names, with an image of its own behind them.
// It scales by taking the sample at the beginning of each step. Built with STAND_IN_LACKS one function is missing, and
// with STAND_IN_IS_OLD the library tells no version and knows less of a file.

#include "StandInCounts.h"

#include <memory>
#include <stdexcept>

namespace {

struct Info {
  std::uint32_t sizeX, sizeY;
  std::uint16_t bands, compressionRate;
  int units;
  double dx, dy, x, y;
  const char* datum;
  const char* projection;
#ifndef STAND_IN_IS_OLD
  double degrees;
  int colourSpace, cellType;
#endif
};

struct View : StandInImage {
  Info info{};
  std::uint32_t band = 0, left = 0, top = 0, right = 0, bottom = 0, width = 0, height = 0;
  int nextLine = -1;
};

/// The pixel that a sample of a scaled view shows.
int Scaled(std::uint32_t first, std::uint32_t last, std::uint32_t size, int index) {
  return static_cast<int>(first + static_cast<std::uint64_t>(index) * (last - first + 1) / size);
}

constexpr int kFailed = 1, kWrong = 2;

}  // namespace

#define STAND_IN_API extern "C" __attribute__((visibility("default")))

STAND_IN_API int ZrkStandInCount(const char* name) {
  return CountByName(name);
}

#ifndef STAND_IN_IS_OLD
STAND_IN_API void NCSInit() {
  ++Counts().inits;
}

STAND_IN_API void NCSGetLibVersion(int* major, int* minor) {
  *major = 5;
  *minor = 5;
}
#endif

STAND_IN_API int NCSOpenFileViewA(const char* path, View** view, int (*)(View*)) {
  auto made = std::make_unique<View>();
  if (!OpenStandIn(path, "NCSOpenFileViewA", made->file)) return kFailed;
  ++Counts().opened;
  *view = made.release();
  return 0;
}

STAND_IN_API int NCSGetViewFileInfo(View* view, Info** info) {
  const StandInFile& file = view->file;
  if (file.fail == "NCSGetViewFileInfo") return kFailed;
  if (file.fail == "nothing") return 0;
  Info& told = view->info;
  told.sizeX = static_cast<std::uint32_t>(file.width);
  told.sizeY = static_cast<std::uint32_t>(file.height);
  told.bands = static_cast<std::uint16_t>(file.bands);
  told.dx = file.dx;
  told.dy = file.dy;
  told.x = file.x;
  told.y = file.y;
  told.datum = file.datum.c_str();
  told.projection = file.projection.c_str();
#ifndef STAND_IN_IS_OLD
  told.degrees = file.turn;
  told.cellType = file.cell;
#endif
  *info = &told;
  return 0;
}

#ifndef STAND_IN_LACKS
STAND_IN_API int NCSSetFileView(View* view, std::uint32_t numBands, std::uint32_t* bands, std::uint32_t left,
                                std::uint32_t top, std::uint32_t right, std::uint32_t bottom, std::uint32_t width,
                                std::uint32_t height) {
  const StandInUse use(*view);
  const StandInFile& file = view->file;
  if (file.fail == "NCSSetFileView") return kFailed;
  const bool isInside = left <= right && top <= bottom && right < static_cast<std::uint32_t>(file.width) &&
                        bottom < static_cast<std::uint32_t>(file.height);
  const bool isSize = width > 0 && height > 0 && width <= right - left + 1 && height <= bottom - top + 1;
  if (!isInside || !isSize || numBands != 1 || bands[0] >= static_cast<std::uint32_t>(file.bands)) return kWrong;
  view->band = bands[0];
  view->left = left;
  view->top = top;
  view->right = right;
  view->bottom = bottom;
  view->width = width;
  view->height = height;
  view->nextLine = 0;
  ++Counts().decodes;
  return 0;
}
#endif

STAND_IN_API int NCSReadViewLineBIL(View* view, unsigned char** lines) {
  const StandInUse use(*view);
  const int line = view->nextLine++;
  if (line < 0 || line >= static_cast<int>(view->height)) return kWrong;
  if (line == view->file.failLine && view->file.fail == "throw") throw std::runtime_error("a stand-in has thrown");
  if (line == view->file.failLine && view->file.fail == "NCSReadViewLineBIL") return kFailed;
  const int y = Scaled(view->top, view->bottom, view->height, line);
  for (int i = 0; i < static_cast<int>(view->width); ++i) {
    const int x = Scaled(view->left, view->right, view->width, i);
    lines[0][i] = static_cast<unsigned char>(StandInSample(static_cast<int>(view->band), x, y));
  }
  return 0;
}

STAND_IN_API int NCSCloseFileView(View* view) {
  ++Counts().closed;
  delete view;
  return 0;
}
