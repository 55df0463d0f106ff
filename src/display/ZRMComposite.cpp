// The settings of a composite, and two things that are made of them once and shared by all draws. These are the looks
// of its bands, and the transforms from the systems of the buffers that it was drawn into. The first draw that needs
// them makes them under a lock. Further draws take the lock only to find them.

#include "ZRMComposite.h"

#include "base/Fence.h"
#include "base/ReadError.h"
#include "display/CompositeDraw.h"
#include "tagXRSGIS.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

struct ZRMComposite::Impl {
  using Band = zrk::CompositeSettings::Band;
  using Bridge = std::shared_ptr<const zrk::SystemBridge>;

  /// Null for a number that no band has.
  Band* At(int index) {
    return 0 <= index && index < kCompositeBands ? &settings.bands[static_cast<std::size_t>(index)] : nullptr;
  }
  /// Null also where the band is not there.
  Band* Present(int index) {
    Band* const band = At(index);
    return band && band->band ? band : nullptr;
  }
  const XSpatialReference* GetSR() const {
    const Band* const first = settings.First();
    return first ? first->band->GetSR() : nullptr;
  }

  void Touch() {
    const std::lock_guard lock(mutex);
    ready.reset();
  }
  void TouchSystems() {
    const std::lock_guard lock(mutex);
    ready.reset();
    bridges.clear();
    systemId = zrk::NextSystemId();
  }
  std::shared_ptr<const zrk::ReadyComposite> GetReady();
  Bridge GetBridge(const XSpatialReference& from, std::uint64_t id);
  Bridge BridgeFor(const zrk::BackBufferState& buffer, const ZRMComposite* first);
  int Draw(zrk::BackBufferState& buffer, const zrk::Window& window, int method, const ZRMComposite* first, int* cancel);

  XString name;
  ZRMVand* vand = nullptr;
  zrk::CompositeSettings settings;
  XBackBuffer ownBuffer;

  std::mutex mutex;  // over what follows
  std::shared_ptr<const zrk::ReadyComposite> ready;
  struct KnownBridge {
    std::uint64_t id;  // of the system that it leads from
    XSpatialReference from;
    Bridge bridge;
  };
  std::vector<KnownBridge> bridges;
  std::uint64_t systemId = zrk::NextSystemId();  // of this composite
};

namespace {

using Settings = zrk::BandSettings;

/// Without colours there is no reason to show a thematic band otherwise than others. The compatible policy does.
bool IsShownInClasses(const ZRMBand& band) {
  return band.GetBandType() == kBandTypeThematic && (band.GetNumOfGIS() > 0 || !band.IsExact());
}

/// Class numbers are their own bytes, each in the colour of its class.
void TakeClassColours(const ZRMBand& band, Settings& settings) {
  settings.stretchType = kStretchNone;
  for (int i = 0; i < band.GetNumOfGIS(); ++i) {
    const tagXRSGIS* const gis = band.GetGISAt(i);
    if (gis->index < 0 || gis->index > 255) continue;
    settings.clt[static_cast<std::size_t>(gis->index)] =
        XColour{gis->red} | XColour{gis->green} << 8 | XColour{gis->blue} << 16;
  }
}

/// The place of the band is taken over here, so that draws need not ask for it.
zrk::CompositeSettings::Band MakeBand(ZRMBand* band) {
  zrk::CompositeSettings::Band made;
  made.band = band;
  if (!band) return made;
  band->GetGeoTransform(made.toWorld.c.data());
  zrk::Affine back;
  if (made.toWorld.Invert(back)) made.toPixels = back;
  return made;
}

bool IsFinite(double a, double b, double c, double d) {
  return std::isfinite(a) && std::isfinite(b) && std::isfinite(c) && std::isfinite(d);
}

/// The pixels that lie between two edges of an axis of a band, at least partly.
void PixelsBetween(double low, double high, int size, int& first, int& last) {
  first = static_cast<int>(std::clamp(std::floor(low), 0.0, static_cast<double>(size)));
  last = static_cast<int>(std::clamp(std::ceil(high), 0.0, static_cast<double>(size))) - 1;
}

}  // namespace

