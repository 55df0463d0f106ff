// A band that shows other bands laid over each other. It only keeps the list of sources and how the grid lies in each:
// a scale and an offset for each axis, worked out by `CalcWarpCoeff` from corners and pixel sizes. `MosaicRead` does
// the work of a read. Sources and grid are set by one thread before others read.

#include "ZRMBandMosaic.h"

#include "base/DataTypeVisit.h"
#include "base/Fence.h"
#include "core/resample/MosaicRead.h"

#include <cmath>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandMosaic, ZRMBand);

namespace {

bool IsScalar(int dataType) {
  return zrk::VisitDataType(dataType, [](auto) {});
}

bool IsPixelSize(double size) {
  return std::isfinite(size) && size != 0.0;
}

}  // namespace

ZRMBandMosaic::ZRMBandMosaic() = default;
ZRMBandMosaic::~ZRMBandMosaic() = default;

int ZRMBandMosaic::AddBand(ZRMBand* band) {
  if (!band || band == this) return 0;
  // What was worked out is void as soon as a source is added. Reads fail until it is worked out anew.
  sources_.clear();
  return zrk::FencedRead([&] {
    bands_.push_back(band);
    return 1;
  });
}

ZRMBand* ZRMBandMosaic::GetBandAt(int index) const {
  return 0 <= index && index < GetNumOfBands() ? bands_[static_cast<std::size_t>(index)] : nullptr;
}

int ZRMBandMosaic::SetBandInfo(double ulx, double uly, double xPixelSize, double yPixelSize, int xSize, int ySize,
                               int dataType) {
  if (!std::isfinite(ulx) || !std::isfinite(uly) || !IsPixelSize(xPixelSize) || !IsPixelSize(yPixelSize) ||
      xSize <= 0 || ySize <= 0 || !IsScalar(dataType)) {
    return 0;
  }
  sources_.clear();
  hasGrid_ = true;
  SetUpperLeft(ulx, uly);
  SetPixelSize(xPixelSize, yPixelSize);
  SetSize(xSize, ySize);
  SetDataType(dataType);
  SetCoordinateKind(kCoordinateWorld);
  return 1;
}

int ZRMBandMosaic::CalcWarpCoeff() {
  sources_.clear();
  if (!hasGrid_ || bands_.empty()) return 0;
  return zrk::FencedRead([&] {
    std::vector<zrk::MosaicSource> sources;
    for (ZRMBand* band : bands_) {
      if (!IsPixelSize(band->GetXPixelSize()) || !IsPixelSize(band->GetYPixelSize()) ||
          !IsScalar(band->GetDataType())) {
        return 0;
      }
      // The centre of the grid's first pixel, first in the world and then in the source's pixels.
      double x = 0.5, y = 0.5;
      ConvPixelToWorldCoord(x, y);
      band->ConvWorldToPixelCoord(x, y);
      sources.push_back(
          {band, {GetXPixelSize() / band->GetXPixelSize(), x}, {GetYPixelSize() / band->GetYPixelSize(), y}});
    }
    sources_ = std::move(sources);
    return 1;
  });
}

int ZRMBandMosaic::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  if (sources_.empty() || !IsScalar(GetDataType()) || !IsLevel(level) || !IsInside(x0, x1, y0, y1)) return 0;
  return zrk::FencedRead([&] {
    tagXArr2* result = results_.GetBuffer((x1 - x0 + 1) >> level, (y1 - y0 + 1) >> level, GetDataSize());
    if (!result) return 0;
    zrk::MosaicRead read({level, x0, x1, y0, y1}, GetDataType(), *result, scratch_.Get(), cancel);
    read.Clear(GetNullValue());
    for (const zrk::MosaicSource& source : sources_) {
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
    results_.FreeCurrentThreadsBuffer();
    scratch_.Release();
  }
  return 1;
}
