// A band that shows other bands laid over each other. It only keeps the list of sources and how the grid lies in each:
// a scale and an offset for each axis, worked out by `CalcWarpCoeff` from corners and pixel sizes. `MosaicRead` does
// the work of a read. Sources and grid are set by one thread before others read.

#include "ZRMBandMosaic.h"

#include "base/DataTypeVisit.h"
#include "base/Fence.h"
#include "base/PerThread.h"
#include "base/ReadError.h"
#include "core/resample/MosaicRead.h"
#include "XThreadSafeArr.h"

#include <cmath>
#include <utility>
#include <vector>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandMosaic, ZRMBand);

namespace {

bool IsPixelSize(double size) {
  return std::isfinite(size) && size != 0.0;
}

}  // namespace

struct ZRMBandMosaic::Impl {
  std::vector<ZRMBand*> bands;
  std::vector<zrk::MosaicSource> sources;  // one for each band, or none before `CalcWarpCoeff`
  bool hasGrid = false;
  XThreadSafeArr2 results;
  zrk::PerThread<zrk::MosaicScratch> scratch;
};

ZRMBandMosaic::ZRMBandMosaic() : impl_(std::make_unique<Impl>()) {}
ZRMBandMosaic::~ZRMBandMosaic() = default;

int ZRMBandMosaic::GetNumOfBands() const {
  return static_cast<int>(impl_->bands.size());
}

int ZRMBandMosaic::AddBand(ZRMBand* band) {
  if (!band || band == this) return 0;
  // What was worked out is void as soon as a source is added. Reads fail until it is worked out anew.
  impl_->sources.clear();
  return zrk::FencedRead([&] {
    impl_->bands.push_back(band);
    return 1;
  });
}

ZRMBand* ZRMBandMosaic::GetBandAt(int index) const {
  return 0 <= index && index < GetNumOfBands() ? impl_->bands[static_cast<std::size_t>(index)] : nullptr;
}

int ZRMBandMosaic::SetBandInfo(double ulx, double uly, double xPixelSize, double yPixelSize, int xSize, int ySize,
                               int dataType) {
  if (!std::isfinite(ulx) || !std::isfinite(uly) || !IsPixelSize(xPixelSize) || !IsPixelSize(yPixelSize) ||
      xSize <= 0 || ySize <= 0 || !zrk::IsScalar(dataType)) {
    return 0;
  }
  impl_->sources.clear();
  impl_->hasGrid = true;
  SetUpperLeft(ulx, uly);
  SetPixelSize(xPixelSize, yPixelSize);
  SetSize(xSize, ySize);
  SetDataType(dataType);
  SetCoordinateKind(kCoordinateWorld);
  return 1;
}

int ZRMBandMosaic::CalcWarpCoeff() {
  impl_->sources.clear();
  if (!impl_->hasGrid || impl_->bands.empty()) return 0;
  return zrk::FencedRead([&] {
    std::vector<zrk::MosaicSource> sources;
    for (ZRMBand* band : impl_->bands) {
      if (!IsPixelSize(band->GetXPixelSize()) || !IsPixelSize(band->GetYPixelSize()) ||
          !zrk::IsScalar(band->GetDataType())) {
        return 0;
      }
      // The centre of the grid's first pixel, first in the world and then in the source's pixels.
      double x = 0.5, y = 0.5;
      ConvPixelToWorldCoord(x, y);
      band->ConvWorldToPixelCoord(x, y);
      sources.push_back(
          {band, {GetXPixelSize() / band->GetXPixelSize(), x}, {GetYPixelSize() / band->GetYPixelSize(), y}});
    }
    impl_->sources = std::move(sources);
    return 1;
  });
}

int ZRMBandMosaic::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return zrk::ReadPixels([&] {
    if (!IsLevel(level) || !IsInside(x0, x1, y0, y1)) return zrk::FailRead(zrk::kWindowOutside);
    if (impl_->sources.empty() || !zrk::IsScalar(GetDataType())) return zrk::FailRead("The mosaic has no sources");
    tagXArr2* result = impl_->results.GetBuffer((x1 - x0 + 1) >> level, (y1 - y0 + 1) >> level, GetDataSize());
    if (!result) return 0;
    zrk::MosaicRead read({level, x0, x1, y0, y1}, GetDataType(), *result, impl_->scratch.Get(), cancel);
    read.Clear(GetNullValue());
    for (const zrk::MosaicSource& source : impl_->sources) {
      // Sources that are wholly covered are not read.
      if (read.IsComplete()) break;
      if (!read.LayDown(source)) return 0;
    }
    out = result;
    CleanupMemory(0, 0);
    return 1;
  });
}

int ZRMBandMosaic::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) {
    impl_->results.FreeCurrentThreadsBuffer();
    impl_->scratch.Release();
  }
  return 1;
}