/// A composite that can't be made ready is tried again by the next draw: a band may be readable then.
std::shared_ptr<const zrk::ReadyComposite> ZRMComposite::Impl::GetReady() {
  const std::lock_guard lock(mutex);
  if (!ready) ready = zrk::ReadyComposite::Make(settings);
  return ready;
}

/// Comparing systems takes long, so that it is done once for each number. Another number of a system that is known gets
/// its bridge.
ZRMComposite::Impl::Bridge ZRMComposite::Impl::GetBridge(const XSpatialReference& from, std::uint64_t id) {
  constexpr std::size_t kMaxBridges = 64;
  const std::lock_guard lock(mutex);
  const auto known = std::find_if(bridges.begin(), bridges.end(), [&](const auto& b) { return b.id == id; });
  if (known != bridges.end()) return known->bridge;
  const auto same = std::find_if(bridges.begin(), bridges.end(), [&](const auto& b) { return b.from.IsSame(from); });
  const XSpatialReference* const own = GetSR();
  const Bridge bridge =
      same != bridges.end() ? same->bridge : zrk::SystemBridge::Make(from, own ? *own : XSpatialReference());
  if (bridges.size() >= kMaxBridges) bridges.erase(bridges.begin());
  bridges.push_back({id, from, bridge});
  return bridge;
}

/// The buffer's own system goes first. Without one, what was drawn before tells which world the buffer shows.
ZRMComposite::Impl::Bridge ZRMComposite::Impl::BridgeFor(const zrk::BackBufferState& buffer,
                                                         const ZRMComposite* first) {
  if (!buffer.sr.IsEmpty()) return GetBridge(buffer.sr, buffer.systemId);
  const XSpatialReference* const ofFirst = first ? first->impl_->GetSR() : nullptr;
  if (ofFirst && first->impl_.get() != this) return GetBridge(*ofFirst, first->impl_->systemId);
  static const Bridge kSameWorld = std::make_shared<zrk::SystemBridge>();
  return kSameWorld;
}

int ZRMComposite::Impl::Draw(zrk::BackBufferState& buffer, const zrk::Window& window, int method,
                             const ZRMComposite* first, int* cancel) {
  const std::shared_ptr<const zrk::ReadyComposite> prepared = GetReady();
  if (!prepared) return kDrawFailed;
  if (!prepared->HasBands()) return kDrawNothing;
  const Bridge bridge = BridgeFor(buffer, first);
  if (!bridge->isPossible) {
    zrk::NoteReadError("There is no way between the two coordinate systems");
    return kDrawFailed;
  }
  return zrk::CompositeDraw(*prepared, *bridge, buffer, method, cancel).Draw(window);
}

ZRMComposite::ZRMComposite() : impl_(std::make_unique<Impl>()) {}
ZRMComposite::~ZRMComposite() = default;

const XString& ZRMComposite::GetName() const {
  return impl_->name;
}

void ZRMComposite::SetName(const XString& name) {
  impl_->name = name;
}

int ZRMComposite::GetMode() const {
  return impl_->settings.mode;
}

void ZRMComposite::SetMode(int mode) {
  if (mode != kModeColours && mode != kModeTable) return;
  impl_->settings.mode = mode;
  impl_->Touch();
}

ZRMVand* ZRMComposite::GetVand() const {
  return impl_->vand;
}

void ZRMComposite::SetVand(ZRMVand* vand) {
  impl_->vand = vand;
}

ZRMBand* ZRMComposite::GetBand(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band ? band->band : nullptr;
}

int ZRMComposite::SetBand(int index, ZRMBand* band) {
  Impl::Band* const place = impl_->At(index);
  if (!place) return 0;
  Impl::Band made = MakeBand(band);
  if (band) {
    made.settings.stretchType = band->GetDataSize() == 1 ? kStretchNone : kStretchMinMax;
    const bool hasColours = IsShownInClasses(*band);
    if (hasColours) TakeClassColours(*band, made.settings);
    if (hasColours && index == 0) impl_->settings.mode = kModeTable;
  }
  *place = std::move(made);
  impl_->TouchSystems();
  return 1;
}

