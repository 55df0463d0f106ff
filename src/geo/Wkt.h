#pragma once

#include "XString.h"

class OGRSpatialReference;

namespace zrk {

/// Whether a text is short and shallow enough to be handed to a parser.
bool IsPlausibleWkt(const XString& wkt);

/// The system as WKT 1, whatever the environment prefers; 0, with `wkt` as it was, where it has no such form.
int ExportWkt(const OGRSpatialReference& system, XString& wkt);

}  // namespace zrk
