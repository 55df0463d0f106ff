// A band that shows the image of a moving sensor as a map. The band keeps the source, the sensor model and the grid of
// the map. A read cuts its window into tiles, which workers share. A worker first finds the positions of the image
// under the pixels of a tile (OrthoPlaces.cpp), and then samples the source there (OrthoSampler.cpp).

#include "ZRMBandOrtho.h"

#include "base/DataTypeVisit.h"
#include "base/Failure.h"
#include "base/Fence.h"
#include "base/OwnReads.h"
#include "base/Parallel.h"
#include "base/ReadError.h"
#include "core/resample/OrthoSampler.h"
#include "core/resample/OrthoScale.h"
#include "XCoordinateTransformation.h"
#include "XThreadSafeArr.h"

#include <algorithm>
#include <cmath>
#include <vector>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandOrtho, ZRMBand);

namespace {

constexpr const char* kNoOrthoModel = "The image has no sensor model";
constexpr const char* kNoOrthoWay = "No way leads from the system of the map to longitude and latitude";

/// The tiles of a window, none of which is longer than a tile may be. They are about equally large.
struct OrthoTiling {
  int width, height, numColumns, numRows;

  OrthoTiling(int xSize, int ySize) : width(xSize), height(ySize), numColumns(Count(xSize)), numRows(Count(ySize)) {}
  static int Count(int size) { return (size - 1) / zrk::OrthoTile::kMaxSide + 1; }
  static int Begin(int size, int count, int index) { return static_cast<int>(std::int64_t{size} * index / count); }
};

}  // namespace

struct ZRMBandOrtho::Impl {
  zrk::OrthoSource source;
  XOrthoMethod method = kOrthoBilinear;
  double fill = 0.0;
  XThreadSafeArr2 results;

  bool FillTiles(const OrthoTiling& tiling, const zrk::OrthoTile& first, tagXArr2& out, int* cancel) const;
};

/// Each worker has its own sampler, which is made with its first tile. `first` is the window's first pixel and step.
bool ZRMBandOrtho::Impl::FillTiles(const OrthoTiling& tiling, const zrk::OrthoTile& first, tagXArr2& out,
                                   int* cancel) const {
  // A writer may share its blocks among all workers already.
  const int numTiles = tiling.numColumns * tiling.numRows;
  const int numWorkers = zrk::IsSharingWork() ? 1 : zrk::CountWorkers(numTiles);
  std::vector<std::unique_ptr<zrk::OrthoSampler>> samplers(static_cast<std::size_t>(numWorkers));
  const auto fillTile = [&](int index, int worker) {
    const zrk::OwnReads own;
    auto& sampler = samplers[static_cast<std::size_t>(worker)];
    if (!sampler) sampler = std::make_unique<zrk::OrthoSampler>(source, method, this->fill);
    const int column = index % tiling.numColumns, row = index / tiling.numColumns;
    const int x = OrthoTiling::Begin(tiling.width, tiling.numColumns, column);
    const int y = OrthoTiling::Begin(tiling.height, tiling.numRows, row);
    zrk::OrthoTile tile = first;
    tile.x0 += x * tile.step;
    tile.y0 += y * tile.step;
    tile.width = OrthoTiling::Begin(tiling.width, tiling.numColumns, column + 1) - x;
    tile.height = OrthoTiling::Begin(tiling.height, tiling.numRows, row + 1) - y;
    return sampler->Fill(tile, out, x, y, cancel);
  };
  return zrk::ForEachInParallel(numWorkers, numTiles, fillTile);
}

ZRMBandOrtho::ZRMBandOrtho() : impl_(std::make_unique<Impl>()) {}
ZRMBandOrtho::~ZRMBandOrtho() = default;

