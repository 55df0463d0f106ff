// A rectified grid of GML, as OGC 05-047 puts it into JPEG 2000 files. It has the place of the centre of the first
// pixel and two vectors, from pixel to pixel in a row and from row to row.
//
// The order of the numbers depends on the system. If the system is named as in the registry,
// "urn:ogc:def:crs:EPSG::4326" for example, numbers stand in the order of the registry's axes. A grid that names its
// own axes, eastings first, overrides that order. A grid without a system has the system of the text around it. Its
// numbers are then taken as x and y, as the programs mean them that write such texts.

#include "bands/jp2/Jp2Gml.h"

#include "base/XmlGate.h"
#include "geo/AxisOrder.h"
#include "XLimits.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <pugixml.hpp>
#include <string>
#include <utility>
#include <vector>

namespace zrk {
namespace {

/// The name without the prefix of its name space.
std::string_view LocalName(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

/// The first element of a name beneath another one, which may be that one itself.
pugi::xml_node FindElement(const pugi::xml_node& top, std::string_view name) {
  if (LocalName(top) == name) return top;
  return top.find_node([name](const pugi::xml_node& node) { return LocalName(node) == name; });
}

/// Two numbers with blanks or a comma between them. Empty where there are fewer or more.
std::optional<std::array<double, 2>> ParsePair(std::string_view text) {
  constexpr std::string_view kBetween = " ,\t\r\n";
  std::vector<double> numbers;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(kBetween), text.size()));
    if (text.empty()) break;
    double number = 0.0;
    const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failed != std::errc() || !std::isfinite(number)) return std::nullopt;
    numbers.push_back(number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  }
  if (numbers.size() != 2) return std::nullopt;
  return std::array{numbers[0], numbers[1]};
}

std::optional<std::array<double, 2>> ParseOrigin(const pugi::xml_node& grid) {
  const pugi::xml_node origin = FindElement(grid, "origin");
  pugi::xml_node place = FindElement(origin, "pos");
  if (!place) place = FindElement(origin, "coordinates");
  return ParsePair(place.text().get());
}

std::vector<std::array<double, 2>> ParseSteps(const pugi::xml_node& grid) {
  std::vector<std::array<double, 2>> steps;
  for (const pugi::xml_node& child : grid.children()) {
    if (LocalName(child) != "offsetVector") continue;
    if (const auto step = ParsePair(child.text().get())) steps.push_back(*step);
  }
  return steps;
}

/// The name of the system at an element or within it; empty where they name no system.
std::string FindSystem(const pugi::xml_node& top) {
  const pugi::xml_node node = top.find_node([](const pugi::xml_node& each) { return !!each.attribute("srsName"); });
  const pugi::xml_attribute own = top.attribute("srsName");
  return own ? own.value() : node.attribute("srsName").value();
}

/// The number at the end of a name that has the registry in it; 0 for other names.
int ParseCode(const std::string& system) {
  std::string lower = system;
  std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const std::size_t digits = lower.find_last_not_of("0123456789") + 1;
  if (lower.find("epsg") == std::string::npos || digits >= lower.size()) return 0;
  int code = 0;
  std::from_chars(lower.data() + digits, lower.data() + lower.size(), code);
  return code;
}

constexpr const char* kGridName = "RectifiedGrid";

/// False for a text that is no XML, or not to be trusted.
bool LoadXml(std::string_view xml, pugi::xml_document& document) {
  const tagXLimits limits = XfnGetLimits();
  return std::ssize(xml) <= limits.xmlBytes && FindXmlDanger(xml, limits.nestingDepth).IsEmpty() &&
         document.load_buffer(xml.data(), xml.size());
}

bool NamesEastFirst(const pugi::xml_node& grid) {
  const std::string_view first = FindElement(grid, "axisName").text().get();
  std::string lower(first);
  std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower.starts_with("east") || lower.starts_with("long") || lower == "e";
}

}  // namespace

std::optional<Jp2Grid> ParseGmlGrid(std::string_view xml) {
  pugi::xml_document document;
  if (!LoadXml(xml, document)) return std::nullopt;
  const pugi::xml_node node = FindElement(document, kGridName);
  auto origin = ParseOrigin(node);
  std::vector<std::array<double, 2>> steps = ParseSteps(node);
  if (!origin || steps.size() != 2) return std::nullopt;
  Jp2Grid grid;
  const std::string system = FindSystem(node);
  grid.epsg = ParseCode(system.empty() ? FindSystem(document) : system);
  const bool isOfRegistry = system.starts_with("urn:") || system.find("/def/crs/") != std::string::npos;
  if (isOfRegistry && !NamesEastFirst(node) && HasNorthFirst(grid.epsg)) {
    for (std::array<double, 2>* const pair : {&*origin, &steps[0], &steps[1]}) std::swap((*pair)[0], (*pair)[1]);
  }
  const auto [x, y] = *origin;
  const auto [across, alongY] = steps[0];
  const auto [downX, down] = steps[1];
  grid.transform = {x - across / 2 - downX / 2, across, downX, y - alongY / 2 - down / 2, alongY, down};
  return grid;
}

/// A text of blanks tells nothing, and so nothing of it is lost.
bool MayHoldGrid(std::string_view xml, bool isGml) {
  if (xml.find_first_not_of(" \t\r\n") == std::string_view::npos) return false;
  pugi::xml_document document;
  if (LoadXml(xml, document)) return !!FindElement(document, kGridName);
  return isGml || xml.find(kGridName) != std::string_view::npos;
}

}  // namespace zrk
