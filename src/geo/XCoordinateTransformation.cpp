// Transformations between two systems, by OGR and PROJ. OGR's object keeps state while it works and serves one thread
// at a time, so that a lock stands around each use. Both systems are copied by way of their WKT, and have x before y
// whatever their registers say.

#include "XCoordinateTransformation.h"

#include "geo/GdalScope.h"
#include "XSpatialReference.h"

#include <ogr_spatialref.h>
#include <cmath>
#include <exception>
#include <mutex>
#include <utility>

namespace {

struct TransformationDestroy {
  void operator()(OGRCoordinateTransformation* transformation) const {
    OGRCoordinateTransformation::DestroyCT(transformation);
  }
};
using Transformation = std::unique_ptr<OGRCoordinateTransformation, TransformationDestroy>;

/// Makes OGR's system for a reference; false for an empty reference, and for one that OGR does not understand.
bool CopySystem(const XSpatialReference& from, OGRSpatialReference& to) {
  XString wkt;
  if (!from.exportToWkt(wkt) || wkt.IsEmpty()) return false;
  to.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return to.importFromWkt(wkt.GetText()) == OGRERR_NONE;
}

Transformation MakeTransformation(const XSpatialReference& from, const XSpatialReference& to) {
  // The result must depend on the two systems, and not on grids that a server has today.
  zrk::SwitchNetworkOff();
  OGRSpatialReference source, target;
  if (!CopySystem(from, source) || !CopySystem(to, target)) return nullptr;
  return Transformation(OGRCreateCoordinateTransformation(&source, &target));
}

}  // namespace

/// OGR's transformation, and the lock that each use of it takes.
class XCoordinateTransformation::Impl {
 public:
  explicit Impl(Transformation transformation) : transformation_(std::move(transformation)) {}

  bool Transform(double& x, double& y) {
    const std::lock_guard lock(mutex_);
    return transformation_->Transform(1, &x, &y) != 0 && std::isfinite(x) && std::isfinite(y);
  }

 private:
  std::mutex mutex_;
  Transformation transformation_;
};

XCoordinateTransformation::XCoordinateTransformation(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
XCoordinateTransformation::~XCoordinateTransformation() = default;

int XCoordinateTransformation::TransformPt(double& x, double& y) const {
  const zrk::QuietGdal quiet;
  try {
    // The caller's coordinates stay unchanged where the transformation fails half way.
    double newX = x, newY = y;
    if (!impl_->Transform(newX, newY)) return 0;
    x = newX;
    y = newY;
    return 1;
  } catch (const std::exception&) {
    return 0;
  }
}

std::unique_ptr<XCoordinateTransformation> XfnCreateCoordTrans(const XSpatialReference& from,
                                                               const XSpatialReference& to) {
  const zrk::QuietGdal quiet;
  try {
    Transformation transformation = MakeTransformation(from, to);
    if (!transformation) return nullptr;
    auto impl = std::make_unique<XCoordinateTransformation::Impl>(std::move(transformation));
    return std::unique_ptr<XCoordinateTransformation>(new XCoordinateTransformation(std::move(impl)));
  } catch (const std::exception&) {
    return nullptr;
  }
}
