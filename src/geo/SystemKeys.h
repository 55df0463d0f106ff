#pragma once

#include "geo/GeoKeyFile.h"

#include <optional>

class XString;

namespace zrk {

/// The key that says whether a pixel is an area, and that value of it.
inline constexpr std::uint16_t kRasterTypeKey = 1025, kRasterPixelIsArea = 1;

/// What a caller is told where a file is to keep a system that has no keys.
inline constexpr const char* kSystemHasNoKeys =
    "The coordinate system can't be written, because there are no geokeys for it";

/// The geokeys of a coordinate system in WKT, without the key of the raster type, which is not about the system. Empty
/// for a text that is empty or no system, and for a system that has no keys. Nothing is thrown.
std::optional<GeoKeySet> KeysOfSystem(const XString& wkt);

}  // namespace zrk
