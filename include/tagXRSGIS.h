#pragma once

#include "XString.h"

#include <cstdint>

/// One class of a thematic band: its number, colour and name, and what is known of its extent.
struct tagXRSGIS {
  int index = 0;  ///< class value
  unsigned char red = 0;
  unsigned char green = 0;
  unsigned char blue = 0;
  std::int64_t numPixels = 0;
  double area = 0.0;  ///< in world units squared
  XString name;
};
