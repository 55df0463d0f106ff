// Copies geokeys from libgeotiff's handle into a record of ours, and back. The handle has the contents of a file that
// may come from anyone, and GDAL parses some of the texts among the keys. So a key is taken only if its id is known,
// and if its type and number of values are those that writers give it. Other keys are left out without a failure,
// because the remaining keys may still describe the system.

#include "geo/GeoKeyHandle.h"

#include <geotiff.h>
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace zrk {
namespace {

/// The ids that mean something, from the first to the last of a range, in ascending order.
struct IdRange {
  int first;
  int last;
};
constexpr IdRange kRanges[] = {{1024, 1026}, {2048, 2062}, {3072, 3096}, {4096, 4099}, {5120, 5120}};

constexpr int kMaxDoubles = 7;  // of a datum shift; other keys have one
constexpr int kMaxTextBytes = 16384;
constexpr std::ptrdiff_t kMaxBrackets = 256;

/// Whether a text is safe to parse. A system may begin anywhere in the text, within quotes or not. So brackets count
/// wherever they stand, and bound the depth that a parser can get to.
bool IsHarmless(const std::string& text) {
  return text.find('\0') == std::string::npos &&
         std::ranges::count_if(text, [](char c) { return c == '[' || c == '('; }) <= kMaxBrackets;
}

std::optional<GeoKey> ReadShort(GTIF* gtif, geokey_t id, int count) {
  std::uint16_t value = 0;
  // A single value stands in the key itself. Where there are more, libgeotiff keeps their address there, and would give
  // a part of it for a value.
  if (count != 1 || !GTIFKeyGetSHORT(gtif, id, &value, 0, 1)) return {};
  return GeoKey{static_cast<std::uint16_t>(id), value};
}

std::optional<GeoKey> ReadDoubles(GTIF* gtif, geokey_t id, int count) {
  if (count > kMaxDoubles) return {};
  std::vector<double> values(static_cast<std::size_t>(count));
  if (GTIFKeyGetDOUBLE(gtif, id, values.data(), 0, count) != count) return {};
  return GeoKey{static_cast<std::uint16_t>(id), std::move(values)};
}

std::optional<GeoKey> ReadText(GTIF* gtif, geokey_t id, int count) {
  if (count > kMaxTextBytes) return {};
  std::string text(static_cast<std::size_t>(count), '\0');
  if (GTIFKeyGetASCII(gtif, id, text.data(), count) != count) return {};
  // libgeotiff counts the zero at the end as part of the text.
  text.resize(text.find_last_not_of('\0') + 1);
  if (!IsHarmless(text)) return {};
  return GeoKey{static_cast<std::uint16_t>(id), std::move(text)};
}

std::optional<GeoKey> ReadKey(GTIF* gtif, geokey_t id) {
  int size = 0;
  tagtype_t type = TYPE_UNKNOWN;
  const int count = GTIFKeyInfo(gtif, id, &size, &type);
  if (count <= 0) return {};
  if (type == TYPE_SHORT) return ReadShort(gtif, id, count);
  if (type == TYPE_DOUBLE) return ReadDoubles(gtif, id, count);
  return type == TYPE_ASCII ? ReadText(gtif, id, count) : std::nullopt;
}

/// Whether there is room for all texts, their bars and the zero at the end: libtiff counts the bytes in 16 bits.
bool HasRoomForTexts(const GeoKeySet& set) {
  std::size_t numBytes = 1;
  for (const GeoKey& key : set.keys) {
    if (const auto* const text = std::get_if<std::string>(&key.value)) numBytes += text->size() + 1;
  }
  return numBytes <= UINT16_MAX;
}

int SetValue(GTIF* gtif, geokey_t id, std::uint16_t value) {
  return GTIFKeySet(gtif, id, TYPE_SHORT, 1, static_cast<int>(value));
}

/// libgeotiff takes one value as it is, and several by their address.
int SetValue(GTIF* gtif, geokey_t id, const std::vector<double>& values) {
  if (values.size() == 1) return GTIFKeySet(gtif, id, TYPE_DOUBLE, 1, values.front());
  return GTIFKeySet(gtif, id, TYPE_DOUBLE, static_cast<int>(values.size()), values.data());
}

int SetValue(GTIF* gtif, geokey_t id, const std::string& text) {
  return GTIFKeySet(gtif, id, TYPE_ASCII, static_cast<int>(text.size() + 1), text.c_str());
}

}  // namespace

void GeoKeysFree::operator()(gtiff* gtif) const {
  GTIFFree(gtif);
}

GeoKeySet ReadGeoKeys(GTIF* gtif) {
  GeoKeySet set;
  int versions[3] = {1, 1, 0};
  GTIFDirectoryInfo(gtif, versions, nullptr);
  set.version = static_cast<std::uint16_t>(versions[0]);
  set.majorRevision = static_cast<std::uint16_t>(versions[1]);
  set.minorRevision = static_cast<std::uint16_t>(versions[2]);
  for (const IdRange& range : kRanges) {
    for (int id = range.first; id <= range.last; ++id) {
      if (std::optional<GeoKey> key = ReadKey(gtif, static_cast<geokey_t>(id))) set.keys.push_back(*std::move(key));
    }
  }
  return set;
}

bool SetGeoKeys(GTIF* gtif, const GeoKeySet& set) {
  if (!HasRoomForTexts(set)) return false;
  // A failure leaves the handle with some of the keys. The caller then does not write it.
  for (const GeoKey& key : set.keys) {
    const auto id = static_cast<geokey_t>(key.id);
    if (!std::visit([&](const auto& value) { return SetValue(gtif, id, value); }, key.value)) return false;
  }
  return GTIFSetVersionNumbers(gtif, set.version, set.majorRevision, set.minorRevision) != 0;
}

}  // namespace zrk
