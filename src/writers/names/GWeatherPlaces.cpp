// The cities of libgweather's XML: elements named city, with a name and perhaps with coordinates as "latitude
// longitude". pugixml parses the text, which is looked at before (XmlGate.h).
//
// The real file declares a document type, which the gate refuses as a rule, since declarations can unfold to any size.
// The one that the file has only names another file. It is taken out, letter for letter as it stands, before the gate
// looks; the file that it names is never opened, and every other declaration is refused.

#include "base/XmlGate.h"
#include "writers/names/PlaceLists.h"
#include "XLimits.h"

#include <algorithm>
#include <new>
#include <pugixml.hpp>
#include <string>

namespace zrk {

namespace {

constexpr std::string_view kHarmlessDeclaration = "<!DOCTYPE gweather SYSTEM \"locations.dtd\">";

std::string ReadXmlText(const XString& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead)) throw PlaceListFault("Can't open file: " + file.GetLastErrorText().AsStdString());
  const std::int64_t length = file.GetLength();
  if (length > XfnGetLimits().xmlBytes) throw PlaceListFault("The text is too long");
  std::string text(static_cast<std::size_t>(std::max<std::int64_t>(length, 0)), '\0');
  if (file.ReadAt(0, text.data(), length) != length) throw PlaceListFault("The file can't be read");
  return text;
}

/// The declaration stands in front of the first element or nowhere.
void BlankDeclaration(std::string& text) {
  const std::size_t place = text.find(kHarmlessDeclaration);
  if (place != std::string::npos) text.replace(place, kHarmlessDeclaration.size(), kHarmlessDeclaration.size(), ' ');
}

/// Every '<' counts, those that end an element too.
void RequireHarmless(std::string_view text) {
  const tagXLimits limits = XfnGetLimits();
  if (std::ranges::count(text, '<') > std::int64_t{2} * limits.xmlElements) {
    throw PlaceListFault("The text has too many elements");
  }
  if (const XString danger = FindXmlDanger(text, limits.nestingDepth); !danger.IsEmpty()) {
    throw PlaceListFault("The text is refused: " + danger.AsStdString());
  }
}

/// A name without a language is the one that all translations begin with.
std::string_view FindCityName(const pugi::xml_node& city) {
  if (const pugi::xml_node translatable = city.child("_name")) return Trimmed(translatable.child_value());
  for (const pugi::xml_node name : city.children("name")) {
    if (!name.attribute("xml:lang")) return Trimmed(name.child_value());
  }
  return {};
}

void TakeCity(const pugi::xml_node& city, PlaceTaker& taker) {
  const std::string_view name = FindCityName(city);
  std::string_view coordinates = city.child_value("coordinates");
  if (name.empty() || Trimmed(coordinates).empty()) return taker.LeaveOut();
  ListedPoint point;
  const std::string_view latitude = TakeWord(coordinates), longitude = TakeWord(coordinates);
  if (!ParsePlaceNumber(latitude, point.latitude) || !ParsePlaceNumber(longitude, point.longitude) ||
      !Trimmed(coordinates).empty()) {
    throw PlaceListFault("The coordinates of a city are no latitude and longitude");
  }
  taker.Take(point, name);
}

class CityWalk : public pugi::xml_tree_walker {
 public:
  explicit CityWalk(PlaceTaker& taker) : taker_(taker) {}
  bool for_each(pugi::xml_node& node) override {
    if (std::string_view(node.name()) == "city") TakeCity(node, taker_);
    return true;
  }

 private:
  PlaceTaker& taker_;
};

}  // namespace

void TakeGWeather(const XString& path, PlaceTaker& taker) {
  std::string text = ReadXmlText(path);
  BlankDeclaration(text);
  RequireHarmless(text);
  pugi::xml_document document;
  const pugi::xml_parse_result result =
      document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (!result || std::string_view(document.document_element().name()) != "gweather") {
    throw PlaceListFault("The file is no list of libgweather");
  }
  CityWalk walk(taker);
  document.traverse(walk);
}

}  // namespace zrk
