#include "XImageHelper.h"

#include "base/Fence.h"
#include "codec/JpegEncoder.h"
#include "display/DrawManager.h"
#include "writers/MapExport.h"
#include "XReadPolicy.h"
#include "XThread.h"
#include "ZRMBandResize.h"

#include <cmath>

namespace {

constexpr int kJpegQuality = 90;

/// The number of pixels along a side; 0 for one that no JPEG image has.
int CountPixels(double extent, double pixelSize) {
  const double count = std::round(extent / pixelSize);
  if (!(extent > 0.0) || !(pixelSize > 0.0) || !(count <= zrk::kMaxJpegSide)) return 0;
  return count > 1.0 ? static_cast<int>(count) : 1;
}

/// The picture of an extent, over black. Pixel sizes follow from the whole number of pixels, so that the picture ends
/// where the extent does.
bool Render(const ZRMCompManager& manager, const zrk::Extent& extent, XBackBuffer& buffer, XThread* thread,
            XString& err) {
  if (manager.GetSR()) buffer.SetSR(*manager.GetSR());
  buffer.SetWorldPerPixel((extent.maxX - extent.minX) / buffer.GetWidth(),
                          (extent.maxY - extent.minY) / buffer.GetHeight());
  buffer.SetWorldToCenter(0.5 * (extent.minX + extent.maxX), 0.5 * (extent.minY + extent.maxY));
  int* const cancel = thread ? thread->GetStatePtr() : nullptr;
  XfnForgetLastReadError();
  const int drawn = zrk::DrawManager(manager, buffer, extent, kResampleMean, cancel);
  if (XfnIsStopRequested(cancel)) return false;
  if (drawn == kDrawFailed && XfnGetDefaultReadPolicy() == kReadExact) {
    err = zrk::WhyNotDrawn("The pixels can't be read");
    return false;
  }
  return true;
}

/// Rows of the buffer lie from the bottom up, and the encoder wants them from the top: it goes backwards.
bool WriteJpeg(const XBackBuffer& buffer, const XString& path, XString& err) {
  const std::ptrdiff_t rowBytes = std::ptrdiff_t{buffer.GetWidth()} * 3;
  const zrk::JpegPixels pixels{buffer.GetPixels() + rowBytes * (buffer.GetHeight() - 1), -rowBytes, buffer.GetWidth(),
                               buffer.GetHeight()};
  std::vector<unsigned char> file;
  if (!zrk::EncodeJpeg(pixels, kJpegQuality, file, err)) return false;
  if (zrk::WriteNewFile(path, file.data(), static_cast<std::int64_t>(file.size()))) return true;
  err = "Fail to create output JPEG File";
  return false;
}

}  // namespace

int XfnConvertImage2JPG(XString path, XString& err, HDC dc, ZRMCompManager* manager, double minX, double minY,
                        double maxX, double maxY, double xPixelSize, double yPixelSize, XThread* thread) {
  return zrk::Fenced(err, [&] {
    err.Empty();
    if (!manager) {
      err = zrk::kNoManager;
      return 0;
    }
    const int width = CountPixels(maxX - minX, xPixelSize), height = CountPixels(maxY - minY, yPixelSize);
    XBackBuffer buffer;
    if (width == 0 || height == 0 || !std::isfinite(minX + minY) || !buffer.Create(dc, kBackBufferInMemory) ||
        !buffer.Resize(dc, width, height)) {
      err = zrk::kNoImageSize;
      return 0;
    }
    const zrk::Extent extent{minX, maxX, minY, maxY, true};
    return Render(*manager, extent, buffer, thread, err) && WriteJpeg(buffer, path, err) ? 1 : 0;
  });
}
