// ECW files name a datum and a projection, each by a word of their makers. A projection is either a zone of UTM, as
// "NUTM52", or "GEODETIC" for longitude and latitude, or one of a table of state planes and their like.

#include "bands/ecw/EcwSystem.h"

#include "XSpatialReference.h"

#include <cpl_conv.h>
#include <algorithm>
#include <cstdlib>

namespace zrk {

namespace {

constexpr int kNoCode = -1;
constexpr std::string_view kUtm = "UTM";
constexpr std::string_view kGeodetic = "GEODETIC";

int FindCode(std::span<const EcwName> names, const XString& name) {
  const auto found = std::ranges::find(names, std::string_view(name.AsStdString()), &EcwName::name);
  return found == names.end() ? kNoCode : found->code;
}

/// A zone of UTM: its hemisphere stands before the word, and its number behind it.
struct UtmZone {
  int zone;
  bool isNorth;
};

/// The first four characters are a letter and the word, whatever they are. A number that is too large is no zone.
UtmZone ReadZone(const XString& projection) {
  constexpr int kBefore = 4, kNoZone = 0, kMaxZone = 60;
  const long zone = std::strtol(projection.Mid(kBefore).GetText(), nullptr, 10);
  return {zone < 1 || zone > kMaxZone ? kNoZone : static_cast<int>(zone), projection.GetAt(0) == 'N'};
}

/// Puts the projection of a system on another datum. It stays as it was where that is not possible.
bool ReplaceDatum(XSpatialReference& system, int datumCode) {
  XString name;
  name.Format("EPSG:%d", datumCode);
  XSpatialReference made = system;
  if (datumCode == kNoCode || !made.SetWellKnownGeogCS(name)) return false;
  system = made;
  return true;
}

/// The number's own system, also where the registry has put another one in its place: that may lie on another datum.
bool MakeNamed(const XString& projection, XSpatialReference& made) {
  const CPLConfigOptionSetter asItStands("OSR_USE_NON_DEPRECATED", "NO", false);
  const int code = FindCode(GetEcwProjections(), projection);
  return code != kNoCode && made.importFromEPSG(code);
}

/// The zone's system, with its name where the registry has it.
bool MakeZone(const XString& projection, XSpatialReference& made) {
  const UtmZone utm = ReadZone(projection);
  if (!made.SetUTM(utm.zone, utm.isNorth)) return false;
  XSpatialReference registered;
  if (registered.importFromEPSG(made.GetEPSG()) && registered.IsSame(made)) made = registered;
  return true;
}

bool MakeExactly(const XString& projection, int datumCode, XSpatialReference& made) {
  if (projection == kGeodetic) return ReplaceDatum(made, datumCode);
  if (projection.Find(kUtm) != 1) return MakeNamed(projection, made) && ReplaceDatum(made, datumCode);
  return ReplaceDatum(made, datumCode) && MakeZone(projection, made);
}

}  // namespace

void NameEcwSystem(XString datum, XString projection, XSpatialReference& system) {
  datum.MakeUpper();
  projection.MakeUpper();
  XSpatialReference made = system;
  bool isMade = false;
  if (projection.Find(kUtm) >= 0) {
    const UtmZone utm = ReadZone(projection);
    isMade = made.SetUTM(utm.zone, utm.isNorth) && made.SetWellKnownGeogCS("WGS84");
  } else if (projection.Find(kGeodetic) >= 0) {
    isMade = made.SetWellKnownGeogCS("WGS84");
  } else {
    isMade = MakeNamed(projection, made);
    if (isMade) ReplaceDatum(made, FindCode(GetEcwDatums(), datum));
  }
  if (isMade) {
    system = made;
  } else {
    system.SetCoordinateKind(kReferenceUnknown);
  }
}

void NameEcwSystemExactly(XString datum, XString projection, XSpatialReference& system) {
  datum.MakeUpper();
  projection.MakeUpper();
  XSpatialReference made;
  const bool isMade = MakeExactly(projection, FindCode(GetEcwDatums(), datum), made);
  system = isMade ? made : XSpatialReference();
  if (!isMade && !(projection == "RAW")) system.SetCoordinateKind(kReferenceUnknown);
}

}  // namespace zrk
