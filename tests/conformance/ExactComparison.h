#pragma once

#include <string>

/// What became of a file that GDAL reads, opened with exact reads.
struct Comparison {
  enum Outcome { kNotForUs, kRefused, kEqual, kDifferent };
  Outcome outcome = kNotForUs;
  std::string reason;  ///< of a refusal or a difference; empty otherwise
};

/// Opens a raster exactly and compares it with what GDAL reads: size, bands, types, samples, null value and transform.
/// Bands in the colours of a palette are compared with the colours of GDAL's. Files that GDAL can't open, and those of
/// formats that this build can't read, are not for us.
Comparison CompareWithGdal(const std::string& path);
