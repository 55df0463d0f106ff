#pragma once

#include "XExport.h"
#include "XPBPProviderExporter.h"
#include "XString.h"

#include <cstdint>

/// Lists of places that can be read.
enum XPlaceFormat : int {
  kPlacesByContent = 0,  ///< whichever of the others the beginning of the file looks like
  /// The XML of libgweather (Locations.xml): every city that has coordinates.
  kPlacesGWeather = 1,
  /// Tables of tzdata (zone1970.tab, zone.tab): the city after which each time zone is named.
  kPlacesTzdata = 2,
  /// Markers of xplanet: latitude, longitude, and a text in quotes or braces.
  kPlacesXplanet = 3,
  /// Fields between commas. A first line of names tells which ones are longitude, latitude and name; without it they
  /// are the first three, in this order. A field in double quotes may hold commas, and two double quotes for one.
  kPlacesCsv = 4,
};

/// What became of the entries of a list.
struct tagXPlaceCount {
  std::int64_t numAdded = 0;
  std::int64_t numTooLong = 0;   ///< left out: the name has more than 64 bytes
  std::int64_t numUnplaced = 0;  ///< left out: the list gives no name, or no place on earth
};

/// Adds the places of a list to an exporter, with the longitude as first coordinate and the latitude as second, in
/// degrees on WGS 84. Longitudes from 180 to 360 become those west of Greenwich. Names are kept byte by byte.
///
/// Returns 1, with the counts of this list; or 0 with the reason in `err`, and with the number of the line if one is at
/// fault. It fails if the file can't be read, is larger than the limits allow (XLimits.h: texts of XML), has a line of
/// more than 64 KiB, or has an entry that is not a place. Places in front of that line are then in the exporter.
/// Nothing is thrown, and numbers do not depend on the locale.
ZRKIO_API int XfnAddPlaces(const XString& path, XPlaceFormat format, XPBPProviderExporter& exporter,
                           tagXPlaceCount& count, XString& err);
