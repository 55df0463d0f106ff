#pragma once

#include "XString.h"

#include <cstdint>
#include <vector>

/// The spectral signature of a class: statistics over the samples of a training area, one entry for each band.
struct XRSSIG {
  XString name;
  unsigned char red = 255;
  unsigned char green = 255;
  unsigned char blue = 255;
  std::int64_t numSamples = 0;
  std::vector<double> minimum;
  std::vector<double> maximum;
  std::vector<double> mean;
  std::vector<double> covariance;  ///< bands by bands, row by row
};
