#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

class XString;

namespace zrk {

struct Jp2Job;

/// The boxes before the codestream: signature, file type, header, and the place and the GML text where these are not
/// empty.
std::vector<unsigned char> MakeJp2Boxes(const Jp2Job& job, std::span<const unsigned char> place, std::string_view gml);

/// The TIFF file in a GeoJP2 box that gives the window of the job the place of its first band. Empty where the band has
/// no place and no system. A system that has no geokeys is left out, or fails an exact save. Returns 1, or 0 with the
/// reason in `err`.
int MakeGeoJp2(const Jp2Job& job, bool isExact, std::vector<unsigned char>& file, XString& err);

/// Opens the box of the codestream. A box that may exceed 4 GiB has the long form.
std::vector<unsigned char> MakeCodestreamBox(std::int64_t codestreamBytes, bool isLong);
inline std::int64_t CountCodestreamBoxBytes(bool isLong) {
  return isLong ? 16 : 8;
}

}  // namespace zrk
