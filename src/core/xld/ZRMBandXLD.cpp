// The reduced levels of a band, out of its pyramid in a level file. The top of the pyramid is the band at half its
// size, so that level n of the band is level n - 1 of the store.
//
// Half of an odd size is cut to a whole number, while the store covers the same extent of the world. Its pixels are
// then a little more than twice as large as the band's, and a shift of pixels would drift away from the place that is
// meant. So a window is carried over by its world coordinates. Results are kept for each thread, and several threads
// may read at once.

#include "ZRMBandXLD.h"

#include "base/Fence.h"
#include "base/ReadError.h"
#include "Xepot.h"
#include "XFile.h"
#include "XThreadSafeArr.h"
#include "ZRMBandEPOT.h"

#include <algorithm>
#include <climits>
#include <cmath>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandXLD, ZRMBand);

namespace {

/// Pixels are counted in whole numbers, but world coordinates between them are seldom exact in binary. What lacks less
/// than a millionth to the next pixel is that pixel. What lies outside of all pixels is -1.
int TruncateToPixel(double place) {
  const double whole = std::trunc(place + 1e-6);
  return whole >= 0.0 && whole <= INT_MAX ? static_cast<int>(whole) : -1;
}

}  // namespace

struct ZRMBandXLD::Impl {
  XFile* file = nullptr;
  std::unique_ptr<XFile> ownedFile;
  std::int64_t offset = 0;
  ZRMBandEPOT epot;
  XThreadSafeArr2 buffers;
};

ZRMBandXLD::ZRMBandXLD() : impl_(std::make_unique<Impl>()) {}
ZRMBandXLD::~ZRMBandXLD() = default;

XFile* ZRMBandXLD::GetFile() const {
  return impl_->file;
}

void ZRMBandXLD::SetOffset(std::int64_t offset) {
  impl_->offset = offset;
}

std::int64_t ZRMBandXLD::GetOffset() const {
  return impl_->offset;
}

/// The same file may be attached again, to change its owner. It is released first, since the reset would close it.
void ZRMBandXLD::SetFile(XFile* file, int owns) {
  if (file == impl_->ownedFile.get()) static_cast<void>(impl_->ownedFile.release());
  impl_->ownedFile.reset(owns ? file : nullptr);
  impl_->file = file;
}

bool ZRMBandXLD::Init(ZRMBand* source, int xSize, int ySize, int dataType, int xTileSize, int yTileSize) {
  if (!impl_->file || !source || source->GetLevel() <= 0) return false;
  CopyGeometry(*source);
  SetDataType(source->GetDataType());
  SetTileSize(source->GetXTileSize(), source->GetYTileSize());
  SetCompressionInfo(source->GetCompressionInfo());

  const int width = xSize >> 1, height = ySize >> 1;
  double minX = 0.0, maxX = 0.0, minY = 0.0, maxY = 0.0;
  source->GetBoundRect(minX, maxX, minY, maxY);
  impl_->epot.SetUpperLeft(source->GetULX(), source->GetULY());
  impl_->epot.SetPixelSize((maxX - minX) / width, (maxY - minY) / height);
  // The store is what the builder makes of these sizes: some bands count levels of their own, and the stores of level
  // files are never compressed, whatever the source is.
  const int levels = Xepot::CalcProperLevel(width, height, xTileSize, yTileSize);
  return impl_->epot.SetImage(impl_->file, impl_->offset, width, height, dataType, xTileSize, yTileSize, levels,
                              kCompressionPlain);
}

/// The size follows from the store that `Init` has opened.
std::int64_t ZRMBandXLD::CalcBandSize(int, int, int, int, int) const {
  return impl_->epot.GetEPOT()->GetSize();
}

/// The upper left corner decides where the window begins on the store. Its size is counted on the band itself, as
/// callers expect of every band.
int ZRMBandXLD::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int*) {
  if (!impl_->file || level <= 0 || !IsLevel(level) || !IsInside(x0, x1, y0, y1)) {
    return zrk::ReadErrand().End(0, IsInside(x0, x1, y0, y1) ? zrk::kNoSuchLevel : zrk::kWindowOutside);
  }
  double left = x0, bottom = y1, right = x1, top = y0;
  for (auto [x, y] : {std::pair<double&, double&>(left, bottom), std::pair<double&, double&>(right, top)}) {
    ConvPixelToWorldCoord(x, y);
    impl_->epot.ConvWorldToPixelCoord(x, y);
  }
  const int epotX = TruncateToPixel(left), epotY = TruncateToPixel(top);
  if (epotX < 0 || epotY < 0) return 0;
  return zrk::ReadPixels([&] {
    tagXArr2* const buffer = impl_->buffers.GetBuffer((x1 - x0 + 1) >> level, (y1 - y0 + 1) >> level, GetDataSize());
    const int storeLevel = level - 1;
    if (!buffer ||
        !impl_->epot.GetEPOT()->Read(*buffer, storeLevel, epotX >> storeLevel, epotY >> storeLevel, nullptr)) {
      return 0;
    }
    out = buffer;
    CleanupMemory(0, 0);
    return 1;
  });
}

int ZRMBandXLD::CalcStatistics(int withHistogram) {
  const int levels = Xepot::CalcProperLevel(GetXSize(), GetYSize(), GetXTileSize(), GetYTileSize());
  return CalcStatisticsAtLevel(std::max(levels - 1, 0), withHistogram);
}

int ZRMBandXLD::CleanupMemory(int freeBuffers, int force) {
  if (!freeBuffers || !IsMemoryWanted(force)) return 1;
  impl_->buffers.FreeCurrentThreadsBuffer();
  return impl_->epot.CleanupMemory(1, 1);
}
