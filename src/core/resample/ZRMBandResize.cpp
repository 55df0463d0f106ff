// A band that shows a window of another band at another size. It only keeps the sampler and where the window lies;
// `ResizeRead` does the work of a read. A new `SetResizeInfo` makes a new sampler. Settings are made by one thread
// before others read.

#include "ZRMBandResize.h"

#include "base/DataTypeVisit.h"
#include "base/Fence.h"
#include "base/PerThread.h"
#include "base/ReadError.h"
#include "core/resample/ResizeRead.h"
#include "XThreadSafeArr.h"

#include <algorithm>
#include <climits>
#include <cmath>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandResize, ZRMBand);

namespace {

/// The number of pixels of a size in an extent, rounded and at least 1; 0 where an int can't hold it.
int PixelsIn(double extent, double pixelSize) {
  const double count = std::round(std::abs(extent / pixelSize));
  return count <= static_cast<double>(INT_MAX) ? std::max(static_cast<int>(count), 1) : 0;
}

}  // namespace

struct ZRMBandResize::Impl {
  ZRMBand* source = nullptr;
  int method = kResampleMean;

  ZRMBand* shown = nullptr;  // the source, and the corner of the window in it, as of the last `SetResizeInfo`
  int left = 0;
  int top = 0;
  std::unique_ptr<const zrk::RowSampler> sampler;
  XThreadSafeArr2 results;
  zrk::PerThread<zrk::ResizeScratch> scratch;
};

ZRMBandResize::ZRMBandResize() : impl_(std::make_unique<Impl>()) {}
ZRMBandResize::~ZRMBandResize() = default;

ZRMBand* ZRMBandResize::GetSourceBand() const {
  return impl_->source;
}

void ZRMBandResize::SetSourceBand(ZRMBand* source) {
  impl_->source = source;
}

int ZRMBandResize::GetResampleMethod() const {
  return impl_->method;
}

int ZRMBandResize::SetResampleMethod(int method) {
  if (method < kResampleNearest || method > kResampleCubic) return 0;
  impl_->method = method;
  return 1;
}

bool ZRMBandResize::IsResizable(int x0, int x1, int y0, int y1) const {
  return impl_->source && impl_->source != this && 0 <= x0 && x0 <= x1 && x1 < impl_->source->GetXSize() && 0 <= y0 &&
         y0 <= y1 && y1 < impl_->source->GetYSize() && zrk::VisitDataType(impl_->source->GetDataType(), [](auto) {});
}

int ZRMBandResize::SetResizeInfo(int x0, int x1, int y0, int y1, int xSize, int ySize) {
  if (!IsResizable(x0, x1, y0, y1) || xSize <= 0 || ySize <= 0) return 0;
  const zrk::ResizeShape shape{x1 - x0 + 1, y1 - y0 + 1, xSize, ySize, impl_->source->GetDataType(), GetNullValue()};
  const int isMade = zrk::FencedRead([&] {
    impl_->sampler = zrk::MakeRowSampler(impl_->method, shape);
    return 1;
  });
  if (!isMade) return 0;
  impl_->shown = impl_->source;
  impl_->left = x0;
  impl_->top = y0;
  CopyGeometry(*impl_->source);
  SetBandType(impl_->source->GetBandType());
  SetDataType(shape.dataType);
  SetTileSize(impl_->source->GetXTileSize(), impl_->source->GetYTileSize());
  SetSize(xSize, ySize);
  double ulx = x0, uly = y0;
  impl_->source->ConvPixelToWorldCoord(ulx, uly);
  SetUpperLeft(ulx, uly);
  SetPixelSize(impl_->source->GetXPixelSize() * shape.sourceWidth / xSize,
               impl_->source->GetYPixelSize() * shape.sourceHeight / ySize);
  return 1;
}

int ZRMBandResize::SetResizeInfo(int x0, int x1, int y0, int y1, double xPixelSize, double yPixelSize) {
  if (!IsResizable(x0, x1, y0, y1) || !std::isfinite(xPixelSize) || !std::isfinite(yPixelSize)) return 0;
  return SetResizeInfo(x0, x1, y0, y1, PixelsIn(impl_->source->GetXPixelSize() * (x1 - x0 + 1.0), xPixelSize),
                       PixelsIn(impl_->source->GetYPixelSize() * (y1 - y0 + 1.0), yPixelSize));
}

int ZRMBandResize::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  const zrk::ReadRequest request{level, x0, x1, y0, y1};
  return zrk::ReadPixels([&] {
    // Size and data type can be set on any band from outside. The sampler is what the read has to fit.
    if (!impl_->sampler || !IsLevel(level) || !IsInside(x0, x1, y0, y1) || x1 >= impl_->sampler->GetShape().outWidth ||
        y1 >= impl_->sampler->GetShape().outHeight) {
      return zrk::FailRead(zrk::kWindowOutside);
    }
    tagXArr2* result = impl_->results.GetBuffer(request.Width() >> level, request.Height() >> level,
                                                XfnGetDataSize(impl_->sampler->GetShape().dataType));
    if (!result) return 0;
    zrk::ResizeRead read(*impl_->sampler, *impl_->shown, impl_->left, impl_->top, request, impl_->scratch.Get(),
                         cancel);
    if (!read.Fill(*result)) return 0;
    out = result;
    CleanupMemory(0, 0);
    return 1;
  });
}

int ZRMBandResize::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) {
    impl_->results.FreeCurrentThreadsBuffer();
    impl_->scratch.Release();
  }
  return 1;
}
