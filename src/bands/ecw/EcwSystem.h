#pragma once

#include "XString.h"

#include <span>
#include <string_view>

class XSpatialReference;

namespace zrk {

/// A name that ECW files use, and its number in the EPSG registry.
struct EcwName {
  std::string_view name;
  int code;
};

/// Names of datums, with their geographic systems.
std::span<const EcwName> GetEcwDatums();
/// Names of projections, with the projected systems that have them.
std::span<const EcwName> GetEcwProjections();

/// Sets the system that the texts of an ECW file name, in any case of letters.
///
/// Under the compatible policy "UTM" zones and "GEODETIC" are on WGS 84 whatever the datum. Any other name is looked
/// up, and the datum replaces that of the system found. A name that is not known, or whose system PROJ does not know,
/// sets the kind `kReferenceUnknown` and leaves the system as it was. A datum that is not known changes nothing.
void NameEcwSystem(XString datum, XString projection, XSpatialReference& system);

/// The same under the exact policy: the datum counts in any case. Where one of the two is not known, the system is
/// empty and of the kind `kReferenceUnknown`. "RAW" is no system at all.
void NameEcwSystemExactly(XString datum, XString projection, XSpatialReference& system);

}  // namespace zrk
