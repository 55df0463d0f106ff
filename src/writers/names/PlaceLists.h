#pragma once

#include "writers/names/PlaceLines.h"
#include "XPlaceSource.h"

#include <string_view>

namespace zrk {

/// Takes the entries of a list and counts what becomes of them.
class PlaceTaker {
 public:
  PlaceTaker(XPBPProviderExporter& exporter, tagXPlaceCount& count) : exporter_(exporter), count_(count) {}

  /// A point that is not on earth, a name that is empty, and one that is too long are counted and left out. Raises
  /// `PlaceListFault` where the exporter can take no more.
  void Take(ListedPoint point, std::string_view name);
  /// An entry without a name or a point.
  void LeaveOut() { ++count_.numUnplaced; }

 private:
  XPBPProviderExporter& exporter_;
  tagXPlaceCount& count_;
};

// One function for each kind of list. Each raises `PlaceListFault` for what it can't understand.

/// The elements named city of the XML of libgweather.
void TakeGWeather(const XString& path, PlaceTaker& taker);
/// Rows of country codes, coordinates as ISO 6709 has them, and the name of a time zone, with tabs in between.
void TakeTzdata(PlaceLines& lines, PlaceTaker& taker);
/// Markers: latitude, longitude and the text, and among them words with an equals sign, some of which say that the
/// numbers are no latitude and longitude.
void TakeXplanet(PlaceLines& lines, PlaceTaker& taker);
void TakeCsv(PlaceLines& lines, PlaceTaker& taker);

/// A latitude and a longitude in degrees, minutes and perhaps seconds, as "+4230+00131". False for anything else.
bool ParseIso6709(std::string_view text, ListedPoint& point);

}  // namespace zrk
