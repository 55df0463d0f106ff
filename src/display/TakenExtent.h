#pragma once

#include "display/Affine.h"

class XSpatialReference;

namespace zrk {

/// The extent that places on and within an extent of one system have in another; not set where none of them has any,
/// and where there is no way between the systems. The same extent where either system is unknown.
///
/// In degrees the extent is one without a gap: one that lies across longitude 180 goes on beyond 180 or before -180. It
/// has the longitudes from -180 to 180 where a pole lies within, or where it goes around the earth, and it reaches up
/// to a pole that lies within or on its edge.
Extent TakeExtent(const XSpatialReference& from, const XSpatialReference& to, const Extent& extent);

}  // namespace zrk