ZRMBand* ZRMComposite::GetOpacityBand() const {
  return impl_->settings.opacity.band;
}

void ZRMComposite::SetOpacityBand(ZRMBand* band, double opaque) {
  impl_->settings.opacity = MakeBand(band);
  impl_->settings.opaqueSample = opaque;
  impl_->Touch();
}

int ZRMComposite::GetNumOfBands() const {
  return impl_->settings.CountBands();
}

XSpatialReference* ZRMComposite::GetSR() const {
  const Impl::Band* const first = impl_->settings.First();
  return first ? first->band->GetSR() : nullptr;
}

int ZRMComposite::GetHideFlag(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band && band->settings.isHidden ? 1 : 0;
}

void ZRMComposite::SetHideFlag(int index, int isHidden) {
  if (Impl::Band* const band = impl_->At(index)) band->settings.isHidden = isHidden != 0;
  impl_->Touch();
}

int ZRMComposite::GetStretchType(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band ? band->settings.stretchType : 0;
}

void ZRMComposite::SetStretchType(int index, int stretchType) {
  Impl::Band* const band = impl_->At(index);
  if (!band || stretchType < kStretchNone || stretchType > kStretchCut) return;
  band->settings.stretchType = stretchType;
  impl_->Touch();
}

double ZRMComposite::GetCoverage(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band ? band->settings.coverage : 0.0;
}

void ZRMComposite::SetCoverage(int index, double percent) {
  Impl::Band* const band = impl_->At(index);
  if (!band || !(percent >= 0.0 && percent <= 100.0)) return;
  band->settings.coverage = percent;
  impl_->Touch();
}

int ZRMComposite::GetCutType(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band ? band->settings.cutType : 0;
}

void ZRMComposite::SetCutType(int index, int cutType) {
  Impl::Band* const band = impl_->At(index);
  if (!band || cutType < kCutNone || cutType > kCutInside) return;
  band->settings.cutType = cutType;
  impl_->Touch();
}

double ZRMComposite::GetCutMin(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band ? band->settings.cutMin : 0.0;
}

double ZRMComposite::GetCutMax(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band ? band->settings.cutMax : 0.0;
}

void ZRMComposite::SetCutRange(int index, double cutMin, double cutMax) {
  Impl::Band* const band = impl_->At(index);
  if (!band) return;
  band->settings.cutMin = cutMin;
  band->settings.cutMax = cutMax;
  impl_->Touch();
}

double ZRMComposite::GetTransparentValue(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band ? band->settings.transparentValue : 0.0;
}

void ZRMComposite::SetTransparentValue(int index, double value) {
  if (Impl::Band* const band = impl_->At(index)) band->settings.transparentValue = value;
  impl_->Touch();
}

unsigned char* ZRMComposite::GetLUT(int index) {
  Impl::Band* const band = impl_->At(index);
  return band ? band->settings.lut.data() : nullptr;
}

XColour* ZRMComposite::GetCLT(int index) {
  Impl::Band* const band = impl_->At(index);
  return band ? band->settings.clt.data() : nullptr;
}

void ZRMComposite::TouchTables() {
  impl_->TouchSystems();
}

int ZRMComposite::GetNumOfHistogramPoints(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band ? static_cast<int>(band->settings.points.size()) : 0;
}

const tagXVector2* ZRMComposite::GetHistogramPointAt(int index, int point) const {
  if (point < 0 || point >= GetNumOfHistogramPoints(index)) return nullptr;
  return &impl_->At(index)->settings.points[static_cast<std::size_t>(point)];
}