namespace {

/// The level whose pixels are about as large as those of the map, and not larger.
int ChooseOrthoLevel(ZRMBand& band, const zrk::OrthoStep& step, double pixelSize) {
  const double ratio = pixelSize / std::max(step.column, step.line);
  int level = 0;
  while (level < band.GetLevel() && std::ldexp(1.0, level + 1) <= ratio && (band.GetXSize() >> (level + 1)) > 1 &&
         (band.GetYSize() >> (level + 1)) > 1) {
    ++level;
  }
  return level;
}

bool IsOrthoGrid(const tagXOrthoGrid& grid) {
  return grid.xSize > 0 && grid.ySize > 0 && grid.pixelSize > 0.0 && std::isfinite(grid.pixelSize) &&
         std::isfinite(grid.west) && std::isfinite(grid.north);
}

/// False, with the reason, where the map can't be made of the source.
bool FindOrthoSource(ZRMBand* band, const tagXOrthoGrid& grid, zrk::OrthoSource& source, XString& err) {
  XSpatialReference wgs84;
  source.band = band;
  source.model = XfnFindSensorModel(band);
  source.grid = grid;
  if (!source.model || !zrk::IsScalar(band->GetDataType())) return zrk::FailWith(err, kNoOrthoModel);
  if (!IsOrthoGrid(grid)) return zrk::FailWith(err, "The map has no pixels");
  if (!source.way.Open(grid.sr) || !wgs84.SetWellKnownGeogCS("WGS84")) return zrk::FailWith(err, kNoOrthoWay);
  const auto toSystem = grid.sr.IsSame(wgs84) ? nullptr : XfnCreateCoordTrans(wgs84, grid.sr);
  const zrk::OrthoStep step = zrk::MeasureStep(*source.model, *band, toSystem.get());
  if (step.column > 0.0) {
    source.thickness = std::min(band->GetXSize() * step.column, band->GetYSize() * step.line) / grid.pixelSize;
    source.level = ChooseOrthoLevel(*band, step, grid.pixelSize);
  }
  return true;
}

}  // namespace

int ZRMBandOrtho::SetSource(ZRMBand* source, const tagXOrthoGrid& grid, XOrthoMethod method, XString& err) {
  return zrk::Fenced(err, [&] {
    zrk::OrthoSource found;
    if (!FindOrthoSource(source, grid, found, err)) return 0;
    impl_->source = std::move(found);
    impl_->method = method;
    impl_->fill = source->GetNullValue() == kNotSet ? 0.0 : source->GetNullValue();
    SetReadPolicy(source->GetReadPolicy());
    SetDataType(source->GetDataType());
    SetBandName(source->GetBandName());
    SetColourRole(source->GetColourRole());
    SetNullValue(impl_->fill);
    SetSize(grid.xSize, grid.ySize);
    SetUpperLeft(grid.west, grid.north);
    SetPixelSize(grid.pixelSize, grid.pixelSize);
    SetSR(grid.sr);
    SetCoordinateKind(kCoordinateWorld);
    return 1;
  });
}

int ZRMBandOrtho::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return zrk::ReadPixels([&] {
    if (!impl_->source.band) return zrk::FailRead("The map has no source");
    if (!IsLevel(level) || !IsInside(x0, x1, y0, y1)) return zrk::FailRead(zrk::kWindowOutside);
    const OrthoTiling tiling((x1 - x0 + 1) >> level, (y1 - y0 + 1) >> level);
    if (tiling.width < 1 || tiling.height < 1) return zrk::FailRead(zrk::kNoSuchLevel);
    tagXArr2* const result = impl_->results.GetBuffer(tiling.width, tiling.height, GetDataSize());
    if (!result) return zrk::FailRead(zrk::kReadNoMemory);
    if (!impl_->FillTiles(tiling, {x0, y0, 1 << level, 0, 0}, *result, cancel)) return 0;
    out = result;
    CleanupMemory(0, 0);
    return 1;
  });
}

int ZRMBandOrtho::CleanupMemory(int freeBuffers, int force) {
  if (freeBuffers && IsMemoryWanted(force)) impl_->results.FreeCurrentThreadsBuffer();
  return 1;
}
