#include "output/Json.h"

#include "output/Text.h"

#include <cmath>

Json Number(double value) {
  return std::isfinite(value) ? Json(value) : Json();
}

std::string Serialize(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

double GetNumber(const Json& json) {
  return json.is_null() ? NAN : json.get<double>();
}

std::string GetText(const Json& json) {
  return Printable(json.get<std::string>());
}
