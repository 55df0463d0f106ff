#pragma once

#include <cstdint>

class XFile;

namespace zrk {

/// Walks the decimal fields of a NITF file header to its user-defined data, where the header of the Raster Product
/// Format stands. The first byte of that, or -1 where the lengths don't add up.
std::int32_t FindRpfHeader(XFile* file, const unsigned char* head, int headBytes);

}  // namespace zrk
