#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace zrk {

struct GeoKey {
  std::uint16_t id;
  std::variant<std::uint16_t, std::vector<double>, std::string> value;
};

/// The geokeys of a file, in ascending order of their ids, and how the file numbers their version.
struct GeoKeySet {
  std::uint16_t version = 1;
  std::uint16_t majorRevision = 1;
  std::uint16_t minorRevision = 0;
  std::vector<GeoKey> keys;
};

/// The bytes of a TIFF file of one pixel that has these keys. A value for which there is no room, places in its tables
/// being numbers of 16 bits, is left out.
std::vector<unsigned char> MakeGeoKeyFile(const GeoKeySet& set);

}  // namespace zrk
