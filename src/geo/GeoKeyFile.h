#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace zrk {

/// One key: a 16-bit value, one or more reals, or a text.
struct GeoKey {
  std::uint16_t id;
  std::variant<std::uint16_t, std::vector<double>, std::string> value;
  friend bool operator==(const GeoKey&, const GeoKey&) = default;
};

/// The geokeys of a file, in ascending order of their ids, and how the file numbers their version.
struct GeoKeySet {
  std::uint16_t version = 1;
  std::uint16_t majorRevision = 1;
  std::uint16_t minorRevision = 0;
  std::vector<GeoKey> keys;
  friend bool operator==(const GeoKeySet&, const GeoKeySet&) = default;
};

/// The values of the tags that place an image. An empty list stands for no tag.
struct GeoPlaceTags {
  std::vector<double> pixelScale;
  std::vector<double> tiePoint;
  std::vector<double> matrix;
};

/// The tags for a transform as `ZRMBand::GetGeoTransform` gives it: a tie point and a scale where these say it all, and
/// otherwise a matrix.
GeoPlaceTags PlaceByTransform(const double transform[6]);

/// The bytes of a TIFF file of one pixel that has these keys and tags. Keys index their values by numbers of 16 bits. A
/// key whose values have no room within that is left out.
std::vector<unsigned char> MakeGeoKeyFile(const GeoKeySet& set, const GeoPlaceTags& place = {});

/// The keys of the first directory of a little-endian TIFF file, such as `MakeGeoKeyFile` makes. Empty where there are
/// no keys, and where anything of their tags is not laid out as it should be.
std::optional<GeoKeySet> ReadGeoKeyFile(std::span<const unsigned char> file);

}  // namespace zrk