/// All points are looked at before anything changes.
int ZRMComposite::SetHistogramPoints(int index, const tagXVector2* points, int numPoints) {
  Impl::Band* const band = impl_->At(index);
  if (!band || numPoints < 0 || (numPoints > 0 && !points)) return 0;
  for (int i = 0; i < numPoints; ++i) {
    if (!std::isfinite(points[i].x) || !std::isfinite(points[i].y)) return 0;
    if (i > 0 && !(points[i].x > points[i - 1].x)) return 0;
  }
  return zrk::FencedRead([&] {
    std::vector<tagXVector2> kept(points, points + numPoints);
    band->settings.lut = zrk::MakeCurve(kept);
    band->settings.points.swap(kept);
    impl_->Touch();
    return 1;
  });
}

/// A pixel that lies in the extent with a part of it counts.
int ZRMComposite::CalcSubsetStatistics(int index, double west, double south, double east, double north) {
  Impl::Band* const band = impl_->Present(index);
  if (!band || !band->toPixels || !IsFinite(west, south, east, north)) return 0;
  return zrk::ReadPixels([&] {
    zrk::Extent pixels;
    for (const double x : {west, east}) {
      for (const double y : {south, north}) pixels.GrowTo(band->toPixels->U(x, y), band->toPixels->V(x, y));
    }
    zrk::Window window;
    PixelsBetween(pixels.minX, pixels.maxX, band->band->GetXSize(), window.x0, window.x1);
    PixelsBetween(pixels.minY, pixels.maxY, band->band->GetYSize(), window.y0, window.y1);
    tagXSubsetStatistics statistics;
    if (!zrk::MeasureWindow(*band->band, window, statistics)) return 0;
    band->subset = statistics;
    impl_->Touch();
    return 1;
  });
}

const tagXSubsetStatistics* ZRMComposite::GetSubsetStatistics(int index) const {
  const Impl::Band* const band = impl_->At(index);
  return band && band->subset ? &*band->subset : nullptr;
}

const double* ZRMComposite::GetWarpCoeff(int index) const {
  const Impl::Band* const band = impl_->Present(index);
  return band ? band->toWorld.c.data() : nullptr;
}

const double* ZRMComposite::GetWarpCoeffInv(int index) const {
  const Impl::Band* const band = impl_->Present(index);
  return band && band->toPixels ? band->toPixels->c.data() : nullptr;
}

int ZRMComposite::GetDrawRange(double& minX, double& maxX, double& minY, double& maxY) const {
  const zrk::Extent range = impl_->settings.GetDrawRange();
  if (!range.isSet) return 0;
  minX = range.minX;
  maxX = range.maxX;
  minY = range.minY;
  maxY = range.maxY;
  return 1;
}

int ZRMComposite::SetDrawRange(double minX, double maxX, double minY, double maxY) {
  if (!IsFinite(minX, maxX, minY, maxY) || !(minX < maxX) || !(minY < maxY)) return 0;
  impl_->settings.drawRange = zrk::Extent{minX, maxX, minY, maxY, true};
  impl_->Touch();
  return 1;
}

void ZRMComposite::ClearDrawRange() {
  impl_->settings.drawRange.reset();
  impl_->Touch();
}

XBackBuffer* ZRMComposite::GetBackBuffer() {
  return &impl_->ownBuffer;
}

const unsigned char* ZRMComposite::GetDIBits() const {
  return std::as_const(impl_->ownBuffer).GetPixels();
}

/// Nothing to draw is no failure, and leaves the reason of the last failed read as it was.
int ZRMComposite::Draw(XBackBuffer* buffer, double west, double south, double east, double north, int method,
                       ZRMComposite* first, int* cancel) {
  zrk::BackBufferState& target = zrk::BackBufferAccess::Of(buffer ? *buffer : impl_->ownBuffer);
  if (target.pixels.empty()) return kDrawNothing;
  int result = kDrawNothing;
  const int isSound = zrk::ReadPixels([&] {
    if (!target.grid.IsPlaced()) return zrk::FailRead("The picture has no place in the world");
    const zrk::Window window = target.grid.Within(west, south, east, north);
    if (window.x1 < window.x0 || window.y1 < window.y0) return 1;
    result = impl_->Draw(target, window, method, first, cancel);
    return result == kDrawFailed ? 0 : 1;
  });
  return isSound ? result : kDrawFailed;
}
