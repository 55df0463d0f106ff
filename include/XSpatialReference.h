#pragma once

#include "XExport.h"
#include "XString.h"

#include <memory>

/// What a spatial reference knows.
enum XReferenceKind { kReferenceNone = 1, kReferenceUnknown = 2, kReferenceKnown = 3 };

/// A coordinate reference system. Axis order is always x (longitude, easting) before y. Copies are independent and cost
/// nothing. Operations answer 1 for success and 0 for failure; a failed import leaves the reference empty.
///
/// One object may be read from several threads at once.
class ZRKIO_API XSpatialReference {
 public:
  XSpatialReference();
  ~XSpatialReference();
  XSpatialReference(const XSpatialReference& other);
  XSpatialReference& operator=(const XSpatialReference& other);

  int importFromWkt(const XString& wkt);
  /// `code` as in the EPSG registry.
  int importFromEPSG(int code);
  /// "WGS84", "WGS72", "NAD27", "NAD83" and their like.
  int SetWellKnownGeogCS(const XString& name);
  /// Zone 1 to 60 on WGS 84 unless a geographic system is already set, which then stays the base.
  int SetUTM(int zone, bool north = true);
  /// As WKT 1. Empty text and 1 for an empty reference.
  int exportToWkt(XString& wkt) const;

  int IsGeographic() const;
  /// Whether both describe the same system; two empty ones do.
  int IsSame(const XSpatialReference& other) const;
  int IsEmpty() const;
  void Clear();

  /// The system's name, and its EPSG code or 0 where none is known.
  XString GetName() const;
  int GetEPSG() const;

  /// A value of `XReferenceKind`. A reference starts with 1; a successful import sets 3, and `Clear` 1.
  int GetCoordinateKind() const { return coordinateKind_; }
  void SetCoordinateKind(int coordinateKind) { coordinateKind_ = coordinateKind; }

 private:
  class Impl;
  template <class Set>
  int Import(Set set);

  std::shared_ptr<const Impl> impl_;  // null while empty; never changed, so that copies share it
  int coordinateKind_ = kReferenceNone;
};
