#pragma once

#include "XString.h"

#include <cstdint>
#include <vector>

/// The spectral signature of a class: statistics over the samples of a training area. Each list has one value for each
/// band, in the order of the dataset's bands and in sample units. The lists are kept as they are: nobody checks that
/// they are of one length. A dataset that a signature is added to owns it.
struct XRSSIG {
  /// The name of the class, for people.
  XString name;
  /// The colour that the class is drawn in, 0 to 255 each; white at first.
  unsigned char red = 255;
  unsigned char green = 255;
  unsigned char blue = 255;
  /// Pixels of the training area; 0 for an unknown number.
  std::int64_t numSamples = 0;
  /// The smallest sample.
  std::vector<double> minimum;
  /// The largest sample.
  std::vector<double> maximum;
  /// The mean of the samples.
  std::vector<double> mean;
  /// Bands by bands, row by row: the value of bands i and j is at i * bands + j.
  std::vector<double> covariance;
};
