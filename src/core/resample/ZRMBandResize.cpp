// A band that shows a window of another band at another size. It only keeps the sampler and where the window lies;
// `ResizeRead` does the work of a read. A new `SetResizeInfo` makes a new sampler. Settings are made by one thread
// before others read.

#include "ZRMBandResize.h"

#include "base/DataTypeVisit.h"
#include "base/Fence.h"
#include "core/resample/ResizeRead.h"

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

ZRMBandResize::ZRMBandResize() = default;
ZRMBandResize::~ZRMBandResize() = default;

int ZRMBandResize::SetResampleMethod(int method) {
  if (method < kResampleNearest || method > kResampleCubic) return 0;
  method_ = method;
  return 1;
}

bool ZRMBandResize::IsResizable(int x0, int x1, int y0, int y1) const {
  return source_ && source_ != this && 0 <= x0 && x0 <= x1 && x1 < source_->GetXSize() && 0 <= y0 && y0 <= y1 &&
         y1 < source_->GetYSize() && zrk::VisitDataType(source_->GetDataType(), [](auto) {});
}

int ZRMBandResize::SetResizeInfo(int x0, int x1, int y0, int y1, int xSize, int ySize) {
  if (!IsResizable(x0, x1, y0, y1) || xSize <= 0 || ySize <= 0) return 0;
  const zrk::ResizeShape shape{x1 - x0 + 1, y1 - y0 + 1, xSize, ySize, source_->GetDataType(), GetNullValue()};
  const int isMade = zrk::FencedRead([&] {
    sampler_ = zrk::MakeRowSampler(method_, shape);
    return 1;
  });
  if (!isMade) return 0;
  shown_ = source_;
  left_ = x0;
  top_ = y0;
  CopyGeometry(*source_);
  SetBandType(source_->GetBandType());
  SetDataType(shape.dataType);
  SetTileSize(source_->GetXTileSize(), source_->GetYTileSize());
  SetSize(xSize, ySize);
  double ulx = x0, uly = y0;
  source_->ConvPixelToWorldCoord(ulx, uly);
  SetUpperLeft(ulx, uly);
  SetPixelSize(source_->GetXPixelSize() * shape.sourceWidth / xSize,
               source_->GetYPixelSize() * shape.sourceHeight / ySize);
  return 1;
}

int ZRMBandResize::SetResizeInfo(int x0, int x1, int y0, int y1, double xPixelSize, double yPixelSize) {
  if (!IsResizable(x0, x1, y0, y1) || !std::isfinite(xPixelSize) || !std::isfinite(yPixelSize)) return 0;
  return SetResizeInfo(x0, x1, y0, y1, PixelsIn(source_->GetXPixelSize() * (x1 - x0 + 1.0), xPixelSize),
                       PixelsIn(source_->GetYPixelSize() * (y1 - y0 + 1.0), yPixelSize));
}

int ZRMBandResize::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  // Size and data type can be set on any band from outside. The sampler is what the read has to fit.
  if (!sampler_ || !IsLevel(level) || !IsInside(x0, x1, y0, y1) || x1 >= sampler_->GetShape().outWidth ||
      y1 >= sampler_->GetShape().outHeight) {
    return 0;
  }
  const zrk::ReadRequest request{level, x0, x1, y0, y1};
  return zrk::FencedRead([&] {
    tagXArr2* result = results_.GetBuffer(request.Width() >> level, request.Height() >> level,
                                          XfnGetDataSize(sampler_->GetShape().dataType));
    if (!result) return 0;
    zrk::ResizeRead read(*sampler_, *shown_, left_, top_, request, scratch_.Get(), cancel);
    if (!read.Fill(*result)) return 0;
    out = result;
    CleanupMemory(0, 0);
    return 1;
  });
}

int ZRMBandResize::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) {
    results_.FreeCurrentThreadsBuffer();
    scratch_.Release();
  }
  return 1;
}
