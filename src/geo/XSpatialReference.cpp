// A spatial reference over OGR's. OGR's object is not constant: it fills in what it knows of a system while it is
// asked, even by functions that are const. So every use takes a lock. An import makes a new object and never changes
// one, so that copies of a reference share it and cost nothing.
//
// Axes are always x before y. OGR and PROJ neither print nor throw past this file, and fetch nothing from a network.

#include "XSpatialReference.h"

#include "geo/GdalScope.h"
#include "geo/Wkt.h"

#include <ogr_spatialref.h>
#include <charconv>
#include <exception>
#include <mutex>
#include <string_view>
#include <utility>

namespace {

/// The EPSG code that a system carries, or that OGR finds for it; 0 where there is none.
int FindEPSG(OGRSpatialReference& system) {
  system.AutoIdentifyEPSG();
  const char* authority = system.GetAuthorityName(nullptr);
  const char* text = system.GetAuthorityCode(nullptr);
  if (!authority || !text || std::string_view(authority) != "EPSG") return 0;
  const std::string_view digits = text;
  int code = 0;
  // A code may be text that only begins with digits, and that is no number of the registry.
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code);
  return error == std::errc() && end == digits.data() + digits.size() ? code : 0;
}

}  // namespace

/// An OGR system, and the lock that each use of it takes.
class XSpatialReference::Impl {
 public:
  Impl() { system_.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER); }

  /// What `use` makes of the system. Meanwhile no other thread uses it and GDAL is quiet. A default value where it
  /// throws.
  template <class Use>
  auto With(Use use) const -> decltype(use(std::declval<const OGRSpatialReference&>())) {
    const std::lock_guard lock(mutex_);
    return Fenced([&] { return use(system_); });
  }
  template <class Use>
  auto With(Use use) -> decltype(use(std::declval<OGRSpatialReference&>())) {
    const std::lock_guard lock(mutex_);
    return Fenced([&] { return use(system_); });
  }

  bool IsSame(const Impl& other) const {
    // Two threads may compare the same two systems in either order. Both locks are taken without a deadlock.
    const std::scoped_lock lock(mutex_, other.mutex_);
    // Both have x before y here. A register may have another order, which texts follow or not.
    const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
    return Fenced([&] { return system_.IsSame(&other.system_, options) != 0; });
  }

 private:
  template <class Use>
  static auto Fenced(Use use) -> decltype(use()) {
    const zrk::QuietGdal quiet;
    try {
      return use();
    } catch (const std::exception&) {
      return {};
    }
  }

  mutable std::mutex mutex_;
  OGRSpatialReference system_;
};

XSpatialReference::XSpatialReference() = default;
XSpatialReference::~XSpatialReference() = default;

XSpatialReference::XSpatialReference(const XSpatialReference& other) = default;
XSpatialReference& XSpatialReference::operator=(const XSpatialReference& other) = default;

template <class Set>
int XSpatialReference::Import(Set set) {
  zrk::SwitchNetworkOff();
  auto fresh = std::make_shared<Impl>();
  const bool isSet =
      fresh->With([&](OGRSpatialReference& system) { return set(system) == OGRERR_NONE && !system.IsEmpty(); });
  // A failed import leaves the reference empty.
  Clear();
  if (!isSet) return 0;
  impl_ = std::move(fresh);
  coordinateKind_ = kReferenceKnown;
  return 1;
}

int XSpatialReference::importFromWkt(const XString& wkt) {
  return Import([&](OGRSpatialReference& system) {
    return zrk::IsPlausibleWkt(wkt) ? system.importFromWkt(wkt.GetText()) : OGRERR_CORRUPT_DATA;
  });
}

int XSpatialReference::importFromEPSG(int code) {
  return Import([&](OGRSpatialReference& system) { return system.importFromEPSG(code); });
}

int XSpatialReference::SetWellKnownGeogCS(const XString& name) {
  // The import clears this reference, and so the old system is held until it is copied.
  const std::shared_ptr<const Impl> before = impl_;
  return Import([&](OGRSpatialReference& system) {
    const auto keepProjection = [&](const OGRSpatialReference& other) {
      if (other.IsProjected()) system = other;
      return true;
    };
    if (before) before->With(keepProjection);
    return system.SetWellKnownGeogCS(name.GetText());
  });
}

int XSpatialReference::SetUTM(int zone, bool north) {
  // The import clears this reference, and so the old system is held until its datum is copied.
  const std::shared_ptr<const Impl> base = impl_;
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
  return impl_->With([&](const OGRSpatialReference& system) { return zrk::ExportWkt(system, wkt); });
}

int XSpatialReference::IsGeographic() const {
  return impl_ && impl_->With([](const OGRSpatialReference& system) { return system.IsGeographic(); });
}

int XSpatialReference::IsSame(const XSpatialReference& other) const {
  if (!impl_ || !other.impl_) return !impl_ && !other.impl_;
  return impl_ == other.impl_ || impl_->IsSame(*other.impl_);
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
  return impl_->With([](const OGRSpatialReference& system) {
    // OGR writes a code that it finds into the system. So a copy is asked.
    OGRSpatialReference copy = system;
    return FindEPSG(copy);
  });
}
