#pragma once

#include "XString.h"

#include <cstdint>

/// One class of a thematic band: its number, colour and name, and what is known of its extent. A band that a record is
/// added to owns it. The list of a band need not be complete: a sample may have a number that no record has.
struct tagXRSGIS {
  /// The class number, which is the value of the samples of this class.
  int index = 0;
  /// The colour that the class is drawn in, 0 to 255 each.
  unsigned char red = 0;
  unsigned char green = 0;
  unsigned char blue = 0;
  /// How many pixels of the band have this class, as its file tells; 0 for an unknown number. The library does not
  /// count them.
  std::int64_t numPixels = 0;
  /// In world units squared, as its file tells; 0.0 for an unknown one.
  double area = 0.0;
  /// For people; it may be empty.
  XString name;
};
