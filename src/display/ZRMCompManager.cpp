// A list of composites and the system that they are shown in. Pixels are not its business: callers draw the composites,
// and ask here what there is, where it lies, and in which system.

#include "ZRMCompManager.h"

#include "base/Fence.h"
#include "display/TakenExtent.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

struct ZRMCompManager::Impl {
  std::vector<ZRMComposite*> composites;
  int deletes = 1;
  std::optional<XSpatialReference> sr;

  zrk::Extent GetRange(const XSpatialReference* shown) const;
};

/// Composites that have no place in the system that all is shown in are passed over.
zrk::Extent ZRMCompManager::Impl::GetRange(const XSpatialReference* shown) const {
  zrk::Extent total;
  for (const ZRMComposite* composite : composites) {
    zrk::Extent range;
    if (!composite->GetDrawRange(range.minX, range.maxX, range.minY, range.maxY)) continue;
    range.isSet = true;
    const zrk::Extent placed = zrk::TakeExtent(*composite->GetSR(), *shown, range);
    if (!placed.isSet) continue;
    const double edges[] = {placed.minX, placed.maxX, placed.minY, placed.maxY};
    if (std::ranges::all_of(edges, [](double edge) { return std::isfinite(edge); })) total.GrowTo(placed);
  }
  return total;
}

ZRMCompManager::ZRMCompManager() : impl_(std::make_unique<Impl>()) {}

ZRMCompManager::~ZRMCompManager() {
  if (!impl_->deletes) return;
  for (ZRMComposite* composite : impl_->composites) delete composite;
}

int ZRMCompManager::GetCompositeDeleteFlag() const {
  return impl_->deletes;
}

void ZRMCompManager::SetCompositeDeleteFlag(int deletes) {
  impl_->deletes = deletes;
}

/// A composite that stood in the list twice would be deleted twice.
int ZRMCompManager::AddZRMComposite(ZRMComposite* composite) {
  const auto& known = impl_->composites;
  if (!composite || std::find(known.begin(), known.end(), composite) != known.end()) return 0;
  return zrk::FencedRead([&] {
    impl_->composites.push_back(composite);
    return 1;
  });
}

int ZRMCompManager::GetNumberOfZRMComposite() const {
  return static_cast<int>(impl_->composites.size());
}

ZRMComposite* ZRMCompManager::GetZRMCompositeAt(int index) const {
  const bool isThere = 0 <= index && index < GetNumberOfZRMComposite();
  return isThere ? impl_->composites[static_cast<std::size_t>(index)] : nullptr;
}

/// The system of the first band is asked anew each time, because it may still be given to the band.
const XSpatialReference* ZRMCompManager::GetSR() const {
  if (impl_->sr) return &*impl_->sr;
  for (const ZRMComposite* composite : impl_->composites) {
    if (const XSpatialReference* const sr = composite->GetSR()) return sr;
  }
  return nullptr;
}

void ZRMCompManager::SetSR(const XSpatialReference& sr) {
  impl_->sr = sr;
}

int ZRMCompManager::CalcTotalRange(double& minX, double& maxX, double& minY, double& maxY) const {
  const XSpatialReference* const shown = GetSR();
  if (!shown) return 0;
  return zrk::FencedRead([&] {
    const zrk::Extent total = impl_->GetRange(shown);
    if (!total.isSet) return 0;
    minX = total.minX;
    maxX = total.maxX;
    minY = total.minY;
    maxY = total.maxY;
    return 1;
  });
}

double ZRMCompManager::GetULX() const {
  double minX = 0.0, maxX = 0.0, minY = 0.0, maxY = 0.0;
  CalcTotalRange(minX, maxX, minY, maxY);
  return minX;
}

double ZRMCompManager::GetULY() const {
  double minX = 0.0, maxX = 0.0, minY = 0.0, maxY = 0.0;
  CalcTotalRange(minX, maxX, minY, maxY);
  return maxY;
}
