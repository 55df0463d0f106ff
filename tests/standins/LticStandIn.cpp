// A stand-in for the library that decodes MrSID files: functions of the same names, with an image of its own behind
// them. The image reduced by 2^n has every 2^n-th pixel of every 2^n-th row. Built with STAND_IN_LACKS one function is
// missing.

#include "StandInCounts.h"

#include <cmath>
#include <memory>
#include <stdexcept>

namespace {

constexpr std::uint32_t kFailed = 52001;

#ifndef STAND_IN_LACKS
int ReducedSize(int size, int step) {
  return (size + step - 1) / step;
}
#endif

}  // namespace

#define STAND_IN_API extern "C" __attribute__((visibility("default")))

STAND_IN_API int ZrkStandInCount(const char* name) {
  return CountByName(name);
}

STAND_IN_API std::uint32_t ltic_openMrSIDImageFile(StandInImage** image, const char* path) {
  auto made = std::make_unique<StandInImage>();
  if (!OpenStandIn(path, "ltic_openMrSIDImageFile", made->file)) return kFailed;
  ++Counts().opened;
  *image = made.release();
  return 0;
}

STAND_IN_API std::uint32_t ltic_closeImage(StandInImage* image) {
  ++Counts().closed;
  delete image;
  return 0;
}

STAND_IN_API std::uint32_t ltic_getWidth(StandInImage* image) {
  return static_cast<std::uint32_t>(image->file.width);
}

STAND_IN_API std::uint32_t ltic_getHeight(StandInImage* image) {
  return static_cast<std::uint32_t>(image->file.height);
}

STAND_IN_API std::uint16_t ltic_getNumBands(StandInImage* image) {
  return static_cast<std::uint16_t>(image->file.bands);
}

STAND_IN_API int ltic_getDataType(StandInImage* image) {
  return image->file.type;
}

STAND_IN_API double ltic_getGeoXOrigin(StandInImage* image) {
  return image->file.x;
}

STAND_IN_API double ltic_getGeoYOrigin(StandInImage* image) {
  return image->file.y;
}

STAND_IN_API double ltic_getGeoXResolution(StandInImage* image) {
  return image->file.dx;
}

STAND_IN_API double ltic_getGeoYResolution(StandInImage* image) {
  return image->file.dy;
}

STAND_IN_API double ltic_getGeoXRotation(StandInImage* image) {
  return image->file.turn;
}

STAND_IN_API double ltic_getGeoYRotation(StandInImage* image) {
  return 2.0 * image->file.turn;
}

#ifndef STAND_IN_LACKS
STAND_IN_API std::uint32_t ltic_decode(StandInImage* image, double left, double top, double width, double height,
                                       double magnification, void** planes) {
  const StandInUse use(*image);
  const StandInFile& file = image->file;
  ++Counts().decodes;
  if (file.fail == "throw") throw std::runtime_error("a stand-in has thrown");
  const auto step = static_cast<int>(std::lround(1.0 / magnification));
  const bool isInside = left >= 0 && top >= 0 && width >= 1 && height >= 1 &&
                        left + width <= ReducedSize(file.width, step) && top + height <= ReducedSize(file.height, step);
  if (!isInside || file.fail == "ltic_decode") return kFailed;
  const auto columns = static_cast<int>(width), rows = static_cast<int>(height);
  for (int band = 0; band < file.bands; ++band) {
    for (int j = 0; j < rows; ++j) {
      for (int i = 0; i < columns; ++i) {
        const int x = (static_cast<int>(left) + i) * step, y = (static_cast<int>(top) + j) * step;
        StoreStandInValue(file.type, planes[band],
                          static_cast<std::size_t>(j) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(i),
                          StandInValue(file.type, band, x, y));
      }
    }
  }
  return 0;
}
#endif
