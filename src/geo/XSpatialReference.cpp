#include "XSpatialReference.h"

#include "geo/GdalScope.h"

#include <ogr_spatialref.h>
#include <ogr_srs_api.h>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

/// Texts beyond this are no system that anybody wrote.
constexpr int kMostWktBytes = 1 << 20;
constexpr int kMostWktDepth = 64;

bool IsPlausibleWkt(const XString& wkt) {
  if (wkt.IsEmpty() || wkt.GetLength() > kMostWktBytes) return false;
  int depth = 0;
  for (const char c : wkt.AsStdString()) {
    if (c == '[' || c == '(') ++depth;
    if (c == ']' || c == ')') --depth;
    if (depth > kMostWktDepth) return false;
  }
  return true;
}

void SwitchNetworkOff() {
  static std::once_flag once;
  std::call_once(once, [] { OSRSetPROJEnableNetwork(0); });
}

}  // namespace

/// An OGR system with the lock that reading it takes: OGR fills in what it knows of a system while it is asked.
class XSpatialReference::Impl {
 public:
  Impl() { system_.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER); }
  Impl(const Impl& other) : system_(other.Copy()) {}
  Impl& operator=(const Impl&) = delete;

  /// Runs `use` with the system, alone and without a word on stderr.
  template <class Use>
  auto With(Use use) const {
    const std::lock_guard lock(mutex_);
    const zrk::QuietGdal quiet;
    return use(static_cast<const OGRSpatialReference&>(system_));
  }
  template <class Use>
  auto With(Use use) {
    const std::lock_guard lock(mutex_);
    const zrk::QuietGdal quiet;
    return use(system_);
  }

  OGRSpatialReference Copy() const {
    return With([](const OGRSpatialReference& system) { return system; });
  }

 private:
  mutable std::mutex mutex_;
  OGRSpatialReference system_;
};

XSpatialReference::XSpatialReference() = default;
XSpatialReference::~XSpatialReference() = default;

XSpatialReference::XSpatialReference(const XSpatialReference& other)
    : impl_(other.impl_ ? std::make_unique<Impl>(*other.impl_) : nullptr), coordinateKind_(other.coordinateKind_) {}

XSpatialReference& XSpatialReference::operator=(const XSpatialReference& other) {
  if (this == &other) return *this;
  impl_ = other.impl_ ? std::make_unique<Impl>(*other.impl_) : nullptr;
  coordinateKind_ = other.coordinateKind_;
  return *this;
}

template <class Set>
int XSpatialReference::Import(Set set) {
  SwitchNetworkOff();
  auto fresh = std::make_unique<Impl>();
  const bool isSet =
      fresh->With([&](OGRSpatialReference& system) { return set(system) == OGRERR_NONE && !system.IsEmpty(); });
  Clear();
  if (!isSet) return 0;
  impl_ = std::move(fresh);
  coordinateKind_ = kReferenceKnown;
  return 1;
}

int XSpatialReference::importFromWkt(const XString& wkt) {
  return Import([&](OGRSpatialReference& system) {
    return IsPlausibleWkt(wkt) ? system.importFromWkt(wkt.GetText()) : OGRERR_CORRUPT_DATA;
  });
}

int XSpatialReference::importFromEPSG(int code) {
  return Import([&](OGRSpatialReference& system) { return system.importFromEPSG(code); });
}

int XSpatialReference::SetWellKnownGeogCS(const XString& name) {
  return Import([&](OGRSpatialReference& system) { return system.SetWellKnownGeogCS(name.GetText()); });
}

int XSpatialReference::SetUTM(int zone, bool north) {
  const std::unique_ptr<Impl> base = impl_ ? std::make_unique<Impl>(*impl_) : nullptr;
  return Import([&](OGRSpatialReference& system) {
    if (zone < 1 || zone > 60) return OGRERR_FAILURE;
    const bool keepsBase = base && base->With([&](const OGRSpatialReference& other) {
      return other.IsGeographic() && system.CopyGeogCSFrom(&other) == OGRERR_NONE;
    });
    if (!keepsBase && system.SetWellKnownGeogCS("WGS84") != OGRERR_NONE) return OGRERR_FAILURE;
    return system.SetUTM(zone, north);
  });
}

int XSpatialReference::exportToWkt(XString& wkt) const {
  if (!impl_) {
    wkt.Empty();
    return 1;
  }
  char* text = nullptr;
  const bool isDone =
      impl_->With([&](const OGRSpatialReference& system) { return system.exportToWkt(&text) == OGRERR_NONE; });
  if (isDone) wkt = text;
  CPLFree(text);
  return isDone ? 1 : 0;
}

int XSpatialReference::IsGeographic() const {
  return impl_ && impl_->With([](const OGRSpatialReference& system) { return system.IsGeographic(); });
}

int XSpatialReference::IsSame(const XSpatialReference& other) const {
  if (!impl_ || !other.impl_) return !impl_ && !other.impl_;
  if (this == &other) return 1;
  // A copy, so that two locks are never held at once.
  const OGRSpatialReference copy = other.impl_->Copy();
  return impl_->With([&](const OGRSpatialReference& system) { return system.IsSame(&copy); });
}

int XSpatialReference::IsEmpty() const {
  return impl_ ? 0 : 1;
}

void XSpatialReference::Clear() {
  impl_.reset();
  coordinateKind_ = kReferenceNone;
}

XString XSpatialReference::GetName() const {
  if (!impl_) return {};
  return impl_->With([](const OGRSpatialReference& system) { return XString(system.GetName()); });
}

int XSpatialReference::GetEPSG() const {
  if (!impl_) return 0;
  OGRSpatialReference copy = impl_->Copy();
  const zrk::QuietGdal quiet;
  copy.AutoIdentifyEPSG();
  const char* authority = copy.GetAuthorityName(nullptr);
  const char* code = copy.GetAuthorityCode(nullptr);
  return authority && code && std::strcmp(authority, "EPSG") == 0 ? std::atoi(code) : 0;
}
