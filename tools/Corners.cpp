// Where images are, as JSON and as text. Corners are shown in the system of the image, and also in longitude and
// latitude if the system can be converted to WGS 84.

#include "Corners.h"

#include "Place.h"
#include "XCoordinateTransformation.h"
#include "ZRMBand.h"

#include <cmath>
#include <cstdio>

namespace {

/// A number that is printed as 0 has no sign.
char Hemisphere(double degrees, char positive, char negative) {
  constexpr double kHalfOfLastDecimal = 5e-8;
  return degrees < -kHalfOfLastDecimal ? negative : positive;
}

/// Seven decimals of a degree are about a centimetre on the ground.
std::string FormatLonLat(const Json& place) {
  const double longitude = GetNumber(place[0]), latitude = GetNumber(place[1]);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.7f %c, %.7f %c", std::abs(longitude), Hemisphere(longitude, 'E', 'W'),
                std::abs(latitude), Hemisphere(latitude, 'N', 'S'));
  return text.data();
}

/// Writers that have no name for a system put a word of their own in its place.
bool IsName(const std::string& text) {
  return !text.empty() && text != "unknown" && text != "unnamed";
}

/// Ten digits serve both metres and degrees.
std::string FormatPoint(const Json& point) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.10g, %.10g", GetNumber(point[0]), GetNumber(point[1]));
  return text.data();
}

}  // namespace

/// Corners are those of the outer pixels and not the centres, in the order in which they are printed.
Points CornersOf(const ZRMBand& band) {
  const Place place(band);
  const double width = band.GetXSize(), height = band.GetYSize();
  return {place.ToWorld(0.0, 0.0), place.ToWorld(width, 0.0), place.ToWorld(width, height), place.ToWorld(0.0, height)};
}

Json DescribePoints(const Points& points) {
  Json json = Json::array();
  for (const auto& [x, y] : points) json.push_back(Json::array({Number(x), Number(y)}));
  return json;
}

/// Null for an image without a system, and where nothing leads from its system to WGS 84.
Json DescribeLonLat(const Points& points, const XSpatialReference& sr) {
  XSpatialReference wgs84;
  if (sr.IsEmpty() || !wgs84.SetWellKnownGeogCS("WGS84")) return nullptr;
  const auto transformation = XfnCreateCoordTrans(sr, wgs84);
  if (!transformation) return nullptr;
  Json json = Json::array();
  for (auto [x, y] : points) {
    // A corner that lies nowhere on earth is null, and the others are still told.
    const bool isPlace = transformation->TransformPt(x, y) && std::isfinite(x) && std::isfinite(y);
    json.push_back(isPlace ? Json::array({x, y}) : Json());
  }
  return json;
}

Json DescribeSystem(const XSpatialReference& sr) {
  if (sr.IsEmpty()) return nullptr;
  XString wkt;
  sr.exportToWkt(wkt);
  Json json = {{"name", sr.GetName().GetText()}};
  if (const int code = sr.GetEPSG()) json["epsg"] = code;
  json["wkt"] = wkt.GetText();
  return json;
}

void PrintSystem(const Json& system, const char* indent) {
  if (system.is_null()) {
    std::printf("%ssystem      unknown\n", indent);
    return;
  }
  const std::string name = GetText(system["name"]);
  std::printf("%ssystem      %s", indent, IsName(name) ? name.c_str() : "known, without a name");
  if (system.contains("epsg")) std::printf(" (EPSG:%d)", system["epsg"].get<int>());
  std::printf("\n");
}

/// A point may be told in the image's system, in degrees, or in both.
void PrintPoints(const std::vector<std::string>& labels, const Json& points, const Json& lonLat) {
  const std::size_t count = points.is_null() ? lonLat.size() : points.size();
  for (std::size_t i = 0; i < count; ++i) {
    const bool hasLonLat = !lonLat.is_null() && !lonLat[i].is_null();
    std::string text = points.is_null() ? "" : FormatPoint(points[i]);
    if (hasLonLat) text += points.is_null() ? FormatLonLat(lonLat[i]) : " (" + FormatLonLat(lonLat[i]) + ")";
    std::printf("  %-12s%s\n", labels[i].c_str(), text.c_str());
  }
}

void PrintCorners(const Json& corners, const Json& lonLat) {
  if (corners.is_null()) {
    std::printf("  place       none, pixel coordinates only\n");
    return;
  }
  PrintPoints({"upper left", "upper right", "lower right", "lower left"}, corners, lonLat);
}
