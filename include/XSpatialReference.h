#pragma once

#include "XExport.h"
#include "XString.h"

#include <memory>

/// What a spatial reference knows: nothing, only that there is a system, or the system itself.
enum XReferenceKind { kReferenceNone = 1, kReferenceUnknown = 2, kReferenceKnown = 3 };

/// A coordinate reference system. Axis order is always x (longitude, easting) before y. Copies are independent and cost
/// nothing. Operations give 1 for success and 0 for failure; a failed import leaves the reference empty.
///
/// One object may be read from several threads at once. Imports, `Clear` and assignment change the object, so that one
/// thread alone may call them. Nothing here throws but `std::bad_alloc`.
class ZRKIO_API XSpatialReference {
 public:
  /// An empty reference, of the kind `kReferenceNone`.
  XSpatialReference();
  ~XSpatialReference();
  /// A copy shares the system behind it, which nobody changes.
  XSpatialReference(const XSpatialReference& other);
  XSpatialReference& operator=(const XSpatialReference& other);

  /// Takes the system from a WKT text of version 1 or 2. A text that nests too deep to be a system is refused.
  int importFromWkt(const XString& wkt);
  /// `code` as in the EPSG registry. Nothing is fetched from a network: the code has to be in the tables of the
  /// machine.
  int importFromEPSG(int code);
  /// "WGS84", "WGS72", "NAD27", "NAD83" and their like, or "EPSG:" and the number of a geographic system. A geographic
  /// system in degrees results. A projected system that is already set keeps its projection and gets this one as base.
  int SetWellKnownGeogCS(const XString& name);
  /// Zone 1 to 60 on WGS 84 unless a geographic system is already set, which then stays the base. Eastings and
  /// northings are in metres. Any other zone fails, and the base is lost then.
  int SetUTM(int zone, bool north = true);
  /// As WKT 1. An empty reference gives the empty text and 1.
  int exportToWkt(XString& wkt) const;

  /// Whether coordinates are longitude and latitude. Returns 0 for a projected system and for an empty reference.
  int IsGeographic() const;
  /// Whether both describe the same system; two empty ones do. The order of axes in the texts does not matter.
  int IsSame(const XSpatialReference& other) const;
  /// Whether there is no system.
  int IsEmpty() const;
  /// Takes the system away; the kind is then `kReferenceNone`.
  void Clear();

  /// The name of the system, empty for an empty reference; and its EPSG code, 0 for an unknown one.
  XString GetName() const;
  int GetEPSG() const;

  /// A value of `XReferenceKind`. A reference starts with 1; a successful import sets 3, and `Clear` 1.
  int GetCoordinateKind() const { return coordinateKind_; }
  /// For loaders that know that there is a system and not which. It changes no system.
  void SetCoordinateKind(int coordinateKind) { coordinateKind_ = coordinateKind; }

 private:
  class Impl;
  template <class Set>
  int Import(Set set);

  std::shared_ptr<const Impl> impl_;  // null while empty; never changed, so that copies share it
  int coordinateKind_ = kReferenceNone;
};
