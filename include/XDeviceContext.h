#pragma once

#include <cstdint>

struct XDeviceContextRecord;

/// A device context of the family's desktop programs. Drawing here is done in memory, so that nobody looks at it: null
/// serves everywhere.
using HDC = XDeviceContextRecord*;

/// A rectangle of pixels, row 0 at the top. The right column and the bottom row do not belong to it.
struct RECT {
  std::int32_t left = 0;
  std::int32_t top = 0;
  std::int32_t right = 0;
  std::int32_t bottom = 0;
};

/// A colour as 0x00BBGGRR: red in the lowest byte. The highest byte has no meaning.
using XColour = std::uint32_t;
