#pragma once

#include "XExport.h"
#include "XSpatialReference.h"
#include "ZRMComposite.h"

#include <memory>

/// A list of composites that are laid over each other, the first on top: draw them from the last to the first.
///
/// One thread sets it up; then many may ask it and draw its composites at once. Nothing throws but the constructor,
/// where memory ran out.
class ZRKIO_API ZRMCompManager {
 public:
  ZRMCompManager();
  /// Deletes the composites where the delete flag is set.
  ~ZRMCompManager();
  ZRMCompManager(const ZRMCompManager&) = delete;
  ZRMCompManager& operator=(const ZRMCompManager&) = delete;

  /// Whether the manager deletes its composites with itself: nonzero, as at first, or 0 where they stay the caller's.
  /// The flag counts when the manager goes.
  int GetCompositeDeleteFlag() const;
  void SetCompositeDeleteFlag(int deletes);

  /// Appends a composite, which has to come from `new` where the delete flag is set. Returns 1, or 0 for null, for a
  /// composite that is in the list, and if memory runs out. After a 0 the composite stays the caller's.
  int AddZRMComposite(ZRMComposite* composite);
  int GetNumberOfZRMComposite() const;
  /// Returns null for an index outside the list.
  ZRMComposite* GetZRMCompositeAt(int index) const;

  /// The system that all is shown in: what `SetSR` gave, otherwise that of the first band, which may be empty. Returns
  /// null while there is no band.
  const XSpatialReference* GetSR() const;
  void SetSR(const XSpatialReference& sr);

  /// The extent of the draw ranges of all composites in the manager's system: from west to east, then from south to
  /// north. The extent of a warped composite is worked out from places along its edges and across it. An extent in
  /// degrees has no gap: across longitude 180 it continues beyond 180 or before -180. If a pole lies within, the extent
  /// has all longitudes from -180 to 180. Returns 1, or 0 with the outputs as they were, if no composite has a band
  /// that can be placed there.
  int CalcTotalRange(double& minX, double& maxX, double& minY, double& maxY) const;
  /// The upper left corner of that extent; 0.0 without one.
  double GetULX() const;
  double GetULY() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
