#include "output/Json.h"

#include "output/Text.h"

#include <cmath>

/// JSON knows finite numbers only, so all others become null.
Json Number(double value) {
  return std::isfinite(value) ? Json(value) : Json();
}

/// Texts of files may be in any encoding. Bytes that are not UTF-8 are replaced, because the result must be valid JSON.
std::string Serialize(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

/// Null comes back as a number that is printed as "nan".
double GetNumber(const Json& json) {
  return json.is_null() ? NAN : json.get<double>();
}

std::string GetText(const Json& json) {
  return Printable(json.get<std::string>());
}
