#pragma once

#include "XString.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// A named place as it is found in a PBP file.
struct tagXPlace {
  int number = -1;  ///< of the record, in the order in which the places were added
  double first = 0.0;
  double second = 0.0;
  XString name;           ///< up to the first zero byte
  double distance = 0.0;  ///< in metres from the place that was asked for; 0 where none was
};

/// A box of coordinates that holds its edges. A west edge that is greater than the east edge stands for a box across
/// the line where longitudes jump.
struct tagXPlaceBox {
  double west = 0.0;  ///< the least first coordinate
  double south = 0.0;
  double east = 0.0;
  double north = 0.0;
};

/// What a check of a PBP file found.
struct tagXPlaceReport {
  static constexpr std::size_t kMaxFindings = 1000;

  std::vector<XString> findings;   ///< a sentence each, the first `kMaxFindings` of them
  std::int64_t numFindings = 0;    ///< all of them
  std::int64_t numPlaces = 0;      ///< as the header counts them
  std::int64_t numNotNumbers = 0;  ///< places of which a coordinate is not a number; they stand last in its table
};
