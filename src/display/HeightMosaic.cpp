#include "display/HeightMosaic.h"

#include "base/DataTypeVisit.h"
#include "base/PerThread.h"
#include "base/ReadError.h"
#include "display/HeightRead.h"
#include "ZRMBand.h"

#include <algorithm>
#include <utility>

namespace zrk {

struct HeightMosaic::Impl {
  int dataType = kReal32;
  std::vector<HeightSource> sources;
  PerThread<HeightScratch> scratch;

  bool Add(const ZRMComposite& composite, const XSpatialReference& shown);
};

/// False for a composite that can't be placed.
bool HeightMosaic::Impl::Add(const ZRMComposite& composite, const XSpatialReference& shown) {
  HeightSource source;
  source.band = composite.GetBand(0);
  const double* const toPixels = composite.GetWarpCoeffInv(0);
  Extent range;
  if (!toPixels || !IsScalar(source.band->GetDataType()) ||
      !composite.GetDrawRange(range.minX, range.maxX, range.minY, range.maxY)) {
    return false;
  }
  source.bridge = SystemBridge::Make(shown, *composite.GetSR());
  if (!source.bridge->isPossible) return false;
  std::copy_n(toPixels, 6, source.toPixels.c.begin());
  source.limits = LimitsOf(*source.band, source.toPixels, range);
  source.isCircling = composite.GetSR()->IsGeographic() != 0;
  const int type = source.band->GetDataType();
  dataType = sources.empty() || dataType == type ? type : static_cast<int>(kReal32);
  sources.push_back(std::move(source));
  return true;
}

HeightMosaic::HeightMosaic(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
HeightMosaic::~HeightMosaic() = default;

std::unique_ptr<HeightMosaic> HeightMosaic::Make(const ZRMCompManager& manager) {
  const XSpatialReference* const shown = manager.GetSR();
  if (!shown) return nullptr;
  auto impl = std::make_unique<Impl>();
  for (int i = 0; i < manager.GetNumberOfZRMComposite(); ++i) {
    const ZRMComposite& composite = *manager.GetZRMCompositeAt(i);
    const ZRMBand* const band = composite.GetBand(0);
    // The others still have heights, but exact ones are not left out in silence.
    if (!impl->Add(composite, *shown) && band && band->IsExact()) return nullptr;
  }
  if (impl->sources.empty()) return nullptr;
  return std::unique_ptr<HeightMosaic>(new HeightMosaic(std::move(impl)));
}

int HeightMosaic::GetDataType() const {
  return impl_->dataType;
}

/// Sources below are asked only for what those above left free.
bool HeightMosaic::Read(const PostGrid& grid, const PostBlock& block, tagXArr2& out, int* cancel) const {
  const auto read = [&] {
    if (!out.Alloc(block.numColumns, block.numRows, XfnGetDataSize(impl_->dataType))) return FailRead(kReadNoMemory);
    HeightRead heights(grid, block, impl_->dataType, out, impl_->scratch.Get());
    for (const HeightSource& source : impl_->sources) {
      if (!heights.TakeFrom(source, cancel)) return 0;
      if (heights.IsComplete()) break;
    }
    return 1;
  };
  return ReadPixels(read) != 0;
}

}  // namespace zrk
